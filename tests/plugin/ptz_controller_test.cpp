#include "ptz/ptz_controller.h"

#include "tests/plugin/fake_host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <optional>
#include <random>
#include <stdexcept>

namespace corvane::panasonic_ptz_controller {
namespace {

using namespace test_support;
using testing::ElementsAre;
using testing::IsEmpty;
using vorn_utility::v1_0::CAsyncCmdDetails;
using vorn_utility::v1_0::CThreadAsyncQueue;

// Notes the continuous moves, and holds them up while it is told to.
class CSlowCamera : public CVornCamera {
public:
    using CVornCamera::CVornCamera;

    CError setContinuousPtz(int, int pan, int, int) override {
        std::unique_lock<std::mutex> lock(mutex_);
        moves_.push_back(pan);
        changed_.notify_all();
        changed_.wait(lock, [this] { return !isHeld_; });
        if (pan == 99)
            throw std::runtime_error("the camera went away");
        return {RtnCode::NotAccessible, Origin::Device, std::to_string(pan)};
    }

    void hold(bool isHeld) {
        const std::lock_guard<std::mutex> lock(mutex_);
        isHeld_ = isHeld;
        changed_.notify_all();
    }
    bool waitForMoves(std::size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(30), [&] { return moves_.size() >= count; });
    }
    std::vector<int> moves() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return moves_;
    }

private:
    std::mutex mutex_; // guards what follows
    std::condition_variable changed_;
    std::vector<int> moves_;
    bool isHeld_ = false;
};

class PtzController : public testing::Test {
protected:
    void make(int panSpeedMaximum, SRefreshTimes times = {}) {
        SModelInfo model;
        model.number = "D1";
        model.ptz = SPtzModel();
        model.ptz->panSpeed = {1, panSpeedMaximum};
        auto models = boost::make_shared<CVornModelList>(SVornUrl(), std::vector<SFamily>(),
                                                         std::map<std::string, SQueryDevice>(),
                                                         CVornModelList::ModelMap{{"D1", model}});
        boost::shared_ptr<IDeviceContext> context = device;
        camera = boost::make_shared<CSlowCamera>(context, "127.0.0.1", models, "D1");
        boost::shared_ptr<CVornCamera> base = camera;
        controller.emplace(context, 0, "127.0.0.1", base, 0U, std::move(times));
        controller->start();
    }
    // Notes "TEXT of the error" when the command ends.
    CCallback noted() {
        return CCallback([this](const CError& error, const std::vector<CString>&) {
            const std::lock_guard<std::mutex> lock(mutex);
            ends.push_back(error.getText());
        });
    }
    std::vector<std::string> ended() {
        const std::lock_guard<std::mutex> lock(mutex);
        return ends;
    }
    bool waitForEnds(std::size_t count) {
        return WaitUntil([&] { return ended().size() >= count; });
    }
    // Three commands, so that a whole pass of the worker lies between the ends of the last two.
    void passWorker() {
        const std::size_t before = ended().size();
        for (int i = 0; i < 3; ++i)
            controller->moveFocusAt(3, noted());
        ASSERT_TRUE(waitForEnds(before + 3));
    }

    CThreadCheck threadCheck;
    boost::shared_ptr<CFakeDevice> device = boost::make_shared<CFakeDevice>();
    boost::shared_ptr<CSlowCamera> camera;
    std::mutex mutex; // guards ends
    std::vector<std::string> ends;
    std::optional<CPanasonicPtzController> controller;
};

TEST_F(PtzController, RunsCommandsInOrderWithTheirOwnErrors) {
    make(256);
    camera->hold(true);
    controller->moveAt(1, 0, 0, noted());
    ASSERT_TRUE(camera->waitForMoves(1));
    controller->moveAt(2, 0, 0, noted());
    controller->moveAt(99, 0, 0, noted());
    controller->moveAt(2, 0, 0, noted());
    EXPECT_THAT(ended(), IsEmpty());
    camera->hold(false);
    ASSERT_TRUE(waitForEnds(4));
    EXPECT_THAT(ended(), ElementsAre("1", "2", "Operation resulted in a problem", "2"));
}

TEST_F(PtzController, ACallbackThatThrowsDoesNotStopTheWorker) {
    make(256);
    testing::internal::CaptureStderr();
    controller->moveAt(1, 0, 0, CCallback([](const CError&, const std::vector<CString>&) {
                           throw std::runtime_error("the host");
                       }));
    controller->moveAt(2, 0, 0, noted());
    ASSERT_TRUE(waitForEnds(1));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "callErrOperation: unknown exception\n");
}

TEST_F(PtzController, ACommandIsTakenBackOnlyBeforeItBegins) {
    make(256);
    camera->hold(true);
    const CAsyncOp running = controller->moveAt(1, 0, 0, noted());
    ASSERT_TRUE(camera->waitForMoves(1));
    const CAsyncOp waiting = controller->moveAt(2, 0, 0, noted());
    waiting.cancel();
    waiting.cancel();
    EXPECT_THAT(ended(), ElementsAre("cancelled"));
    running.cancel();
    camera->hold(false);
    ASSERT_TRUE(waitForEnds(2));
    EXPECT_THAT(ended(), ElementsAre("cancelled", "1"));
    controller.reset();
    waiting.cancel(); // also after the queue has gone
    running.cancel();
    EXPECT_EQ(ended().size(), 2U);
    EXPECT_THAT(camera->moves(), ElementsAre(1));
}

TEST_F(PtzController, DestructionLetsTheRunningCommandFinishAndCancelsTheOthers) {
    make(256);
    camera->hold(true);
    controller->moveAt(1, 0, 0, noted());
    ASSERT_TRUE(camera->waitForMoves(1));
    for (int i = 2; i <= 4; ++i)
        controller->moveAt(i, 0, 0, noted());
    std::thread destroyer([this] { controller.reset(); });
    camera->hold(false);
    destroyer.join();
    const std::vector<std::string> all = ended();
    ASSERT_EQ(all.size(), 4U);
    EXPECT_EQ(all.front(), "1");
    EXPECT_EQ(all.back(), all.size() == camera->moves().size() ? "4" : "cancelled");
}

TEST_F(PtzController, AMoveInForceIsSentAgainUntilItStops) {
    std::atomic<std::uint64_t> clock{5000};
    make(64, {[&clock] { return clock.load(); }, 1000, std::chrono::milliseconds(1)});
    controller->moveAt(5, 0, 0, noted());
    ASSERT_TRUE(waitForEnds(1));
    clock += 1000; // not more than the period yet
    passWorker();
    EXPECT_EQ(camera->moves().size(), 1U);
    clock += 1;
    ASSERT_TRUE(camera->waitForMoves(2));
    clock += 1001;
    ASSERT_TRUE(camera->waitForMoves(3));
    controller->moveAt(0, 0, 0, 0, 0, noted()); // every axis at once stops it too
    passWorker();
    clock += 100000;
    passWorker();
    EXPECT_THAT(camera->moves(), ElementsAre(5, 5, 5, 0));

    make(256, {[&clock] { return clock.load(); }, 1000, std::chrono::milliseconds(1)}); // never
    controller->moveAt(5, 0, 0, noted());
    passWorker();
    clock += 100000;
    passWorker();
    EXPECT_THAT(camera->moves(), ElementsAre(5));
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
