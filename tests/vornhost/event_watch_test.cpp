// The watch over streams that end and come back, and its lines, without a camera.

#include "site/events/event_text.h"
#include "tests/support/wait_until.h"
#include "tools/vornhost/console/output_thread.h"
#include "tools/vornhost/events/event_watch.h"
#include "tools/vornhost/names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <vector>

namespace corvane::vornhost {
namespace {

using device_handler::v1_0::DryContactInactive;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;
using Kind = SStreamEvent::Kind;

constexpr SStreamEvent Ping = {Kind::Ping, 1, DryContactInactive};
constexpr SStreamEvent EndOfStream = {Kind::EndOfStream, 1, DryContactInactive};

// A watch whose streams do, one after another, what the test says; the last ends the watch.
struct SFakeStreams {
    std::vector<std::function<void(const SEventStreamObserver&)>> streams;
    std::vector<Clock::time_point> starts;
    int losses = 0;
    int returns = 0;
    int silences = 0;
    std::unique_ptr<CEventWatch> watch;

    CEventWatch::Ending run(const SEventWatchPlan& plan) {
        CEventWatch::SReports reports;
        reports.event = [](const SStreamEvent&) {};
        reports.nothingComes = [this] {
            ++silences;
            watch->interrupt();
        };
        reports.lost = [this](const CError&) { ++losses; };
        reports.back = [this](std::chrono::duration<double>) { ++returns; };
        const auto make = [this](const SEventStreamObserver& observer) {
            starts.push_back(Clock::now());
            if (starts.size() <= streams.size())
                streams[starts.size() - 1](observer);
            else
                watch->interrupt();
            return std::shared_ptr<void>();
        };
        watch = std::make_unique<CEventWatch>(make, plan, reports);
        return watch->run();
    }

    milliseconds pauseBefore(std::size_t stream) const {
        return std::chrono::duration_cast<milliseconds>(starts.at(stream) - starts.at(stream - 1));
    }
};

void EndAtOnce(const SEventStreamObserver& observer) {
    observer.event(EndOfStream);
    observer.ended(CError::Success());
}

void LiveAWhile(const SEventStreamObserver& observer) {
    observer.event(Ping);
    EndAtOnce(observer);
}

TEST(EventWatch, ACameraThatStaysAwayIsAskedMoreAndMoreSeldom) {
    SFakeStreams fake;
    fake.streams.assign(8, EndAtOnce);
    fake.streams.emplace_back(LiveAWhile);
    EXPECT_EQ(fake.run({{}, true, milliseconds(60'000), milliseconds(5), milliseconds(320)}),
              CEventWatch::Ending::Interrupted);
    for (const auto& [stream, pause] :
         {std::pair(1, 5), std::pair(2, 10), std::pair(7, 320), std::pair(8, 320)})
        EXPECT_GE(fake.pauseBefore(stream), milliseconds(pause)) << stream;
    EXPECT_LT(fake.pauseBefore(9), milliseconds(300)); // an event has come meanwhile
    EXPECT_EQ(fake.losses, 2);
    EXPECT_EQ(fake.returns, 1);
    EXPECT_EQ(fake.silences, 0);
}

TEST(EventWatch, ACameraThatNeverAnswersIsAskedAnew) {
    SFakeStreams fake;
    fake.streams = {[](const SEventStreamObserver&) {}, LiveAWhile};
    SEventWatchPlan plan;
    plan.reconnects = true;
    plan.longestUnanswered = plan.shortestPause = plan.longestPause = milliseconds(5);
    EXPECT_EQ(fake.run(plan), CEventWatch::Ending::Interrupted);
    EXPECT_EQ(fake.starts.size(), 3U);
    EXPECT_EQ(fake.returns, 1);
}

TEST(EventWatch, EachEndingIsTold) {
    SFakeStreams ends;
    ends.streams = {LiveAWhile};
    EXPECT_EQ(ends.run({}), CEventWatch::Ending::StreamEnded);
    EXPECT_TRUE(ends.watch->anythingCame());

    const auto silent = [](const SEventStreamObserver&) {};
    SFakeStreams times;
    times.streams = {silent};
    EXPECT_EQ(times.run({0.01}), CEventWatch::Ending::Time);
    EXPECT_FALSE(times.watch->anythingCame());

    SFakeStreams quiet;
    quiet.streams = {silent};
    SEventWatchPlan plan;
    plan.quiet = milliseconds(5);
    EXPECT_EQ(quiet.run(plan), CEventWatch::Ending::Interrupted);
    EXPECT_EQ(quiet.silences, 1);
}

TEST(EventLines, EyesSeeChangesAndGaps) {
    const std::uint64_t second = 1'000'000'000;
    CReadableEvents changes(2, false);
    std::string seen;
    for (const SStreamEvent& event :
         {SStreamEvent{Kind::DryContactState, 1 * second, DryContactInactive}, Ping,
          SStreamEvent{Kind::DryContactState, 2 * second, DryContactInactive},
          SStreamEvent{Kind::DryContactState, 3 * second, DryContactActive},
          SStreamEvent{Kind::EndOfStream, 4 * second, DryContactActive},
          SStreamEvent{Kind::EndOfStream, 5 * second, DryContactActive},
          SStreamEvent{Kind::DryContactState, 6 * second + second / 2, DryContactActive}}) {
        const std::string lines = changes.linesOf(event);
        for (std::size_t at = lines.find("input 2"); at != std::string::npos;
             at = lines.find("input 2", at + 1))
            seen += lines.substr(at + 9, lines.find('\n', at) - at - 8);
    }
    EXPECT_EQ(seen, "inactive\nactive\nthe camera is lost\nevents come again after 2.5 s\nactive\n");
    EXPECT_THAT(CReadableEvents(2, true).linesOf(Ping), testing::HasSubstr("ping"));
}

// Standard output in a pipe that nobody reads.
class CUnreadOutput {
public:
    CUnreadOutput() : saved_(dup(STDOUT_FILENO)) {
        (void)!pipe(ends_);
        dup2(ends_[1], STDOUT_FILENO);
    }
    ~CUnreadOutput() {
        dup2(saved_, STDOUT_FILENO);
        for (const int file : {saved_, ends_[0], ends_[1]})
            close(file);
    }
    CUnreadOutput(const CUnreadOutput&) = delete;
    CUnreadOutput& operator=(const CUnreadOutput&) = delete;

private:
    const int saved_;
    int ends_[2] = {};
};

TEST(OutputThread, AReaderThatDoesNotReadHoldsNobodyUp) {
    const CUnreadOutput output;
    COutputThread lines;
    for (int i = 0; i < 10'000; ++i) // more than a pipe takes
        lines.add("a line that is written as a whole\n");
    lines.finish(milliseconds(10));
}

} // namespace
} // namespace corvane::vornhost
