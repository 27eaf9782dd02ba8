// How much the request log keeps.

#include "http/request_log.h"

#include <gmock/gmock.h>

namespace {

using namespace camsim;
using testing::ElementsAre;

LoggedRequest requestWith(std::string body) {
    LoggedRequest request;
    request.camera = 3;
    request.body = std::move(body);
    return request;
}

std::vector<uint64_t> idsOf(const RequestLog::Excerpt& excerpt) {
    std::vector<uint64_t> ids;
    for (const LoggedRequest& request : excerpt.requests)
        ids.push_back(request.id);
    return ids;
}

constexpr size_t entry = sizeof(LoggedRequest);

TEST(RequestLog, ForgetsTheOldestForWantOfBytes) {
    RequestLog log({100, 3 * entry + 60, 100, 10 * entry});
    for (const size_t size : {30, 10, 20})
        log.add(requestWith(std::string(size, 'x')));
    EXPECT_THAT(idsOf(log.read({}, 0)), ElementsAre(1, 2, 3)); // just so
    log.add(requestWith("y"));
    EXPECT_THAT(idsOf(log.read({}, 0)), ElementsAre(2, 3, 4));
    log.add(requestWith(std::string(59, 'z')));
    EXPECT_THAT(idsOf(log.read({}, 0)), ElementsAre(4, 5));
    EXPECT_EQ(log.read({}, 0).dropped, 3U);
    log.answered(5, 204);
    EXPECT_EQ(log.read({}, 4).requests.front().status, 204U);

    log.clear();
    for (const size_t size : {11, 22, 27})
        log.add(requestWith(std::string(size, 'x')));
    EXPECT_THAT(idsOf(log.read({}, 0)), ElementsAre(6, 7, 8)); // what was cleared takes no room
}

TEST(RequestLog, ForgetsTheOldestForWantOfEntries) {
    RequestLog log({2, 100 * entry, 100, 100 * entry});
    for (int i = 0; i < 3; ++i)
        log.add(requestWith(""));
    EXPECT_THAT(idsOf(log.read({}, 0)), ElementsAre(2, 3));
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
            RequestLog log({10, bytes, 100, 100 * entry});
            log.add(requestWith(row.body));
            return log.read({}, 0).requests.size();
        };
        EXPECT_EQ(kept(entry + row.size), 1U) << testing::PrintToString(row.body);
        EXPECT_EQ(kept(entry + row.size - 1), 0U) << testing::PrintToString(row.body);
    }
}

TEST(RequestLog, CutsLongBodiesAndSaysSo) {
    RequestLog log({10, 100 * entry, 5, 100 * entry});
    log.add(requestWith("12345"));
    log.add(requestWith("123456"));
    const RequestLog::Excerpt excerpt = log.read({}, 0);
    EXPECT_EQ(excerpt.requests[0].body, "12345");
    EXPECT_FALSE(excerpt.requests[0].bodyIsCut);
    EXPECT_EQ(excerpt.requests[1].body, "12345");
    EXPECT_TRUE(excerpt.requests[1].bodyIsCut);
}

TEST(RequestLog, IsReadInPiecesWhenItIsLong) {
    RequestLog log({10, 100 * entry, 100, 2 * entry + 7});
    for (int i = 0; i < 4; ++i)
        log.add(requestWith("1234"));
    const RequestLog::Excerpt first = log.read(3, 0);
    EXPECT_THAT(idsOf(first), ElementsAre(1));
    EXPECT_TRUE(first.more);
    EXPECT_TRUE(log.read(3, 2).more);
    const RequestLog::Excerpt last = log.read(3, 3);
    EXPECT_THAT(idsOf(last), ElementsAre(4));
    EXPECT_FALSE(last.more);
    EXPECT_FALSE(log.read(1, 0).more);
}

} // namespace
