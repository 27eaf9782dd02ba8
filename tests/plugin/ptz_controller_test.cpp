#include "ptz/ptz_controller.h"

#include "host/operations.h"
#include "tests/plugin/fake_host.h"
#include "tests/support/sleeping_threads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <memory>
#include <random>
#include <stdexcept>

namespace corvane::panasonic_ptz_controller {
namespace {

using namespace test_support;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;
using vorn_utility::v1_0::CAsyncCmdDetails;
using vorn_utility::v1_0::CAsyncQueueBase;
using vorn_utility::v1_0::CThreadAsyncQueue;

constexpr int Channel = 7;

// Notes each operation with all its arguments. Refuses it, with that text, when it is told to, or throws;
// holds the operations up while it is told to.
class CNotingCamera : public CVornCamera {
public:
    using CVornCamera::CVornCamera;

    CError setAbsolutePtz(int a, int b, int c, int d) override { return note("absolute", {a, b, c, d}); }
    CError setRelativePtz(int a, int b, int c, int d, int e, int f) override {
        return note("relative", {a, b, c, d, e, f});
    }
    CError setContinuousPtz(int a, int b, int c, int d) override { return note("move", {a, b, c, d}); }
    CError setContinuousPtzFocus(int a, int b) override { return note("focus", {a, b}); }
    CError setContinuousPtzIris(int a, int b) override { return note("iris", {a, b}); }
    CError setPtzPresetPos(int a, int b) override { return note("setPreset", {a, b}); }
    CError clearPtzPresetPos(int a, int b) override { return note("clearPreset", {a, b}); }
    CError callPtzPresetPos(int a, int b) override { return note("callPreset", {a, b}); }
    CError startPtzPatternRecord(int a, int b) override { return note("startPattern", {a, b}); }
    CError stopPtzPatternRecord(int a, int b) override { return note("stopPattern", {a, b}); }
    CError selectPtzPattern(int a, int b) override { return note("selectPattern", {a, b}); }
    CError clearPtzPatternRecord(int a, int b) override { return note("clearPattern", {a, b}); }
    CError cancelPtzPatternRecord(int a, int b) override { return note("cancelPattern", {a, b}); }
    CError getPtzProperties(int a, std::vector<CString>& values) override {
        values = {"of properties"};
        return note("properties", {a});
    }
    CError getPtzPosition(int a, std::vector<CString>& values) override {
        values = {"of position"};
        return note("position", {a});
    }

    // What happens to one operation, or to all with "".
    void refuse(const std::string& operation) { set(refused_, operation); }
    void breakDown(bool isBroken) { set(isBroken_, isBroken); }
    void hold(bool isHeld) { set(isHeld_, isHeld); }
    bool waitForNotes(std::size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(30), [&] { return notes_.size() >= count; });
    }
    // What has been noted since the last time.
    std::vector<std::string> takeNotes() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return std::exchange(notes_, {});
    }

private:
    template <class Field, class Value>
    void set(Field& field, const Value& value) {
        const std::lock_guard<std::mutex> lock(mutex_);
        field = value;
        changed_.notify_all();
    }
    CError note(const std::string& operation, const std::vector<int>& arguments) {
        std::string line = operation;
        for (const int argument : arguments)
            line += " " + std::to_string(argument);
        std::unique_lock<std::mutex> lock(mutex_);
        notes_.push_back(line);
        changed_.notify_all();
        changed_.wait(lock, [&] { return !isHeld_; });
        if (isBroken_)
            throw std::runtime_error("the camera went away");
        const bool isRefused = refused_ && (refused_->empty() || *refused_ == operation);
        return isRefused ? CError(RtnCode::NotAccessible, Origin::Device, line) : CError::Success();
    }

    std::mutex mutex_; // guards what follows
    std::condition_variable changed_;
    std::vector<std::string> notes_;
    COptional<std::string> refused_;
    bool isBroken_ = false;
    bool isHeld_ = false;
};

