#include "camera/setting.h"

#include "tests/plugin/curl_options.h"
#include "tests/plugin/fake_host.h"
#include "tests/plugin/stub_camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <ctime>
#include <future>
#include <optional>
#include <sstream>

namespace corvane::panasonic_camera {
namespace {

using namespace test_support;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr const char* Set = "/cgi-bin/set_mpeg";
constexpr const char* Getinfo = "/cgi-bin/getinfo";
// How long a thing is watched that must not happen.
constexpr milliseconds Moment{100};

class Setting : public testing::Test {
protected:
    // Nothing is fetched in between unless somebody asks.
    Setting() {
        times.now = [this] { return clock.load(); };
        camera.reply(Set, HttpOk("OK"));
        dump("CAMTITLE,\"first\"\r\n");
    }
    void dump(const std::string& text) { camera.reply(Setdata, HttpOk(text)); }
    void make() { setting.emplace(camera.address(), device, std::vector<std::string>(), times); }
    std::string title() { return setting->GetCameraSetting("CAMTITLE"); }
    std::future<std::string> titleLater() {
        return std::async(std::launch::async, [this] { return title(); });
    }
    static bool isWaiting(const std::future<std::string>& reader) {
        return reader.wait_for(Moment) == std::future_status::timeout;
    }

