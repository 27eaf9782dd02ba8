#include "benchmarks/soak/soaked_camera.h"

#include "benchmarks/soak/moves.h"
#include "benchmarks/stopwatch.h"

#include <boost/make_shared.hpp>

#include <thread>
#include <utility>

namespace corvane::bench {

namespace {

using device_handler::v1_0::CAuthentication;
using device_handler::v1_0::CError;
using device_handler::v1_0::CString;
using device_handler::v1_0::DryContactActive;
using device_handler::v1_0::DryContactInactive;
using device_handler::v1_0::VideoCodec;
using handler_impl::SVideoStreamId;
using std::chrono::milliseconds;
using vorn_camera_base::v1_0::NeedWriteBack;
using vorn_camera_base::v1_0::SVornVidValsInDb;

constexpr int MostFaults = 3;               // at a time
constexpr int MostSteps = 6;                // of a round
constexpr int MostMoves = 5;                // at a time
constexpr milliseconds TimeInPeace{60'000}; // that moves are given
constexpr milliseconds LongestWithFaults{2000};
constexpr double LongestPeaceMaking = 120; // seconds
constexpr milliseconds BetweenAttempts{200};
constexpr milliseconds ToldWait{100}; // reads that wait for less are not looked at
constexpr const char* FrameRates[] = {"15", "30", "5", "10"};

} // namespace

CSoakedCamera::CSoakedCamera(CEnvironment& environment, const SSimulatedCamera& simulated, unsigned seed,
                             CFindings& findings)
    : environment_(environment),
      simulated_(simulated),
      where_("camera " + std::to_string(simulated.number) + ", " + simulated.model),
      findings_(findings),
      context_(
          boost::dynamic_pointer_cast<refhost::CDeviceContext>(environment.makeContext(simulated.address))),
      camera_(environment.createCamera(context_, simulated.address, simulated.model)),
      random_(seed),
      faults_(environment.cameras(), simulated.number),
      log_(environment.cameras(), simulated.number, findings) {
    if (const CError error = camera_->initialize())
        throw CFailure(where_ + " did not come up: " + error.getText());
    if (simulated_.hasInputs)
        watchAnew();
}

void CSoakedCamera::liveInPeace() {
    ++rounds_;
    for (int steps = 1 + static_cast<int>(random_() % MostSteps); steps > 0; --steps)
        switch (random_() % 4) {
        case 0:
            expect(write(), "a write failed");
            break;
        case 1:
            expect(synchronise(), "a sync failed");
            break;
        case 2:
            expect(move(TimeInPeace), "a move failed");
            break;
        default:
            changeLevels();
        }
    checkEvents();
    checkLog();
}

void CSoakedCamera::liveWithFaults() {
    ++rounds_;
    for (int count = 1 + static_cast<int>(random_() % MostFaults); count > 0; --count) {
        faults_.add(random_);
        switch (random_() % 4) {
        case 0:
            write();
            break;
        case 1:
            synchronise();
            break;
        case 2:
            move(milliseconds(random_() % LongestWithFaults.count()));
            break;
        default:
            std::this_thread::sleep_for(
                milliseconds(random_() % LongestWithFaults.count())); // the faults' time
        }
    }
    makePeace();
    checkLog();
}

void CSoakedCamera::read() {
    const std::int64_t begin = WallClock();
    std::vector<CString> name;
    camera_->getCameraName(0, name);
    const std::int64_t end = WallClock();
    if (end - begin < ToldWait.count())
        return;
    const std::lock_guard<std::mutex> lock(readMutex_);
    reads_.push_back({"a reader", begin, end});
}

void CSoakedCamera::changePassword(const std::string& password) {
    context_->setAuthentication({context_->getAuthentication().getUsername(), password});
    if (simulated_.hasInputs)
        watchAnew();
    makePeace();
    checkLog();
}

// Each call asks for something else than those before it.
template <class Act>
bool CSoakedCamera::command(const char* name, Act act) {
    SCall call{name, WallClock(), 0};
    const bool succeeded = act();
    call.end = WallClock();
    while (WallClock() == call.end) // in whose millisecond the next must not begin
        std::this_thread::yield();
    commands_.push_back(call);
    ++commandCount_;
    return succeeded;
}

bool CSoakedCamera::write() {
    constexpr int Values = 101;
    return command("a write", [this] {
        return !camera_->setVpaBrightness(0, CString(std::to_string(++nextValue_ % Values)));
    });
}

bool CSoakedCamera::synchronise() {
    return command("a sync", [this] {
        SVornVidValsInDb record;
        record.frameRate =
            CString(FrameRates[static_cast<std::size_t>(++nextValue_) % std::size(FrameRates)]);
        SVideoStreamId stream;
        stream.codec = VideoCodec::H264;
        const CError error = camera_->syncVideoCodecProperties(record, stream);
        return !error || error.getText() == NeedWriteBack;
    });
}

bool CSoakedCamera::move(milliseconds time) {
    if (!simulated_.turns)
        return true;
    return command("a row of moves", [&] {
        const int count = 1 + static_cast<int>(random_() % MostMoves);
        CMoves moves(where_, count, std::exchange(nextPlace_, nextPlace_ + count), findings_);
        const auto controller = environment_.createPtzController(context_, camera_, simulated_.address);
        const int succeeded = moves.run(*controller, time);
        return succeeded == count;
    });
}

void CSoakedCamera::changeLevels() {
    if (!simulated_.hasInputs)
        return;
    constexpr int MostChanges = 3;
    for (int changes = 1 + static_cast<int>(random_() % MostChanges); changes > 0; --changes) {
        isLow_ = !isLow_;
        environment_.cameras().setInput(simulated_.address, 1, isLow_ ? "Low" : "High");
        stream_->waitFor(isLow_ ? DryContactInactive : DryContactActive);
        ++levelChanges_;
    }
}

// Since the stream plays, each change of the first input has come once, and no other.
void CSoakedCamera::checkEvents() {
    if (!simulated_.hasInputs)
        return;
    stream_->waitForMore(2); // what was on its way
    const std::uint64_t made = levelChanges_ - levelChangesBefore_;
    const std::uint64_t told = stream_->changes() - changesBefore_;
    expect(told == made, std::to_string(made) + " level changes were told as " + std::to_string(told));
    expect(!stream_->hasEnded(), "an event stream ended in peace");
    expect(stream_->disorder().empty(), stream_->disorder());
}

void CSoakedCamera::checkLog() {
    std::vector<SCall> reads;
    {
        const std::lock_guard<std::mutex> lock(readMutex_);
        reads.swap(reads_);
    }
    log_.check(std::exchange(commands_, {}), reads);
}

void CSoakedCamera::makePeace() {
    faults_.clear();
    const CStopwatch watch;
    while (!isUsable()) {
        if (watch.seconds() > LongestPeaceMaking)
            throw CFailure(where_ + " is not usable two minutes after its faults have gone");
        std::this_thread::sleep_for(BetweenAttempts); // a camera that restarts
    }
    if (simulated_.hasInputs)
        watchAnew(); // the old stream's reply may stay silent for as long as it is open
}

// Lets us in, takes a write, and has told its settings after that.
bool CSoakedCamera::isUsable() {
    if (camera_->testAuthentication() || !write())
        return false;
    std::vector<CString> name;
    camera_->getCameraName(0, name);
    return !name.empty() && !name.front().str().empty();
}

void CSoakedCamera::watchAnew() {
    if (stream_)
        expect(stream_->disorder().empty(), stream_->disorder());
    stream_.reset();
    stream_ = std::make_unique<CEventStream>(*camera_);
    stream_->waitFor(isLow_ ? DryContactInactive : DryContactActive);
    changesBefore_ = stream_->changes();
    levelChangesBefore_ = levelChanges_;
}

void CSoakedCamera::expect(bool holds, const std::string& what) {
    if (!holds)
        findings_.add(where_, what);
}

} // namespace corvane::bench