// What no test should do but look at.
struct SInside : CPanasonicPtzController {
    static bool runs(const CPtzController& controller) { return (controller.*(&SInside::isRunning))(); }
};

class PtzController : public testing::Test {
protected:
    // The plug-in's controller, on a camera whose other ranges are no reason to send a move again or not.
    void make(int panSpeedMaximum) { make<CPanasonicPtzController>(panSpeedMaximum, times()); }

    template <class Controller, class... Times>
    void make(int panSpeedMaximum, const Times&... times) {
        controller.reset();
        SModelInfo model;
        model.number = "D1";
        const SRange other{1, panSpeedMaximum == 256 ? 257 : 256};
        const SRange pan{1, panSpeedMaximum};
        model.ptz = SPtzModel{other, other, other, 0, 0, 0, pan, other, other, other, 0, 0, ""};
        auto models = boost::make_shared<CVornModelList>(SVornUrl(), std::vector<SFamily>(),
                                                         std::map<std::string, SQueryDevice>(),
                                                         CVornModelList::ModelMap{{"D1", model}});
        boost::shared_ptr<IDeviceContext> context = device;
        camera = boost::make_shared<CNotingCamera>(context, "127.0.0.1", models, "D1");
        boost::shared_ptr<CVornCamera> base = camera;
        controller = std::make_unique<Controller>(context, Channel, "127.0.0.1", base, 0U, times...);
        for (int i = 0; i < 2; ++i) // it starts once
            controller->start();
    }
    // The plug-in's own, but for the clock and a worker that looks at it often.
    SRefreshTimes times() {
        SRefreshTimes times;
        times.now = [this] { return clock.load(); };
        times.checkPeriod = milliseconds(1);
        return times;
    }
    // Notes the error, and the values, when the command ends.
    CCallback noted() {
        return CCallback([this](const CError& error, const std::vector<CString>& values) {
            std::string line = Told(error);
            for (const CString& value : values)
                line += value.str();
            const std::lock_guard<std::mutex> lock(mutex);
            ends.push_back(line);
        });
    }
    std::vector<std::string> ended() {
        const std::lock_guard<std::mutex> lock(mutex);
        return ends;
    }
    bool waitForEnds(std::size_t count) {
        return WaitUntil([&] { return ended().size() >= count; });
    }
    // What the camera is asked for by one command, and how that ends.
    std::string outcomeOf(const std::function<void(const CCallback&)>& give) {
        const std::size_t before = ended().size();
        give(noted());
        EXPECT_TRUE(waitForEnds(before + 1));
        std::string line;
        for (const std::string& note : camera->takeNotes())
            line += note + ", ";
        return line + ended().back();
    }
    // The moves that were sent until now. Three commands, so that a whole pass of the worker lies between the
    // ends of the last two; they neither stop nor start what is sent again.
    std::vector<std::string> sentMoves() {
        const std::size_t before = ended().size();
        controller->moveFocusAt(0, noted());
        controller->moveIrisAt(0, noted());
        controller->moveFocusAt(4, noted());
        EXPECT_TRUE(waitForEnds(before + 3));
        std::vector<std::string> moves;
        for (const std::string& note : camera->takeNotes())
            if (note.rfind("move", 0) == 0)
                moves.push_back(note);
        return moves;
    }

    CThreadCheck threadCheck;
    boost::shared_ptr<CFakeDevice> device = boost::make_shared<CFakeDevice>();
    boost::shared_ptr<CNotingCamera> camera;
    std::atomic<std::uint64_t> clock{5000};
    std::mutex mutex; // guards ends
    std::vector<std::string> ends;
    std::unique_ptr<CPtzController> controller;
};