    CThreadCheck threadCheck;
    std::atomic<std::uint64_t> clock{1'000'000};
    SSettingTimes times;
    CStubCamera camera;
    boost::shared_ptr<CFakeDevice> device = boost::make_shared<CFakeDevice>();
    std::optional<CPanasonicSetting> setting;
};

TEST_F(Setting, FetchesAtOnceAndReadersWaitForIt) {
    camera.hold(Setdata);
    make();
    ASSERT_TRUE(camera.waitForRequests(Setdata, 1));
    auto reader = titleLater();
    auto otherReader = titleLater();
    EXPECT_TRUE(isWaiting(reader));
    camera.letGoAll(Setdata);
    EXPECT_EQ(reader.get(), "first");
    EXPECT_EQ(otherReader.get(), "first");
    EXPECT_EQ(camera.requests(Setdata).size(), 1u);
}

TEST_F(Setting, IsFetchedAgainByAReaderAfterMoreThanAMinute) {
    make();
    EXPECT_EQ(title(), "first");
    dump("CAMTITLE,\"second\"\r\n");
    clock += 60'000;
    EXPECT_EQ(title(), "first");
    EXPECT_FALSE(camera.waitForRequests(Setdata, 2, Moment));

    camera.hold(Setdata);
    clock += 1;
    EXPECT_EQ(title(), "first"); // asks for the fetch and does not wait for it
    ASSERT_TRUE(camera.waitForRequests(Setdata, 2));
    EXPECT_EQ(title(), "first");
    camera.letGoAll(Setdata);
    EXPECT_TRUE(WaitUntil([&] { return title() == "second"; }));
    EXPECT_FALSE(camera.waitForRequests(Setdata, 3, Moment));
}

TEST_F(Setting, IsFetchedAgainWhenIdle) {
    times.refreshPeriod = milliseconds(10);
    make();
    EXPECT_TRUE(camera.waitForRequests(Setdata, 4));
}

TEST_F(Setting, AfterAWriteNobodyReadsAnOlderDump) {
    make();
    EXPECT_EQ(title(), "first");
    dump("CAMTITLE,\"second\"\r\n");
    EXPECT_FALSE(setting->SetCameraSetting(Set, "title=second"));
    EXPECT_EQ(title(), "second");

    // A fetch that was under way before the write does not count.
    camera.hold(Setdata);
    clock += 60'001;
    title();
    ASSERT_TRUE(camera.waitForRequests(Setdata, 3));
    EXPECT_FALSE(setting->SetCameraSetting(Set, "title=third"));
    auto reader = titleLater();
    camera.letGo(Setdata, 1);
    ASSERT_TRUE(camera.waitForRequests(Setdata, 4));
    EXPECT_TRUE(isWaiting(reader));
    dump("CAMTITLE,\"third\"\r\n");
    camera.letGo(Setdata, 1);
    EXPECT_EQ(reader.get(), "third");
}

TEST_F(Setting, AfterAWriteNobodyReadsAnOlderDumpHoweverManyWrite) {
    // The title is the number of requests that the camera had seen when it was asked for the dump.
    camera.reply(Setdata, [](std::size_t earlier) {
        return HttpOk("CAMTITLE,\"" + std::to_string(earlier) + "\"\r\n");
    });
    times.refreshPeriod = milliseconds(1);
    make();
    const auto write = [&](const std::string& name) {
        for (int i = 0; i < 25; ++i) {
            const std::string body = name + std::to_string(i);
            EXPECT_FALSE(setting->SetCameraSetting(Set, body));
            const std::size_t dumpTaken = std::stoul(title());
            const std::vector<SStubRequest> requests = camera.requests();
            std::size_t written = 0;
            while (requests[written].body != body)
                ++written;
            ASSERT_GT(dumpTaken, written);
        }
    };
    std::vector<std::future<void>> writers;
    for (const char* name : {"a", "b", "c"})
        writers.push_back(std::async(std::launch::async, write, name));
    for (auto& writer : writers)
        writer.get();
}

TEST_F(Setting, AReaderWaitsForNoMoreThanOneFetchBehindTheOneUnderWay) {
    const auto write = [&] { EXPECT_FALSE(setting->SetCameraSetting(Set, "a=1")); };
    for (const bool succeeds : {true, false}) {
        camera.letGoAll(Setdata);
        dump("CAMTITLE,\"old\"\r\n");
        make();
        EXPECT_EQ(title(), "old");
        camera.hold(Setdata);
        const std::size_t before = camera.requests(Setdata).size();
        write();
        ASSERT_TRUE(camera.waitForRequests(Setdata, before + 1)); // under way
        write();
        auto reader = titleLater();
        EXPECT_TRUE(isWaiting(reader));
        write(); // after which the reader came
        camera.letGo(Setdata, 1);
        ASSERT_TRUE(camera.waitForRequests(Setdata, before + 2));
        EXPECT_TRUE(isWaiting(reader));
        write();
        camera.reply(Setdata, succeeds ? HttpOk("CAMTITLE,\"new\"\r\n") : HttpReply(500));
        camera.letGo(Setdata, 1);
        EXPECT_EQ(reader.get(), succeeds ? "new" : "");
        camera.letGoAll(Setdata);
        setting.reset();
    }
}

TEST_F(Setting, AWriteWithoutReloadIsSeenAfterTheReload) {
    make();
    EXPECT_EQ(title(), "first");
    EXPECT_EQ(setting->ReloadSetting(), 0); // nothing was written: nobody waits
    dump("CAMTITLE,\"second\"\r\n");
    camera.hold(Setdata);
    EXPECT_FALSE(setting->SetCameraSettingNoReload(Set, "a=1"));
    EXPECT_FALSE(setting->SetCameraSettingNoReload(std::string(Set) + "?b=2", ""));
    EXPECT_EQ(title(), "first");
    EXPECT_EQ(camera.requests(Setdata).size(), 1u);
    EXPECT_EQ(setting->ReloadSetting(), 0);
    auto reader = titleLater();
    EXPECT_TRUE(isWaiting(reader));
    camera.letGoAll(Setdata);
    EXPECT_EQ(reader.get(), "second");
    EXPECT_EQ(setting->ReloadSetting(), 0); // nothing was since
    EXPECT_FALSE(camera.waitForRequests(Setdata, 3, Moment));

    const std::vector<SStubRequest> writes = camera.requests(Set);
    ASSERT_EQ(writes.size(), 2u);
    EXPECT_EQ(writes[0].method + writes[0].body, "POSTa=1");
    EXPECT_EQ(writes[1].method + writes[1].target, "GET" + std::string(Set) + "?b=2");

    // A write that failed may have changed something as well.
    dump("CAMTITLE,\"third\"\r\n");
    camera.reply(Set, HttpReply(500));
    EXPECT_EQ(setting->SetCameraSetting(Set, "c=3").getCode(), 2);
    EXPECT_EQ(title(), "third");
}

TEST_F(Setting, AFailedFetchEmptiesEveryAnswerUntilOneSucceeds) {
    const auto fetch = [&](const std::string& reply) {
        camera.reply(Setdata, reply);
        setting->SetCameraSetting(Set, "a=1");
    };
    camera.reply(Setdata, HttpReply(500, "CAMTITLE,\"not this\""));
    make();
    EXPECT_EQ(title(), "");
    EXPECT_EQ(setting->getDetailsFromSetdata(), -1);
    fetch(HttpOk("CAMTITLE,\"a\"\r\nBWC,\"5\"\r\n"));
    EXPECT_EQ(title(), "a");
    fetch("");
    EXPECT_EQ(title(), "");
    EXPECT_EQ(setting->GetCameraSetting("BWC"), "");
    // What the camera reports no longer is not kept.
    fetch(HttpOk("CAMTITLE,\"b\"\r\n"));
    EXPECT_EQ(title(), "b");
    EXPECT_EQ(setting->GetCameraSetting("BWC"), "");
    EXPECT_EQ(setting->getDetailsFromSetdata(), 0);
}

TEST_F(Setting, EveryCamerasKeysAreInTheFirstDump) {
    std::vector<std::string> keys;
    std::istringstream names(
        "CAMTITLE CAMTITLE2 CAMTITLE3 CAMTITLE4 BWC STREAMMODE MPEG MPEG_2 MPEGSIZE MPEGSIZE_2 MPEGBWC "
        "MPEGBWC_2 "
        "FPRIORITY FPRIORITY_2 H264 H264_2 H264RTSPMODE H264BWC H264BWC_2 H264SIZE H264SIZE_2 H264QUAL "
        "H264QUAL_2 "
        "H264FPRIORITY H264FPRIORITY_2 H264RINT H264RINT_2 BRIGHTNESS MEGASD SHARPNESS CHROMA BLC AUDIO "
        "AUDIOBITRATE AUDIOINT ATRMIN ATRMIN2 ATRMIN3 ORGUSE ORGPORT ORGALM1 RTSPMODE RTSPPORT IMAGESELECT "
        "WHITEBALANCE WHITEBAL IMAGESVGA IMAGERATIO NRFRAMERATE NRFRAMERATE_2 H264NRFRAMERATE "
        "H264NRFRAMERATE_2 "
        "RINT RINT_2 AUDIOSENS AINMODE AINMODE2 AINMODE3 LIVESIZE LIVESIZECH2 LIVESIZECH3 LIVESIZECH4 "
        "LIVEINT "
        "LIVEINTCH2 LIVEINTCH3 LIVEINTCH4 LIVEQUAL LIVEQUALCH2 LIVEQUALCH3 LIVEQUALCH4 PATROLNO SDTHREE "
        "ALCELC WDR "
        "DARKCOMP APERTURE MPEGQUAL MPEGQUAL_2 RTSPMODE_2 H264RTSPMODE,H264RTSPMODE_2");
    for (std::string name; names >> name;)
        keys.push_back(name);
    EXPECT_EQ(keys.size(), 80U);
    // A key stands behind those that end in it, which would be found first.
    std::sort(keys.begin(), keys.end(), [](const auto& a, const auto& b) { return a.size() < b.size(); });
    std::string text;
    for (const std::string& key : keys)
        text += key + ",\"of " + key + "\"\r\n";
    dump(text);
    make();
    for (const std::string& key : keys)
        EXPECT_EQ(setting->GetCameraSetting(key), "of " + key);
}

TEST(SettingTimes, OfACamera) {
    const SSettingTimes times;
    EXPECT_EQ(times.refreshPeriod, seconds(300));
    EXPECT_EQ(times.staleAfter, seconds(60));
    EXPECT_EQ(times.readerPoll, milliseconds(100));
    EXPECT_NEAR(static_cast<double>(times.now()), 1e3 * static_cast<double>(std::time(nullptr)), 2e3);
}

TEST_F(Setting, AKeyThatWasNeverAskedForIsFetchedFromThenOn) {
    dump("MOTION,\"on\"\r\nZOOMLIMIT,\"2\"\r\nH264RTSPMODE,H264RTSPMODE_2,\"1\"\r\n");
    setting.emplace(camera.address(), device, std::vector<std::string>{"ZOOMLIMIT"}, times);
    EXPECT_EQ(setting->GetCameraSetting("ZOOMLIMIT"), "2"); // the owner's own key, at once
    EXPECT_EQ(setting->GetCameraSetting("H264RTSPMODE,H264RTSPMODE_2"), "1");
    EXPECT_EQ(setting->GetCameraSetting("MOTION"), "");
    EXPECT_EQ(setting->getDetailsFromSetdata(), 0);
    EXPECT_EQ(setting->GetCameraSetting("MOTION"), "on");
}

TEST_F(Setting, EndsAtOnceWhenItWaitsAndAfterAFetchUnderWay) {
    make();
    EXPECT_EQ(title(), "first");
    const auto start = std::chrono::steady_clock::now();
    setting.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, seconds(2));

