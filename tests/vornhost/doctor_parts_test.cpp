// What the doctor makes of replies, of dates and of its findings.

#include "site/diagnosis/reply_checks.h"
#include "tools/vornhost/doctor/camera_clock.h"
#include "tools/vornhost/doctor/examination.h"
#include "tools/vornhost/names.h"

#include <gtest/gtest.h>

#include <chrono>

namespace corvane::vornhost {
namespace {

using std::chrono::system_clock;

TEST(DoctorParts, AWholeDumpIsToldFromOneThatIsNot) {
    const std::string whole = "CAMTITLE,\"gate \"north\"\"\r\nEMPTY,\"\"\r\nRTSPPORT,\"554\"\r\n";
    EXPECT_EQ(FaultOfDump(whole), std::nullopt);
    EXPECT_EQ(SettingsIn(whole), 3U);
    EXPECT_EQ(FaultOfDump(whole + "\r\n"), std::nullopt);
    for (const char* body :
         {"", "<html>\n<a>1,\"2\"</a>", "CAMTITLE,\"gate\"\nRTSPPORT,\"55", "A,\"1\"\nRTSPPORT,\""})
        EXPECT_NE(FaultOfDump(body), std::nullopt) << body;
    EXPECT_NE(FaultOfDump(whole + std::string("\0", 1)), std::nullopt);
    EXPECT_EQ(FaultOfCapability("a.b=1\r\na.c=\r\n"), std::nullopt);
    EXPECT_NE(FaultOfCapability("a.b=1\na."), std::nullopt);
}

TEST(DoctorParts, TheClockIsJudgedByEveryReply) {
    const auto at = [](const char* date, int second) {
        SWatchedExchange exchange;
        exchange.date = date;
        exchange.dateCame = system_clock::from_time_t(1'795'675'055 + second); // 2026-11-26 06:37:35
        return exchange;
    };
    const SWatchedExchange right = at("Thu, 26 Nov 2026 06:37:35 GMT", 0);
    EXPECT_EQ(ClockOf({at("", 0), at("yesterday", 0)}), std::nullopt);
    EXPECT_FALSE(ClockOf({right, at("Thu, 26 Nov 2026 06:38:35 GMT", 60)})->isWrong());
    EXPECT_FALSE(ClockOf({at("Thu, 26 Nov 2026 06:37:35 GMT", 60)})->isWrong());
    EXPECT_TRUE(ClockOf({at("Thu, 26 Nov 2026 06:37:35 GMT", 61)})->isWrong());
    EXPECT_TRUE(ClockOf({at("Thu, 01 Jan 1970 00:00:07 GMT", 0)})->isWrong());
    EXPECT_TRUE(ClockOf({right, at("Thu, 26 Nov 2026 06:37:55 GMT", 1)})->leaps());
}

TEST(DoctorParts, TheRootIsWhatTheOthersFollowFrom) {
    const auto finding = [](const char* check, CheckResult result, const char* cause) {
        SFinding one;
        one.check = check;
        one.result = result;
        if (result == CheckResult::Fault || result == CheckResult::Warning) {
            one.problem = SDiagnosis();
            one.problem->cause = cause;
        }
        return one;
    };
    const std::vector<SFinding> findings = {
        finding("connect", CheckResult::Ok, ""),
        finding("credentials", CheckResult::Warning, "authentication-weaker"),
        finding("answer-times", CheckResult::Fault, "slow"),
        finding("stream:0,h264,0", CheckResult::Fault, "no-picture"),
        finding("settings", CheckResult::Fault, "busy"),
        finding("audio", CheckResult::Fault, "restarting")};
    const auto rootOf = [&](std::size_t count) {
        const std::vector<SFinding> some(findings.begin(),
                                         findings.begin() + static_cast<std::ptrdiff_t>(count));
        const SFinding* const root = CExamination::rootOf(some);
        return root ? root->problem->cause : std::string();
    };
    EXPECT_EQ(rootOf(1), "");
    EXPECT_EQ(rootOf(2), "authentication-weaker");
    EXPECT_EQ(rootOf(3), "slow");
    EXPECT_EQ(rootOf(4), "no-picture");
    EXPECT_EQ(rootOf(5), "busy");
    EXPECT_EQ(rootOf(6), "restarting");
}

} // namespace
} // namespace corvane::vornhost
