#include "ptz/ptz_controller.h"

#include "tests/plugin/camera_bench.h"
#include "tests/support/sleeping_threads.h"

#include <gmock/gmock.h>

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

constexpr const char* Moves = "/cgi-bin/directctrl";
const std::string Failure = "2 4 HTTP status 500 Internal Server Error";
const std::string NoIris = "3 0 the device has no continuous iris";

// "D1" is sent its moves again and "D2" is not, whatever their other ranges are.
std::vector<SModelInfo> Models() {
    SModelInfo again;
    again.number = "D1";
    again.ptz = SPtzModel{{0, 10000}, {0, 10000}, {0, 10000}, 0, 0, 0, {1, 257},
                          {1, 256},   {1, 256},   {1, 256},   0, 0, ""};
    SModelInfo once = again;
    once.number = "D2";
    std::swap(once.ptz->panSpeed, once.ptz->tiltSpeed);
    once.ptz->zoomSpeed = once.ptz->focusSpeed = {1, 257};
    return {again, once};
}

// What no test should do but look at.
struct SInside : CPanasonicPtzController {
    static bool runs(const CPtzController& controller) { return (controller.*(&SInside::isRunning))(); }
};

class PtzController : public CCameraBench {
protected:
    PtzController() : CCameraBench(Models()) {
        for (const char* path :
             {"/cgi-bin/absctrl", "/cgi-bin/camctrl", "/cgi-bin/camposiset", "/cgi-bin/set_patrol", Moves})
            stub.reply(path, HttpOk("OK"));
        stub.reply("/cgi-bin/absget", HttpOk("\r\nPAN=1\r\n"));
    }
    void make(const char* number) { make<CPanasonicPtzController>(number, times()); }

