#pragma once

#include "model/camera_data.h"

#include <map>
#include <optional>
#include <string>

namespace camsim {

// One camera's settings: the model's factory values and what this camera has differently. Only the
// differences take memory. Not thread-safe; CCamera guards it.
class CSettingsStore {
public:
    // Values that replace the model's; an empty optional is a setting that this camera does not have.
    using Overrides = std::map<std::string, std::optional<std::string>>;

    // Of the differences: many times all factory values. A client can write any text into some settings.
    static constexpr size_t MostBytes = 256 * 1024;

    explicit CSettingsStore(std::shared_ptr<const SCameraModel> model);

    std::optional<std::string> value(const std::string& key) const;

    // Whether there is room for all of these differences, even if none replaces another.
    bool hasRoomFor(const Overrides& changes) const;

    // Sets, adds or (without a value) removes a setting, if there is room. True when that changed anything.
    bool put(const std::string& key, const std::optional<std::string>& value);

    void reset() {
        overrides_.clear();
        bytes_ = 0;
    }

    // The setdata reply: every setting in the model's order, then the added ones, each as KEY,"value" CR LF.
    std::string dump() const;

    // Every setting as it stands.
    std::map<std::string, std::string> all() const;

    const Overrides& overrides() const { return overrides_; }

private:
    static size_t sizeOf(const Overrides::value_type& setting);
    std::optional<std::string> factoryValue(const std::string& key) const;
    template <typename Visitor>
    void visit(Visitor visitor) const;

    std::shared_ptr<const SCameraModel> model_;
    Overrides overrides_;
    size_t bytes_ = 0; // of overrides_
};

} // namespace camsim
