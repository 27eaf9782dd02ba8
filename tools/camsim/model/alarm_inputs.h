#pragma once

#include "model/camera_data.h"

#include <map>
#include <string>

namespace camsim {

// The levels of a camera's terminals, which are numbered from 1. An open contact is pulled high, so all
// begin there. Not thread-safe; CCamera guards it.
class CAlarmInputs {
public:
    enum class Level { Low, High };
    using Levels = std::map<int, Level>;

    explicit CAlarmInputs(const SCameraModel& model);

    const Levels& levels() const { return levels_; }

    // Answers what really changed. Throws std::out_of_range, and changes nothing, for a terminal that is not
    // there.
    Levels set(const Levels& levels);

    // The text that stands for a level, and back; none for any other text.
    static std::string name(Level level);
    static std::optional<Level> parse(const std::string& name);

    // What get_io answers at once: "terminal 1: High" of each.
    std::string report() const;
    // What it tells on a reply that stays open: "terminal1 I High" of each.
    static std::string monitorReport(const Levels& levels);

private:
    Levels levels_;
};

} // namespace camsim