    template <class Controller>
    void make(const char* number, const SRefreshTimes& times) {
        controller.reset();
        bringUp(number);
        boost::shared_ptr<IDeviceContext> context = device;
        boost::shared_ptr<CVornCamera> base(&*camera, [](CVornCamera*) {});
        controller = std::make_unique<Controller>(context, 7, stub.address().c_str(), base, 0U, times);
        for (int i = 0; i < 2; ++i) // it starts once
            controller->start();
        seen = stub.requests().size();
        ends.clear();
    }
    // The plug-in's own, but for the clock, which the worker looks at after each command only.
    SRefreshTimes times() {
        const auto use = std::make_shared<int>();
        clockInUse = use;
        SRefreshTimes times;
        times.now = [this, use] { return clock.load(); };
        times.checkPeriod = std::chrono::hours(1);
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
    // The requests since the last time, without those for the settings.
    std::vector<std::string> sent() {
        std::vector<std::string> targets;
        const std::vector<SStubRequest> all = stub.requests();
        for (; seen < all.size(); ++seen)
            if (all[seen].target != Setdata)
                targets.push_back(all[seen].target.substr(9));
        return targets;
    }
    // The moves among them. Three commands, so that a whole pass of the worker lies between the ends of the
    // last two; they neither stop nor start what is sent again.
    std::vector<std::string> sentMoves() {
        const std::size_t before = ended().size();
        controller->moveFocusAt(0, noted());
        controller->moveIrisAt(0, noted());
        controller->moveFocusAt(4, noted());
        EXPECT_TRUE(waitForEnds(before + 3));
        std::vector<std::string> moves;
        for (const std::string& request : sent())
            if (request.find("focus") == std::string::npos)
                moves.push_back(request);
        return moves;
    }
    // What is sent by one command, and how that ends.
    std::string outcomeOf(const std::function<void(const CCallback&)>& give) {
        const std::size_t before = ended().size();
        give(noted());
        EXPECT_TRUE(waitForEnds(before + 1));
        std::string line;
        for (const std::string& request : sent())
            line += request + ", ";
        return line + ended().back();
    }

    std::atomic<std::uint64_t> clock{5000};
    std::weak_ptr<int> clockInUse; // by the controller
    std::size_t seen = 0;
    std::mutex mutex; // guards ends
    std::vector<std::string> ends;
    std::unique_ptr<CPtzController> controller;
};

TEST_F(PtzController, EachCommandIsAnOperationOfTheCameraOnTheControllersChannel) {
    make("D2");
    COperationRegistry commands;
    controller->registerOperations(commands);
    const std::vector<std::string> numbers = {"11", "-22", "33", "-44", "55"};
    std::vector<std::string> lines;
    for (const SOperation& operation : commands.operations()) {
        std::string line = operation.name.substr(std::string("controller.").size());
        for (const std::string& name : operation.parameterNames)
            line += " " + name;
        lines.push_back(
            line + ": " + outcomeOf([&](const CCallback& callback) {
                operation.call(
                    {numbers.begin(), numbers.begin() + static_cast<int>(operation.parameterNames.size())},
                    [=](const SAnswer& told) {
                        Call(callback, *told.error, {told.values.begin(), told.values.end()});
                    });
            }));
    }
    EXPECT_THAT(
        lines,
        ElementsAre("queryMovement: 1 0 PtzEnabled",
                    "moveTo pan tilt zoom: absctrl?pan=11&tilt=0&zoom=33, 1 0 ",
                    "moveBy pan tilt zoom iris focus: camctrl?pan=1&tilt=-1&ch=8, camctrl?zoom=3&ch=8, "
                    "camctrl?focus=-3&ch=8, camctrl?iris=-2&ch=8, 1 0 ",
                    "moveAt pan tilt zoom: directctrl?rpan=26&tilt=55&rzoom=83&ch=8, 1 0 ",
                    "setPreset preset: camposiset?presetset=11&ch=8, 1 0 ",
                    "clearPreset preset: camposiset?presetdel=11&ch=8, 1 0 ",
                    "callPreset preset: camctrl?preset=11&ch=8, 1 0 ",
                    "startPatternRecord pattern: set_patrol?recstart=11, 1 0 ",
                    "stopPatternRecord pattern: set_patrol?stop=11, 1 0 ",
                    "selectPattern pattern: set_patrol?play=11, 1 0 ",
                    "clearPatternRecord pattern: 3 0 Not supported feature",
                    "cancelPatternRecord pattern: 3 0 Not supported feature",
                    "openMenu: 3 0 the device has no menu", "closeMenu: 3 0 the device has no menu",
                    "moveAt pan tilt zoom focus iris: directctrl?rpan=26&tilt=55&rzoom=83&ch=8, "
                    "directctrl?focus=-112, " +
                        NoIris,
                    "LensRefocus: 3 0 the device has no refocus command",
                    "moveFocusAt speed: directctrl?focus=26, 1 0 ", "moveIrisAt speed: " + NoIris,
                    "getPTZPos: absget?page=12345&PAN=&TILT=&ZOOM=, 1 0 pan=1&tilt=0&zoom=0&iris=0&focus=0"
                    "pan=0&tilt=0&zoom=0&iris=0&focus=00100001"));
}

TEST_F(PtzController, AMoveOfEveryAxisEndsWithTheFirstFailure) {
    make("D2");
    const auto outcome = [&](int failing, int iris) {
        stub.reply(Moves, [failing, request = 0](std::size_t) mutable {
            return ++request == failing ? HttpReply(500) : HttpOk("OK");
        });
        return outcomeOf([&](const CCallback& callback) { controller->moveAt(1, 0, 0, 4, iris, callback); });
    };
    const std::string move = "directctrl?rpan=1&tilt=0&rzoom=0&ch=8, ";
    EXPECT_EQ(outcome(1, 5), move + Failure);
    EXPECT_EQ(outcome(2, 5), move + "directctrl?focus=8, " + Failure);
    EXPECT_EQ(outcome(0, 5), move + "directctrl?focus=8, " + NoIris);
    EXPECT_EQ(outcome(0, 0), move + "directctrl?focus=8, 1 0 "); // devices without an iris would refuse 0
}

TEST_F(PtzController, RunsCommandsInOrderWithTheirOwnErrorsWhateverTheirCallbacksThrow) {
    make("D2");
    testing::internal::CaptureStderr();
    stub.reply(Moves, HttpReply(500));
    stub.hold(Moves);
    controller->moveAt(1, 0, 0, noted());
    ASSERT_TRUE(stub.waitForRequests(Moves, 1));
    controller->moveIrisAt(3, noted());
    controller->callPreset(
        2, CCallback([note = noted()](const CError& error, const std::vector<CString>& values) {
            Call(note, error, values);
            throw std::runtime_error("the host");
        }));
    controller->moveFocusAt(3, noted());
    EXPECT_THAT(ended(), IsEmpty());
    stub.letGoAll(Moves);
    ASSERT_TRUE(waitForEnds(5));
    EXPECT_THAT(ended(),
                ElementsAre(Failure, NoIris, "1 0 ", "2 0 Operation resulted in a problem", Failure));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "callErrOperation: unknown exception\n");
}