    camera.hold(Setdata);
    make();
    ASSERT_TRUE(camera.waitForRequests(Setdata, 2));
    auto end = std::async(std::launch::async, [&] {
        setting.reset();
        return std::string();
    });
    EXPECT_TRUE(isWaiting(end));
    camera.letGoAll(Setdata);
    end.get();
    EXPECT_EQ(camera.requests(Setdata).size(), 2u);
}

// One test for all of it: what has been fetched is remembered by the process.
TEST_F(Setting, IdentityIsFetchedOnceInTheProcess) {
    camera.reply(Getinfo, HttpReply(500));
    make();
    device->setAuthentication({});
    EXPECT_EQ(setting->GetCameraInfo("MAC"), "");
    EXPECT_TRUE(camera.requests(Getinfo).empty());

    device->setAuthentication({"u", "p"});
    camera.demandCredentials();
    EXPECT_EQ(setting->GetCameraInfo("MAC"), "");
    EXPECT_EQ(CurlOption(std::string(Getinfo) + "?FILE=1&page=12345", CURLOPT_TIMEOUT_MS), "4");
    camera.reply(Getinfo, HttpOk("NAME=PX-F320\r\nMAC=00:11\r\nVERSION=4.3'\r\n"));
    // Two that ask side by side: each gets its own, one after the other.
    camera.hold(Getinfo);
    CPanasonicSetting other(camera.address(), device, {}, times);
    const auto macLater = [](CPanasonicSetting& of) {
        return std::async(std::launch::async, [&of] { return of.GetCameraInfo("MAC"); });
    };
    auto mac = macLater(*setting);
    ASSERT_TRUE(camera.waitForRequests(Getinfo, 2));
    auto otherMac = macLater(other);
    EXPECT_TRUE(isWaiting(otherMac));
    EXPECT_EQ(camera.requests(Getinfo).size(), 2u);
    camera.letGoAll(Getinfo);
    EXPECT_EQ(mac.get(), "00:11");
    EXPECT_EQ(otherMac.get(), "00:11");

    EXPECT_EQ(setting->GetCameraInfo("VERSION"), "4.3");
    EXPECT_EQ(setting->GetCameraInfo("NAME"), "PX-F320");
    EXPECT_EQ(setting->GetCameraInfo("SERIAL"), "");
    const std::vector<SStubRequest> requests = camera.requests(Getinfo);
    ASSERT_EQ(requests.size(), 3u);
    EXPECT_EQ(requests[1].target, std::string(Getinfo) + "?FILE=1&page=12345");
    EXPECT_EQ(requests[1].authorization, "Basic dTpw"); // u:p

    CPanasonicSetting late(camera.address(), device, {}, times);
    for (const char* key : {"MAC", "VERSION", "NAME"})
        EXPECT_EQ(late.GetCameraInfo(key), "");
    EXPECT_EQ(camera.requests(Getinfo).size(), 3u);
}

} // namespace
} // namespace corvane::panasonic_camera