// Of the framework's controller and of the plug-in's.
TEST_F(PtzController, EachCommandIsAnOperationOfTheCameraOnTheControllersChannel) {
    const std::vector<std::string> expected = {
        "queryMovement: properties 7, 1 0 of properties",
        "moveTo pan tilt zoom: absolute 7 -11 22 -33, 1 0 ",
        "moveBy pan tilt zoom iris focus: relative 7 -11 22 -33 44 -55, 1 0 ",
        "moveAt pan tilt zoom: move 7 -11 22 -33, 1 0 ",
        "moveAt pan tilt zoom focus iris: move 7 -11 22 -33, focus 7 44, iris 7 -55, 1 0 ",
        "moveFocusAt speed: focus 7 -11, 1 0 ",
        "moveIrisAt speed: iris 7 -11, 1 0 ",
        "setPreset preset: setPreset 7 -11, 1 0 ",
        "clearPreset preset: clearPreset 7 -11, 1 0 ",
        "callPreset preset: callPreset 7 -11, 1 0 ",
        "startPatternRecord pattern: startPattern 7 -11, 1 0 ",
        "stopPatternRecord pattern: stopPattern 7 -11, 1 0 ",
        "selectPattern pattern: selectPattern 7 -11, 1 0 ",
        "clearPatternRecord pattern: clearPattern 7 -11, 1 0 ",
        "cancelPatternRecord pattern: cancelPattern 7 -11, 1 0 ",
        "openMenu: 3 0 the device has no menu",
        "closeMenu: 3 0 the device has no menu",
        "LensRefocus: 3 0 the device has no refocus command",
        "getPTZPos: position 7, 1 0 of position",
    };
    const std::string arguments[] = {"-11", "22", "-33", "44", "-55"};
    for (const bool isOwn : {false, true}) {
        isOwn ? make(256) : make<CPtzController>(256);
        COperationRegistry registry;
        controller->registerOperations(registry);
        std::vector<std::string> lines;
        for (const SOperation& operation : registry.operations()) {
            std::string line = operation.name.substr(std::string("controller.").size());
            for (const std::string& name : operation.parameterNames)
                line += " " + name;
            lines.push_back(line + ": " + outcomeOf([&](const CCallback& callback) {
                                operation.call(
                                    {arguments, arguments + operation.parameterNames.size()},
                                    [=](const SAnswer& told) {
                                        Call(callback, *told.error, {told.values.begin(), told.values.end()});
                                    });
                            }));
        }
        EXPECT_EQ(lines, expected);
        EXPECT_TRUE(WaitUntil(DoOtherThreadsSleep));
    }
}

TEST_F(PtzController, AMoveOfEveryAxisEndsWithTheFirstFailure) {
    make(256);
    const auto outcome = [&](const char* refused, int iris) {
        camera->refuse(refused);
        return outcomeOf([&](const CCallback& callback) { controller->moveAt(1, 2, 3, 4, iris, callback); });
    };
    EXPECT_EQ(outcome("move", 5), "move 7 1 2 3, 7 4 move 7 1 2 3");
    EXPECT_EQ(outcome("focus", 5), "move 7 1 2 3, focus 7 4, 7 4 focus 7 4");
    EXPECT_EQ(outcome("iris", 5), "move 7 1 2 3, focus 7 4, iris 7 5, 7 4 iris 7 5");
    EXPECT_EQ(outcome("iris", 0), "move 7 1 2 3, focus 7 4, 1 0 ");
}

