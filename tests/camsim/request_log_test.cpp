// How much the request log keeps.

#include "http/request_log.h"

#include <gmock/gmock.h>

namespace {

using namespace camsim;
using testing::ElementsAre;

SLoggedRequest RequestWith(std::string body) {
    SLoggedRequest request;
    request.camera = 3;
    request.body = std::move(body);
    return request;
}

std::vector<uint64_t> IdsOf(const CRequestLog::SExcerpt& excerpt) {
    std::vector<uint64_t> ids;
    for (const SLoggedRequest& request : excerpt.requests)
        ids.push_back(request.id);
    return ids;
}

constexpr size_t Entry = sizeof(SLoggedRequest);

TEST(RequestLog, ForgetsTheOldestForWantOfBytes) {
    CRequestLog log({100, 3 * Entry + 60, 100, 10 * Entry});
    for (const size_t size : {30, 10, 20})
        log.add(RequestWith(std::string(size, 'x')));
    EXPECT_THAT(IdsOf(log.read({}, 0)), ElementsAre(1, 2, 3)); // just so
    log.add(RequestWith("y"));
    EXPECT_THAT(IdsOf(log.read({}, 0)), ElementsAre(2, 3, 4));
    log.add(RequestWith(std::string(59, 'z')));
    EXPECT_THAT(IdsOf(log.read({}, 0)), ElementsAre(4, 5));
    EXPECT_EQ(log.read({}, 0).dropped, 3U);
    log.answered(5, 204);
    EXPECT_EQ(log.read({}, 4).requests.front().status, 204U);

    log.clear();
    for (const size_t size : {11, 22, 27})
        log.add(RequestWith(std::string(size, 'x')));
    EXPECT_THAT(IdsOf(log.read({}, 0)), ElementsAre(6, 7, 8)); // what was cleared takes no room
}

TEST(RequestLog, ForgetsTheOldestForWantOfEntries) {
    CRequestLog log({2, 100 * Entry, 100, 100 * Entry});
    for (int i = 0; i < 3; ++i)
        log.add(RequestWith(""));
    EXPECT_THAT(IdsOf(log.read({}, 0)), ElementsAre(2, 3));
    EXPECT_EQ(log.read({}, 0).last, 3U);
}

TEST(RequestLog, CountsWhatARequestTakesInAnAnswer) {
    const struct {
        std::string body;
        size_t size;
    } rows[] = {{"x", 1},    {"\"\\", 4},         {"\n\x1f", 12},
                {"\x7f", 1}, {"\xc3\xa4\xff", 9}, {std::string(3, '\0'), 18}};
    for (const auto& row : rows) {
        const auto kept = [&](size_t bytes) {
            CRequestLog log({10, bytes, 100, 100 * Entry});
            log.add(RequestWith(row.body));
            return log.read({}, 0).requests.size();
        };
        EXPECT_EQ(kept(Entry + row.size), 1U) << testing::PrintToString(row.body);
        EXPECT_EQ(kept(Entry + row.size - 1), 0U) << testing::PrintToString(row.body);
    }
}

TEST(RequestLog, CutsLongBodiesAndSaysSo) {
    CRequestLog log({10, 100 * Entry, 5, 100 * Entry});
    log.add(RequestWith("12345"));
    log.add(RequestWith("123456"));
    const CRequestLog::SExcerpt excerpt = log.read({}, 0);
    EXPECT_EQ(excerpt.requests[0].body, "12345");
    EXPECT_FALSE(excerpt.requests[0].bodyIsCut);
    EXPECT_EQ(excerpt.requests[1].body, "12345");
    EXPECT_TRUE(excerpt.requests[1].bodyIsCut);
}

TEST(RequestLog, IsReadInPiecesWhenItIsLong) {
    CRequestLog log({10, 100 * Entry, 100, 2 * Entry + 7});
    for (int i = 0; i < 4; ++i)
        log.add(RequestWith("1234"));
    const CRequestLog::SExcerpt first = log.read(3, 0);
    EXPECT_THAT(IdsOf(first), ElementsAre(1));
    EXPECT_TRUE(first.more);
    EXPECT_TRUE(log.read(3, 2).more);
    const CRequestLog::SExcerpt last = log.read(3, 3);
    EXPECT_THAT(IdsOf(last), ElementsAre(4));
    EXPECT_FALSE(last.more);
    EXPECT_FALSE(log.read(1, 0).more);
}

} // namespace