TEST_F(PtzController, ACommandKeepsTheCredentialsOfTheMomentInWhichItWasGiven) {
    struct CShowing : CPanasonicPtzController {
        using CPanasonicPtzController::CPanasonicPtzController;
        ~CShowing() override { stop(); }
        void moveAtSync(int pan, int, int, const CCallback& callback, CAuthentication& credentials) override {
            camera().setContinuousPtz(0, pan, 0, 0); // which is held up
            Call(callback, CError::Success(), {credentials.getUsername(), credentials.getPassword()});
        }
    };
    make<CShowing>("D2", {});
    stub.hold(Moves);
    for (const CAuthentication& credentials :
         {CAuthentication("u1", "p1"), CAuthentication(), CAuthentication("u2", "p2")}) {
        device->setAuthentication(credentials);
        controller->moveAt(1, 0, 0, noted());
    }
    device->setAuthentication({"u3", "p3"});
    stub.letGoAll(Moves);
    ASSERT_TRUE(waitForEnds(3));
    EXPECT_THAT(ended(), ElementsAre("1 0 u1p1", "1 0 ", "1 0 u2p2"));
}

TEST_F(PtzController, ItsEndLetsTheRunningCommandFinishAndCancelsTheOthers) {
    const std::string move = "directctrl?pan=1&rtilt=0&zoom=0&ch=8";
    for (const bool isDestroyed : {true, false}) {
        make("D1");
        stub.hold(Moves);
        const CAsyncOp running = controller->moveAt(1, 0, 0, noted());
        ASSERT_TRUE(WaitUntil([&] { return sent() == std::vector{move}; }));
        for (int i = 2; i <= 3; ++i)
            controller->moveAt(i, 0, 0, noted());
        const CAsyncOp waiting = controller->moveFocusAt(4, noted());
        running.cancel(); // too late
        waiting.cancel();
        EXPECT_THAT(ended(), ElementsAre("2 0 cancelled"));
        CPtzController* const ending = isDestroyed ? controller.release() : controller.get();
        std::thread ender([=] { isDestroyed ? delete ending : ending->stop(); });
        EXPECT_TRUE(WaitUntil([=] { return !SInside::runs(*ending); }));
        EXPECT_FALSE(clockInUse.expired()); // the running command needs it still
        stub.letGoAll(Moves);
        ender.join();
        waiting.cancel();
        EXPECT_THAT(ended(), ElementsAre("2 0 cancelled", "1 0 ", "2 0 cancelled", "2 0 cancelled"));
        EXPECT_THAT(sent(), IsEmpty());
    }
    controller->moveAt(4, 0, 0, noted()); // later ones are cancelled at once
    EXPECT_EQ(ended().size(), 5U);
    EXPECT_EQ(ended().back(), "2 0 cancelled");
}

TEST_F(PtzController, AMoveInForceIsSentAgainUntilItStops) {
    make("D1");
    const std::string stop = "directctrl?pan=0&rtilt=0&zoom=0&ch=8";
    const struct {
        int pan, tilt, zoom;
        const char* request;
    } moves[] = {{5, 0, 0, "directctrl?pan=11&rtilt=0&zoom=0&ch=8"},
                 {0, -6, 0, "directctrl?pan=0&rtilt=13&zoom=0&ch=8"},
                 {0, 0, 7, "directctrl?pan=0&rtilt=0&zoom=16&ch=8"},
                 {8, 9, -10, "directctrl?pan=19&rtilt=-21&zoom=-24&ch=8"}};
    for (const auto& c : moves) {
        controller->moveAt(c.pan, c.tilt, c.zoom, noted());
        EXPECT_THAT(sentMoves(), ElementsAre(c.request));
        clock += 1000; // not more than the period yet
        EXPECT_THAT(sentMoves(), IsEmpty());
        clock += 3000;
        EXPECT_THAT(sentMoves(), ElementsAre(c.request));
        clock += 1000; // since the move was sent, not since it was due
        EXPECT_THAT(sentMoves(), IsEmpty());
        clock += 1;
        EXPECT_THAT(sentMoves(), ElementsAre(c.request));
        clock += 1000;
    }
    EXPECT_TRUE(WaitUntil(DoOtherThreadsSleep));
    clock += 1; // due, but the stop goes first
    controller->moveAt(0, 0, 0, noted());
    EXPECT_THAT(sentMoves(), ElementsAre(stop));
    clock += 100000;
    EXPECT_THAT(sentMoves(), IsEmpty());

    stub.reply(Moves, HttpReply(500)); // a refusal does not matter
    stub.hold(Moves);
    controller->moveAt(5, 0, 0, 0, 0, noted()); // every axis at once
    ASSERT_TRUE(
        WaitUntil([&] { return stub.requests().back().target.find(moves[0].request) != std::string::npos; }));
    clock += 100000; // the time counts from when the move has been sent
    stub.letGoAll(Moves);
    EXPECT_THAT(sentMoves(), ElementsAre(moves[0].request));
    clock += 1001;
    EXPECT_THAT(sentMoves(), ElementsAre(moves[0].request));
    controller->moveAt(0, 0, 0, 0, 0, noted());
    EXPECT_THAT(sentMoves(), ElementsAre(stop));
    clock += 100000;
    EXPECT_THAT(sentMoves(), IsEmpty());

    make("D2"); // never
    controller->moveAt(5, 0, 0, noted());
    clock += 100000;
    EXPECT_THAT(sentMoves(), ElementsAre("directctrl?rpan=11&tilt=0&rzoom=0&ch=8"));
}

