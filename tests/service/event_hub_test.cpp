#include "service/event_hub.h"

#include "service/event_source.h"
#include "tests/support/wait_until.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <thread>

namespace corvane::service {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

std::optional<std::vector<std::uint64_t>> NumbersAfter(const CEventHub& hub, std::uint64_t number,
                                                       std::size_t most = 100) {
    const auto events = hub.after(number, most);
    if (!events)
        return std::nullopt;
    std::vector<std::uint64_t> numbers;
    for (const SHubEvent& event : *events)
        numbers.push_back(event.number);
    return numbers;
}

TEST(EventHub, KeepsTheLatestAndSaysWhatIsGone) {
    CEventHub hub({4, 100});
    EXPECT_THAT(NumbersAfter(hub, 0), Optional(IsEmpty()));
    EXPECT_EQ(NumbersAfter(hub, 1), std::nullopt); // of a number that was never told
    for (int i = 1; i <= 6; ++i)
        hub.add("input", "c" + std::to_string(i), "12345678");
    EXPECT_EQ(NumbersAfter(hub, 1), std::nullopt);
    EXPECT_THAT(NumbersAfter(hub, 2), Optional(ElementsAre(3, 4, 5, 6)));
    EXPECT_THAT(NumbersAfter(hub, 2, 3), Optional(ElementsAre(3, 4, 5)));
    EXPECT_THAT(NumbersAfter(hub, 6), Optional(IsEmpty()));
    EXPECT_EQ(NumbersAfter(hub, 7), std::nullopt);
    hub.add("input", "c7", std::string(80, 'x')); // the bytes are bounded, too
    EXPECT_EQ(NumbersAfter(hub, 3), std::nullopt);
    EXPECT_THAT(NumbersAfter(hub, 4), Optional(ElementsAre(5, 6, 7)));
    hub.add("input", "c8", std::string(1'000, 'x')); // and the newest is there, whatever its size
    EXPECT_EQ(NumbersAfter(hub, 6), std::nullopt);
    EXPECT_THAT(NumbersAfter(hub, 7), Optional(ElementsAre(8)));
}

// What a client reads until there is nothing more; "broken" behind it where it is cut off.
std::string Read(CEventSource& source) {
    std::string all;
    char buffer[7];
    for (;;) {
        std::size_t count = 0;
        const IBodySource::Step step = source.read(buffer, sizeof buffer, count);
        if (step != IBodySource::Step::Some)
            return all + (step == IBodySource::Step::Wait ? "" : "broken");
        all.append(buffer, count);
    }
}

TEST(EventSource, TellsWhatIsMeantAndCutsOffWhoIsTooSlow) {
    CEventHub hub({4, 1'000});
    CEventSource source(hub, {}, [](const std::string& name) { return name == "c1"; });
    EXPECT_EQ(Read(source).find("event: heartbeat\nid: " + hub.epoch() + "-0\ndata: {\"at\":\""), 0U);
    hub.add("input", "c1", "{\"a\":1}");
    hub.add("input", "c2", "{\"a\":2}");
    hub.add("site", "", "{}");
    EXPECT_EQ(Read(source), "event: input\nid: " + hub.epoch() + "-1\ndata: {\"a\":1}\n\n" +
                                "event: site\nid: " + hub.epoch() + "-3\ndata: {}\n\n");
    for (int i = 0; i < 5; ++i) // none is meant, but who knows that of those that are gone
        hub.add("input", "c2", "{}");
    EXPECT_EQ(Read(source), "broken");
}

// The numbers of the first two events that a client is told.
std::pair<std::uint64_t, std::uint64_t> FirstTwo(const std::string& text, const std::string& epoch) {
    const std::string mark = "id: " + epoch + "-";
    const std::size_t first = text.find(mark);
    const std::size_t second = text.find(mark, first + 1);
    return {std::stoull(text.substr(first + mark.size())), std::stoull(text.substr(second + mark.size()))};
}

// However much happens while a client comes: from what it is told first it can count.
TEST(EventSource, BeginsWhereItSays) {
    CEventHub hub({10'000'000, 1'000'000'000});
    std::atomic<bool> isOver{false};
    std::thread site([&] {
        while (!isOver) {
            hub.add("site", "", "{}");
            std::this_thread::yield(); // a client shall be slow, but not too slow
        }
    });
    for (int i = 0; i < 1'000 && !HasFailure(); ++i) {
        CEventSource source(hub, {}, [](const std::string&) { return true; });
        const std::uint64_t begin = hub.last();
        EXPECT_TRUE(test_support::WaitUntil([&] { return hub.last() > begin; }));
        char buffer[4'096];
        std::string text;
        std::size_t count = 0;
        while (std::count(text.begin(), text.end(), '{') < 2 &&
               source.read(buffer, sizeof buffer, count) == IBodySource::Step::Some)
            text.append(buffer, count);
        const auto [first, second] = FirstTwo(text, hub.epoch());
        EXPECT_EQ(second, first + 1);
    }
    isOver = true;
    site.join();
}

} // namespace
} // namespace corvane::service
