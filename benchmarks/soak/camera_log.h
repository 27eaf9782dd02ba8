#pragma once

#include "benchmarks/simulated_cameras.h"
#include "benchmarks/soak/findings.h"

#include <cstdint>
#include <string>
#include <vector>

namespace corvane::bench {

// Milliseconds since the epoch, as camsim's log has them.
std::int64_t WallClock();

// A call, and when it was made.
struct SCall {
    std::string name;
    std::int64_t begin;
    std::int64_t end;
};

// What camsim says that one camera was asked, read piece by piece, against what was called.
class CCameraLog {
public:
    CCameraLog(const CSimulatedCameras& cameras, std::size_t number, CFindings& findings);

    // Reads on. Of the commands, none may have been carried out twice during one of these calls, each of
    // which asks for something else; and no reader may have waited for more than two dumps of the settings:
    // one that was under way, and another.
    void check(const std::vector<SCall>& commands, const std::vector<SCall>& reads);

private:
    struct SAsked {
        std::string what;  // method, path, body
        std::string fault; // the kinds that hit it, joined by "+"
        int status;        // 0 where it was not answered
        std::int64_t time;
    };
    std::vector<SAsked> readOn();
    static bool mayBeCommand(const SAsked& asked);
    void checkCommand(const SCall& command, const std::vector<SAsked>& log);
    void checkRead(const SCall& read, const std::vector<SAsked>& log);

    const CSimulatedCameras& cameras_;
    const std::size_t number_;
    CFindings& findings_;
    std::uint64_t last_ = 0; // the last request that has been read
};

} // namespace corvane::bench
