#include "service/access.h"

#include "service/problem_answer.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace corvane::service {
namespace {

using testing::Contains;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Pair;

class Access : public testing::Test {
public:
    std::string file() const { return folder.file("tokens.json"); }
    SHttpRequest request(const std::string& given, const std::string& remote = "192.0.2.1") const {
        SHttpRequest made;
        made.method = "POST";
        made.remote = remote;
        made.headers = {{"host", "yard.example:8443"},
                        {"authorization", "Bearer " + given},
                        {"content-type", "application/json; charset=utf-8"}};
        return made;
    }

    const test_support::CTemporaryFolder folder;
    const std::string token = AddToken(file(), "wall", Role::View);
    CAccess access{{file(), {"::1"}, {"yard.example"}, true}};
};

int StatusOf(const std::function<void()>& use) {
    try {
        use();
    } catch (const CRefusal& refusal) {
        return refusal.answer("").status;
    }
    return 200;
}

TEST_F(Access, GuessingIsSlowAndHoldsUpNobodyElse) {
    const auto ask = [&](const std::string& given, const std::string& remote) {
        return StatusOf([&] { (void)access.require(request(given, remote), Role::View); });
    };
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(ask("guess" + std::to_string(i), "192.0.2.1"), 401);
    EXPECT_EQ(ask("guess", "192.0.2.1"), 429);
    EXPECT_EQ(StatusOf([&] { (void)access.logIn(request("", "192.0.2.1"), "guess"); }), 429);
    EXPECT_EQ(ask(token, "192.0.2.1"), 200);
    EXPECT_EQ(ask("guess", "192.0.2.2"), 401);
}

TEST_F(Access, TheSchemeIsWrittenAsOneLikesAndToldToWhoHasNoToken) {
    SHttpRequest made = request(token);
    made.headers["authorization"] = "bEARER " + token;
    EXPECT_EQ(access.require(made, Role::View).name, "wall");
    made.headers.erase("authorization");
    try {
        (void)access.require(made, Role::View);
        FAIL();
    } catch (const CRefusal& refusal) {
        EXPECT_THAT(refusal.answer("").headers, Contains(Pair("WWW-Authenticate", "Bearer")));
    }
}

TEST_F(Access, ADamagedFileTakesNoTokenAwayAndIsToldOnce) {
    std::ofstream(file()) << "{";
    std::filesystem::last_write_time(file(),
                                     std::filesystem::file_time_type::clock::now() + std::chrono::seconds(1));
    testing::internal::CaptureStderr();
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(access.require(request(token), Role::View).name, "wall");
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_THAT(told, HasSubstr("the tokens stay as they were"));
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;
}

TEST_F(Access, OnlyThisServicesOwnPageMayChangeSomething) {
    const auto ask = [&](const std::string& name, const std::string& value) {
        SHttpRequest made = request(token);
        made.headers[name] = value;
        return StatusOf([&] { access.requireOwnChange(made); });
    };
    EXPECT_EQ(ask("origin", "https://yard.example:8443"), 200);
    for (const char* other : {"http://yard.example:8443", "https://yard.example", "https://evil.example:8443",
                              "https://yard.example:8443.evil.example", "null"})
        EXPECT_EQ(ask("origin", other), 403) << other;
    for (const char* own : {"same-origin", "none"})
        EXPECT_EQ(ask("sec-fetch-site", own), 200) << own;
    for (const char* other : {"same-site", "cross-site"})
        EXPECT_EQ(ask("sec-fetch-site", other), 403) << other;
    for (const char* right : {"APPLICATION/Json", "application/json ; charset=utf-8"})
        EXPECT_EQ(ask("content-type", right), 200) << right;
    for (const char* other : {"text/plain", "", "application/jsonx", "multipart/form-data"})
        EXPECT_EQ(ask("content-type", other), 415) << other;
}

TEST_F(Access, TheServiceIsAskedByItsNames) {
    const auto ask = [&](const std::string& host) {
        SHttpRequest made = request(token);
        made.headers["host"] = host;
        return StatusOf([&] { access.requireHost(made); });
    };
    for (const char* own : {"yard.example", "Yard.Example:1", "[::1]", "[::1]:8443"})
        EXPECT_EQ(ask(own), 200) << own;
    for (const char* other :
         {"", ":8443", "yard.example.", "yard.example.evil.example", "evil.example:yard.example", "::1",
          "[::1", "yard.example@evil.example", "yard.example:1:2", "yard.example:x", "[::1]x", "[::1]:1:2"})
        EXPECT_EQ(ask(other), 421) << other;
}

TEST_F(Access, SessionsAreBoundedAndTheOldestGoes) {
    std::vector<SHttpRequest> browsers;
    for (int i = 0; i < 1001; ++i) {
        SHttpRequest browser = request("");
        browser.headers.erase("authorization");
        const auto [session, cookie] = access.logIn(browser, token);
        EXPECT_THAT(cookie, EndsWith("; Secure"));
        browser.headers["cookie"] = "a=b;" + cookie.substr(0, cookie.find(';')) + "; c=d";
        browsers.push_back(browser);
    }
    EXPECT_FALSE(access.session(browsers.front()));
    for (const std::size_t place : {1U, 500U, 1000U})
        EXPECT_TRUE(access.session(browsers[place])) << place;
}

} // namespace
} // namespace corvane::service