TEST_F(PtzController, RunsCommandsInOrderWithTheirOwnErrorsWhateverIsThrown) {
    make(256);
    camera->refuse("");
    camera->hold(true);
    controller->moveAt(1, 0, 0, noted());
    ASSERT_TRUE(camera->waitForNotes(1));
    controller->moveFocusAt(2, noted());
    controller->moveIrisAt(3, noted());
    controller->moveTo(4, 5, 6, noted());
    controller->moveFocusAt(2, noted());
    EXPECT_THAT(ended(), IsEmpty());
    camera->hold(false);
    ASSERT_TRUE(waitForEnds(5));
    EXPECT_THAT(ended(), ElementsAre("7 4 move 7 1 0 0", "7 4 focus 7 2", "7 4 iris 7 3",
                                     "7 4 absolute 7 4 5 6", "7 4 focus 7 2"));
    ends.clear();
    testing::internal::CaptureStderr();
    camera->breakDown(true);
    controller->moveAt(1, 0, 0, CCallback([](const CError&, const std::vector<CString>&) {
                           throw std::runtime_error("the host");
                       }));
    controller->moveAt(1, 0, 0, noted());
    ASSERT_TRUE(waitForEnds(1));
    EXPECT_THAT(ended(), ElementsAre("2 0 Operation resulted in a problem"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "callErrOperation: unknown exception\n");
}

TEST_F(PtzController, ACommandKeepsTheCredentialsOfTheMomentInWhichItWasGiven) {
    struct CShowing : CPanasonicPtzController {
        using CPanasonicPtzController::CPanasonicPtzController;
        ~CShowing() override { stop(); }
        void moveAtSync(int, int, int, const CCallback& callback, CAuthentication& credentials) override {
            camera().setContinuousPtz(0, 0, 0, 0); // which is held up
            Call(callback, CError::Success(), {credentials.getUsername(), credentials.getPassword()});
        }
    };
    make<CShowing>(256);
    camera->hold(true);
    for (const CAuthentication& credentials :
         {CAuthentication("u1", "p1"), CAuthentication(), CAuthentication("u2", "p2")}) {
        device->setAuthentication(credentials);
        controller->moveAt(1, 0, 0, noted());
    }
    device->setAuthentication({"u3", "p3"});
    camera->hold(false);
    ASSERT_TRUE(waitForEnds(3));
    EXPECT_THAT(ended(), ElementsAre("1 0 u1p1", "1 0 ", "1 0 u2p2"));
}

TEST_F(PtzController, ItsEndLetsTheRunningCommandFinishAndCancelsTheOthers) {
    for (const bool isDestroyed : {true, false}) {
        make(256);
        ends.clear();
        camera->hold(true);
        const CAsyncOp running = controller->moveAt(1, 0, 0, noted());
        ASSERT_TRUE(camera->waitForNotes(1));
        for (int i = 2; i <= 3; ++i)
            controller->moveAt(i, 0, 0, noted());
        const CAsyncOp waiting = controller->moveFocusAt(4, noted());
        running.cancel(); // too late
        waiting.cancel();
        EXPECT_THAT(ended(), ElementsAre("2 0 cancelled"));
        CPtzController* const ending = isDestroyed ? controller.release() : controller.get();
        std::thread ender([=] { isDestroyed ? delete ending : ending->stop(); });
        EXPECT_TRUE(WaitUntil([=] { return !SInside::runs(*ending); }));
        camera->hold(false);
        ender.join();
        waiting.cancel();
        EXPECT_THAT(ended(), ElementsAre("2 0 cancelled", "1 0 ", "2 0 cancelled", "2 0 cancelled"));
        EXPECT_THAT(camera->takeNotes(), ElementsAre("move 7 1 0 0"));
    }
    controller->moveAt(4, 0, 0, noted()); // later ones are cancelled at once
    EXPECT_EQ(ended().size(), 5U);
    EXPECT_EQ(ended().back(), "2 0 cancelled");
}

TEST_F(PtzController, AMoveInForceIsSentAgainUntilItStops) {
    make(257);
    const int moves[][3] = {{5, 0, 0}, {0, -6, 0}, {0, 0, 7}, {8, 9, -10}};
    for (const auto& [pan, tilt, zoom] : moves) {
        const std::string move =
            "move 7 " + std::to_string(pan) + " " + std::to_string(tilt) + " " + std::to_string(zoom);
        controller->moveAt(pan, tilt, zoom, noted());
        EXPECT_THAT(sentMoves(), ElementsAre(move));
        clock += 1000; // not more than the period yet
        EXPECT_THAT(sentMoves(), IsEmpty());
        clock += 3000;
        EXPECT_THAT(sentMoves(), ElementsAre(move));
        clock += 1000; // since the move was sent, not since it was due
        EXPECT_THAT(sentMoves(), IsEmpty());
        clock += 1;
        EXPECT_THAT(sentMoves(), ElementsAre(move));
        clock += 1000;
    }
    controller->moveAt(0, 0, 0, noted());
    EXPECT_THAT(sentMoves(), ElementsAre("move 7 0 0 0"));
    clock += 100000;
    EXPECT_THAT(sentMoves(), IsEmpty());

    camera->refuse("");                         // which does not matter
    controller->moveAt(1, 2, 3, 0, 0, noted()); // every axis at once
    EXPECT_THAT(sentMoves(), ElementsAre("move 7 1 2 3"));
    clock += 1001;
    EXPECT_THAT(sentMoves(), ElementsAre("move 7 1 2 3"));
    controller->moveAt(0, 0, 0, 0, 0, noted());
    EXPECT_THAT(sentMoves(), ElementsAre("move 7 0 0 0"));
    clock += 100000;
    EXPECT_THAT(sentMoves(), IsEmpty());

    make(256); // never
    controller->moveAt(1, 2, 3, noted());
    EXPECT_THAT(sentMoves(), ElementsAre("move 7 1 2 3"));
    clock += 100000;
    EXPECT_THAT(sentMoves(), IsEmpty());
}

TEST_F(PtzController, ASlowOrBrokenCameraIsSentTheMoveNoMoreOften) {
    make(257);
    camera->hold(true);
    controller->moveAt(5, 0, 0, noted());
    ASSERT_TRUE(camera->waitForNotes(1));
    clock += 100000; // the time counts from when the move has been sent
    camera->hold(false);
    EXPECT_THAT(sentMoves(), ElementsAre("move 7 5 0 0"));
    for (const bool isBroken : {true, false}) {
        camera->breakDown(isBroken);
        clock += 1001;
        EXPECT_THAT(sentMoves(), ElementsAre("move 7 5 0 0"));
    }
}

TEST_F(PtzController, TheWorkerWaitsForCommandsAndBetweenItsLooksAtTheClock) {
    const SRefreshTimes defaults;
    EXPECT_EQ(defaults.resendAfter, 1000U);
    EXPECT_EQ(defaults.checkPeriod, milliseconds(200));
    const auto steady = [] { return std::chrono::steady_clock::now().time_since_epoch() / milliseconds(1); };
    const auto before = static_cast<std::uint64_t>(steady());
    const std::uint64_t now = defaults.now();
    EXPECT_TRUE(before <= now && now <= static_cast<std::uint64_t>(steady()));

    std::vector<std::chrono::steady_clock::time_point> looks;
    SRefreshTimes watched;
    watched.checkPeriod = milliseconds(20);
    watched.now = [&] {
        const std::lock_guard<std::mutex> lock(mutex);
        looks.push_back(std::chrono::steady_clock::now());
        return 1U;
    };
    make<CPanasonicPtzController>(257, watched);
    EXPECT_TRUE(WaitUntil(DoOtherThreadsSleep));
    // Given past the queue, so that nothing else wakes the worker.
    CAuthentication credentials;
    controller->moveAtSync(5, 0, 0, noted(), credentials);
    const auto countLooks = [&] {
        const std::lock_guard<std::mutex> lock(mutex);
        return looks.size();
    };
    EXPECT_TRUE(WaitUntil([&] { return countLooks() >= 3; }));
    controller->moveFocusAt(1, noted());
    ASSERT_TRUE(waitForEnds(2));
    const std::size_t first = countLooks() + 3; // what is seen before may follow the command at once
    EXPECT_TRUE(WaitUntil([&] { return countLooks() >= first + 6; }));
    controller->moveAt(0, 0, 0, noted());
    ASSERT_TRUE(waitForEnds(3));
    EXPECT_TRUE(WaitUntil(DoOtherThreadsSleep));
    controller.reset();
    EXPECT_GE(looks[first + 5] - looks[first], 5 * watched.checkPeriod);
}

// Commands that are names, and what becomes of them.
struct SNamed {
    std::string name;
    std::vector<std::string>& log;
};
void Op_Cancel(const boost::shared_ptr<SNamed>& command) {
    command->log.push_back(command->name + " was taken");
}
void Op_NotifyCanceled(const boost::shared_ptr<SNamed>& command) {
    command->log.push_back(command->name + " waited");
}
struct SNamedQueue : CAsyncQueueBase<boost::shared_ptr<SNamed>> {
    void notify() override { log.emplace_back(isEmpty() ? "woken for nothing" : "woken"); }
    CAsyncOp push(const std::string& name) {
        return push_back(boost::shared_ptr<SNamed>(new SNamed{name, log}));
    }
    explicit SNamedQueue(std::vector<std::string>& toLog) : log(toLog) {}
    std::vector<std::string>& log;
};

TEST(AsyncQueue, TellsACancelledCommandWhetherItWaitedOrWasTaken) {
    std::vector<std::string> log;
    auto queue = boost::make_shared<SNamedQueue>(log);
    EXPECT_FALSE(queue->take());
    const CAsyncOp a = queue->push("a");
    const CAsyncOp b = queue->push("b");
    const CAsyncOp c = queue->push("c");
    EXPECT_EQ(queue->take()->name, "a");
    for (const CAsyncOp& handle : {b, a, b, a})
        handle.cancel();
    EXPECT_EQ(queue->take()->name, "c");
    queue->push("d");
    queue->push("e");
    queue->close();
    queue->push("f");
    EXPECT_FALSE(queue->take());
    queue.reset();
    c.cancel();
    EXPECT_THAT(log, ElementsAre("woken", "woken", "woken", "b waited", "a was taken", "woken", "woken",
                                 "d waited", "e waited", "f waited", "woken for nothing", "c was taken"));
}

TEST(AsyncQueue, ACommandIsBegunOrCancelledAndWhatItsCallbackThrowsIsDropped) {
    for (const auto& cancel : {vorn_utility::v1_0::Op_Cancel, vorn_utility::v1_0::Op_NotifyCanceled}) {
        std::vector<std::string> told;
        const CCallback callback([&](const CError& error, const std::vector<CString>&) {
            told.push_back(Told(error));
            throw std::runtime_error("the host");
        });
        const auto begun = boost::make_shared<CAsyncCmdDetails>(CFunction(), callback);
        const auto waiting = boost::make_shared<CAsyncCmdDetails>(CFunction(), callback);
        EXPECT_TRUE(begun->begin());
        for (const auto& command : {begun, waiting, waiting})
            EXPECT_NO_THROW(cancel(command));
        EXPECT_THAT(told, ElementsAre("2 0 cancelled"));
        EXPECT_FALSE(waiting->begin());
    }
}

// Every command ends exactly once, whoever is faster: worker, cancellers or the end of the queue.
TEST(AsyncQueue, EachCommandEndsOnceWhenCancelledAtAnyMoment) {
    std::mt19937 random(1);
    for (int round = 0; round < 100; ++round) {
        auto queue = boost::make_shared<CThreadAsyncQueue>();
        std::vector<std::atomic<int>> ends(100);
        std::vector<CAsyncOp> handles;
        for (auto& end : ends) {
            const CCallback callback([&end](const CError&, const std::vector<CString>&) { ++end; });
            handles.push_back(
                queue->push_back(boost::make_shared<CAsyncCmdDetails>([&end] { ++end; }, callback)));
        }
        std::thread worker([&, last = random() % 150] {
            for (unsigned i = 0; i < last; ++i)
                if (const auto details = queue->take(); details && details->begin())
                    details->command();
        });
        std::thread canceller([&] {
            for (auto handle = handles.rbegin(); handle != handles.rend(); ++handle)
                handle->cancel();
        });
        for (const CAsyncOp& handle : handles)
            if (round % 2 == 0)
                handle.cancel();
        worker.join();
        canceller.join();
        queue.reset();
        for (const CAsyncOp& handle : handles)
            handle.cancel();
        for (const auto& end : ends)
            ASSERT_EQ(end, 1);
    }
}

} // namespace
} // namespace corvane::panasonic_ptz_controller
