// CThreadAsyncQueue, Op_Cancel and Op_NotifyCanceled, host/async_queue.h; the clock, host/clock.h.

#include "report.h"

#include <host/async_queue.h>
#include <host/clock.h>

#include <atomic>
#include <memory>
#include <thread>

namespace conformance {
namespace {

using namespace corvane::vorn_utility::v1_0;
using namespace std::chrono_literals;
using Command = boost::shared_ptr<CAsyncCmdDetails>;

constexpr auto Generous = 10s; // for a thread to be heard

// Notes each of its callbacks.
Command Noted(const std::string& name, std::string& notes) {
    return boost::make_shared<CAsyncCmdDetails>(
        [] {}, CCallback([name, &notes](const CError& error, const std::vector<CString>&) {
            notes += name + ":" + error.getText() + ";";
        }));
}

boost::shared_ptr<CThreadAsyncQueue> MakeQueue() { return boost::make_shared<CThreadAsyncQueue>(); }

} // namespace

void CheckQueue(CReport& report) {
    report.check("queue.commands-come-in-order", [] {
        std::string notes;
        const auto queue = MakeQueue();
        const Command first = Noted("a", notes), second = Noted("b", notes);
        queue->push_back(first);
        queue->push_back(second);
        return First({Differs("the first", queue->take(), first),
                      Differs("the second", queue->take(), second),
                      Differs("the third", queue->take(), Command()), Differs("the callbacks", notes, "")});
    });
    report.check("queue.a-waiting-command-is-cancelled-once", [] {
        std::string notes;
        const auto queue = MakeQueue();
        const CAsyncOp op = queue->push_back(Noted("a", notes));
        op.cancel();
        op.cancel();
        return First({Differs("the callbacks", notes, "a:cancelled;"),
                      Differs("what waits", queue->take(), Command())});
    });
    report.check("queue.a-taken-command-is-cancelled-unless-begun", [] {
        std::string notes;
        const auto queue = MakeQueue();
        const CAsyncOp taken = queue->push_back(Noted("a", notes)),
                       begun = queue->push_back(Noted("b", notes));
        (void)queue->take();
        queue->take()->begin();
        taken.cancel();
        begun.cancel();
        return Differs("the callbacks", notes, "a:cancelled;");
    });
    report.check("queue.a-close-cancels-all-in-order", [] {
        std::string notes;
        const auto queue = MakeQueue();
        queue->push_back(Noted("a", notes));
        queue->push_back(Noted("b", notes));
        queue->close();
        queue->push_back(Noted("c", notes));
        return Differs("the callbacks", notes, "a:cancelled;b:cancelled;c:cancelled;");
    });
    report.check("queue.what-a-callback-throws-is-dropped", [] {
        const auto queue = MakeQueue();
        const CAsyncOp op = queue->push_back(boost::make_shared<CAsyncCmdDetails>(
            [] {}, CCallback([](const CError&, const std::vector<CString>&) {
                throw std::runtime_error("thrown");
            })));
        op.cancel();
        return std::string();
    });
    // Again and again, since the worker must be found waiting.
    report.check("queue.a-command-wakes-the-worker", [] {
        constexpr int Rounds = 200;
        const auto queue = MakeQueue();
        const auto served = std::make_shared<std::atomic<int>>(0); // the worker may stay behind
        std::thread worker([queue, served] {
            while (*served < Rounds) {
                queue->wait();
                *served += queue->take() ? 1 : 0;
            }
        });
        std::string notes;
        for (int round = 1; round <= Rounds; ++round) {
            queue->push_back(Noted("a", notes));
            const auto until = std::chrono::steady_clock::now() + Generous;
            while (*served < round && std::chrono::steady_clock::now() < until)
                std::this_thread::sleep_for(100us);
            if (*served < round) {
                worker.detach();
                return std::string("wait() goes on while a command waits");
            }
        }
        worker.join();
        return std::string();
    });
    report.check("queue.a-wait-with-a-limit-ends", [] {
        const auto queue = MakeQueue();
        const auto begin = std::chrono::steady_clock::now();
        queue->wait(50ms);
        return Differs("it has waited", std::chrono::steady_clock::now() - begin >= 45ms, true);
    });
    report.check("clock.counts-milliseconds", [] {
        const auto begin = gettime();
        std::this_thread::sleep_for(100ms);
        const auto passed = gettime() - begin;
        return passed >= 99 && passed < 10'000 ? "" : "100 ms are told as " + std::to_string(passed);
    });
}

} // namespace conformance