TEST_F(PtzController, TheWorkerWaitsForCommandsAndBetweenItsLooksAtTheClock) {
    const SRefreshTimes defaults;
    EXPECT_EQ(defaults.resendAfter, 1000U);
    EXPECT_EQ(defaults.checkPeriod, milliseconds(200));
    const auto steady = [] {
        return static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch() /
                                          milliseconds(1));
    };
    const std::uint64_t before = steady();
    const std::uint64_t now = defaults.now();
    EXPECT_TRUE(before <= now && now <= steady());

    std::vector<std::chrono::steady_clock::time_point> looks;
    const auto countLooks = [&] {
        const std::lock_guard<std::mutex> lock(mutex);
        return looks.size();
    };
    SRefreshTimes watched;
    watched.checkPeriod = milliseconds(20);
    watched.now = [&] {
        const std::lock_guard<std::mutex> lock(mutex);
        looks.push_back(std::chrono::steady_clock::now());
        return 1U;
    };
    make<CPanasonicPtzController>("D1", watched);
    EXPECT_TRUE(WaitUntil(DoOtherThreadsSleep));
    // Given past the queue, so that nothing else wakes the worker.
    CAuthentication credentials;
    controller->moveAtSync(5, 0, 0, noted(), credentials);
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
    std::vector<std::string>* log = nullptr;
};
void Op_Cancel(const SNamed& command) {
    command.log->push_back(command.name + " was taken");
}
void Op_NotifyCanceled(const SNamed& command) {
    command.log->push_back(command.name + " waited");
}
struct SNamedQueue : CAsyncQueueBase<SNamed> {
    explicit SNamedQueue(std::vector<std::string>& toLog) : log(toLog) {}
    void notify() override { log.emplace_back(isEmpty() ? "woken for nothing" : "woken"); }
    std::vector<std::string>& log;
};

TEST(AsyncQueue, TellsACancelledCommandWhetherItWaitedOrWasTaken) {
    std::vector<std::string> log;
    auto queue = boost::make_shared<SNamedQueue>(log);
    EXPECT_EQ(queue->take().name, "");
    const CAsyncOp a = queue->push_back({"a", &log});
    const CAsyncOp b = queue->push_back({"b", &log});
    const CAsyncOp c = queue->push_back({"c", &log});
    EXPECT_EQ(queue->take().name, "a");
    for (const CAsyncOp& handle : {b, a, b, a})
        handle.cancel();
    EXPECT_EQ(queue->take().name, "c");
    queue->push_back({"d", &log});
    queue->push_back({"e", &log});
    queue->close();
    queue->push_back({"f", &log});
    EXPECT_EQ(queue->take().name, "");
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

TEST(AsyncQueue, ACommandThatIsGivenWhileTheQueueClosesIsCancelled) {
    struct COpenQueue : CThreadAsyncQueue {
        using CThreadAsyncQueue::mutex;
    };
    for (int round = 0; round < 20; ++round) {
        const auto queue = boost::make_shared<COpenQueue>();
        std::atomic<int> ends{0};
        const CCallback callback([&](const CError&, const std::vector<CString>&) { ++ends; });
        std::unique_lock<std::mutex> lock(queue->mutex());
        std::thread giver(
            [&] { queue->push_back(boost::make_shared<CAsyncCmdDetails>(CFunction(), callback)); });
        EXPECT_TRUE(WaitUntil(DoOtherThreadsSleep)); // until it waits for the lock
        lock.unlock();
        queue->close(); // most often before the giver goes on
        giver.join();
        ASSERT_EQ(ends, 1);
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
