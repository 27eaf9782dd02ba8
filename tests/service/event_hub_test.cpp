#include "service/event_hub.h"

#include "service/event_source.h"

#include <gmock/gmock.h>

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

} // namespace
} // namespace corvane::service
