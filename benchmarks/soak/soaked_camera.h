#pragma once

#include "benchmarks/environment.h"
#include "benchmarks/event_stream.h"
#include "benchmarks/soak/camera_log.h"
#include "benchmarks/soak/faults.h"
#include "benchmarks/soak/findings.h"
#include "refhost/devices/contexts.h"

#include <memory>
#include <mutex>
#include <random>
#include <vector>

namespace corvane::bench {

// What camsim tells of one of its cameras.
struct SSimulatedCamera {
    std::size_t number;
    std::string address;
    std::string model;
    bool turns;
    bool hasInputs;
};

// One camera that is used in rounds, in which either everything works or much fails. Belongs to one thread,
// save read().
class CSoakedCamera {
public:
    // Brings it up.
    CSoakedCamera(CEnvironment& environment, const SSimulatedCamera& simulated, unsigned seed,
                  CFindings& findings);

    // Writes, moves and level changes, all of which must do what they should.
    void liveInPeace();
    // The same while it has faults, which may all fail; then peace is made.
    void liveWithFaults();
    // What it reads is the recorder's cache. On any thread.
    void read();
    // From now on the camera wants this password.
    void changePassword(const std::string& password);

    // In both kinds of rounds so far; on the owner's thread.
    int rounds() const { return rounds_; }
    std::uint64_t levelChanges() const { return levelChanges_; }
    std::uint64_t commands() const { return commandCount_; }

private:
    template <class Act>
    bool command(const char* name, Act act);
    bool write();
    bool synchronise();
    bool move(std::chrono::milliseconds time);
    void changeLevels();
    void checkEvents();
    void checkLog();
    void makePeace();
    bool isUsable();
    void watchAnew();
    void expect(bool holds, const std::string& what);

    CEnvironment& environment_;
    const SSimulatedCamera simulated_;
    const std::string where_; // in findings
    CFindings& findings_;
    const boost::shared_ptr<refhost::CDeviceContext> context_;
    const boost::shared_ptr<vorn_camera_base::v1_0::CVornCamera> camera_;
    std::unique_ptr<CEventStream> stream_;
    std::mt19937 random_;
    CFaults faults_;
    CCameraLog log_;
    std::vector<SCall> commands_; // of this round
    bool isLow_ = false;          // the first input
    int nextValue_ = 0;
    int nextPlace_ = 0;
    int rounds_ = 0;
    std::uint64_t levelChanges_ = 0;
    std::uint64_t levelChangesBefore_ = 0; // before the stream told any
    std::uint64_t changesBefore_ = 0;      // that it told then, as it began
    std::uint64_t commandCount_ = 0;

    std::mutex readMutex_;     // guards reads_
    std::vector<SCall> reads_; // of this round
};

} // namespace corvane::bench
