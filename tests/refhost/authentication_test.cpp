// Digest before Basic, Basic where it is refused, and what is kept and told of how devices ask.

#include "host/handler.h"
#include "host/log.h"
#include "refhost/devices/contexts.h"
#include "tests/refhost/captured_stderr.h"
#include "tests/refhost/http_support.h"
#include "tests/refhost/test_models.h"
#include "tests/support/scripted_server.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace corvane::tests {
namespace {

using namespace refhost;
using device_handler::v1_0::CAuthentication;
using device_handler::v1_0::CVornModelList;
using device_handler::v1_0::Origin;
using device_handler::v1_0::RtnCode;
using device_handler::v1_0::SFamily;
using device_handler::v1_0::SQueryDevice;
using testing::ElementsAre;
using testing::HasSubstr;
using vorn_utility::v1_0::CHttpInterface;
using vorn_utility::v1_0::CVornCgiLib;

const std::string Basic = "WWW-Authenticate: Basic realm=\"camera\"\r\n";
const std::string Digest = "WWW-Authenticate: Digest realm=\"camera\", nonce=\"n\", qop=\"auth\"\r\n";
constexpr const char* RefusedText =
    "HTTP status 401 Unauthorized: Basic authentication alone is offered, and that is refused";

// A device that lets in whoever answers one of its challenges, which may change.
class CAskingDevice {
public:
    explicit CAskingDevice(std::string asked) : challenges(std::move(asked)) {}

    std::string address() const { return server_.address(); }
    // The schemes of the credentials that it was shown, in order; none is left out.
    std::vector<std::string> shown() const {
        std::vector<std::string> schemes;
        for (const SSentRequest& request : server_.requests()) {
            const std::string credentials = request.header("Authorization");
            if (!credentials.empty())
                schemes.push_back(credentials.substr(0, credentials.find(' ')));
        }
        return schemes;
    }
    bool wasShownBasic() const {
        const std::vector<std::string> schemes = shown();
        return std::count(schemes.begin(), schemes.end(), "Basic") > 0;
    }

    // Changed between two requests only, when the server's threads are idle.
    std::string challenges;
    std::string accepted; // the one scheme that lets in; empty: any that is asked for

private:
    SScriptedReply answer(const SSentRequest& request) const {
        const std::string credentials = request.header("Authorization");
        const std::string scheme = credentials.substr(0, credentials.find(' '));
        const bool isAsked = challenges.find("WWW-Authenticate: " + scheme) != std::string::npos;
        const bool isIn = !scheme.empty() && (accepted.empty() ? isAsked : scheme == accepted);
        return {isIn ? HttpReply(200, "NAME=x") : HttpReply(401, "", challenges)};
    }

    const CScriptedServer server_{[this](const SSentRequest& request) { return answer(request); }};
};

int Post(const std::string& address) {
    CHttpInterface client("admin", "secret");
    client.Initialize();
    return client.SetContent("a=1", "http://" + address + "/cgi-bin/set");
}

TEST(Authentication, DigestIsTakenWhereBothAreOffered) {
    for (const std::string& both : {Digest + Basic, Basic + Digest}) {
        const CAskingDevice device(both);
        std::string reply;
        EXPECT_THAT(Get(device.address(), reply), IsSuccess());
        EXPECT_EQ(Post(device.address()), 200);
        EXPECT_THAT(device.shown(), ElementsAre("Digest", "Digest")) << both;
    }
}

// The connection and its scheme are kept; a device that does not take it any more says so.
TEST(Authentication, DigestIsTakenByWhoWasOnceAskedForBasic) {
    for (const std::string& later : {Digest, Digest + Basic, Basic + Digest}) {
        CAskingDevice device(Basic);
        std::string reply;
        for (int i = 0; i < 2; ++i)
            EXPECT_THAT(Get(device.address(), reply), IsSuccess());
        device.challenges = later;
        device.accepted = "Digest";
        for (int i = 0; i < 2; ++i)
            EXPECT_THAT(Get(device.address(), reply), IsSuccess()) << later;
        EXPECT_THAT(device.shown(), ElementsAre("Basic", "Basic", "Basic", "Digest", "Digest")) << later;
    }
}

TEST(Authentication, BasicTellsNoNameThatItWouldCut) {
    CAskingDevice device(Basic);
    std::string reply;
    const auto get = [&] {
        return CVornCgiLib::vornCgiGetRawResponse(UrlOf("/"), device.address(), "ad:min", "secret", reply, 60,
                                                  "ANY");
    };
    EXPECT_THAT(get(), IsError(RtnCode::AuthenticationFailed, Origin::Device,
                               "HTTP status 401 Unauthorized: Basic authentication alone is offered, and "
                               "that would cut the user's name at its \":\""));
    EXPECT_THAT(device.shown(), ElementsAre());
    device.challenges = Digest;
    EXPECT_THAT(get(), IsSuccess());
}

TEST(Authentication, RefusedBasicGoesOverNoWire) {
    for (const bool isKeptFromBefore : {false, true}) {
        const CAskingDevice device(Basic);
        CDeviceContext context(device.address(), {"admin", "secret"}, nullptr);
        std::string reply = "untouched";
        if (isKeptFromBefore) {
            for (const char* const scheme : {"ANY", "BASIC"})
                EXPECT_THAT(CVornCgiLib::vornCgiGetRawResponse(UrlOf("/"), device.address(), "admin",
                                                               "secret", reply, 60, scheme),
                            IsSuccess());
            reply = "untouched";
        }
        const std::size_t before = device.shown().size();
        EXPECT_FALSE(context.getAuthentication().isBasicRefused());
        context.setBasicRefused(true);
        EXPECT_TRUE(context.getAuthentication().isBasicRefused());
        for (const char* const scheme : {"ANY", "BASIC", "DIGEST"})
            EXPECT_THAT(CVornCgiLib::vornCgiGetRawResponse(UrlOf("/"), device.address(), "admin", "secret",
                                                           reply, 60, scheme),
                        IsError(RtnCode::AuthenticationFailed, Origin::Device, RefusedText));
        EXPECT_EQ(reply, "untouched");
        EXPECT_EQ(Post(device.address()), 401);
        EXPECT_EQ(device.shown().size(), before);

        // Nobody's password was at stake: the device wants one.
        const auto error =
            CVornCgiLib::vornCgiGetRawResponse(UrlOf("/"), device.address(), "", "", reply, 60, "ANY");
        EXPECT_EQ(error.getText(), "HTTP status 401 Unauthorized");
        context.setBasicRefused(false);
        EXPECT_THAT(Get(device.address(), reply), IsSuccess());
    }
}

TEST(Authentication, ARefusalLeavesDigestAsItIs) {
    CAskingDevice device(Basic + Digest);
    CDeviceContext context(device.address(), {"admin", "secret"}, nullptr);
    context.setBasicRefused(true);
    std::string reply;
    for (int i = 0; i < 2; ++i)
        EXPECT_THAT(Get(device.address(), reply), IsSuccess());
    EXPECT_EQ(Post(device.address()), 200);
    EXPECT_THAT(device.shown(), ElementsAre("Digest", "Digest", "Digest"));
    device.challenges = Basic; // of a device that is known by Digest, on a connection that is open
    EXPECT_THAT(Get(device.address(), reply),
                IsError(RtnCode::AuthenticationFailed, Origin::Device, RefusedText));
    EXPECT_FALSE(device.wasShownBasic());
}

// Until a device is identified it may be of any family.
TEST(Authentication, AFamilyThatRefusesItSpeaksForEveryDeviceThatIsNotKnown) {
    const auto listWith = [](bool digestOnly) {
        std::vector<SFamily> families = TestModels()->getFamilies();
        families.back().digestOnly = digestOnly;
        return boost::make_shared<CVornModelList>(TestModels()->getTestAuthentication(), families,
                                                  std::map<std::string, SQueryDevice>(),
                                                  CVornModelList::ModelMap());
    };
    const CAskingDevice stranger(Basic), known(Basic), other(Basic);
    CDeviceContext ofFriendlyFamily(known.address(), {}, nullptr);
    ofFriendlyFamily.setBasicRefused(false);
    {
        CHandlerContext strict(listWith(true));
        vorn_handler::v1_0::CVornHandler handler(&strict);
        { const CHandlerContext lenient(listWith(false)); }
        EXPECT_THAT(handler.testAuthentication(stranger.address(), {"admin", "secret"}),
                    IsError(RtnCode::AuthenticationFailed, Origin::Device, RefusedText));
        EXPECT_THAT(handler.testAuthentication(known.address(), {"admin", "secret"}), IsSuccess());
        EXPECT_FALSE(stranger.wasShownBasic());
    }
    CHandlerContext lenient(listWith(false));
    vorn_handler::v1_0::CVornHandler handler(&lenient);
    EXPECT_THAT(handler.testAuthentication(other.address(), {"admin", "secret"}), IsSuccess());
}

class SeenAuthentication : public testing::Test {
protected:
    SeenAuthentication() { SetLogLevel(device_handler::v1_0::LogNotice); }
    ~SeenAuthentication() override { SetLogLevel(device_handler::v1_0::LogFailure); }

    // What the log tells of some requests.
    static std::vector<std::string> logOf(const CAskingDevice& device, int requests) {
        const std::string text = CapturedStderr([&] {
            for (int i = 0; i < requests; ++i) {
                std::string reply;
                (void)Get(device.address(), reply, "/cgi-bin/getinfo?FILE=1");
            }
        });
        std::vector<std::string> lines;
        std::istringstream in(text);
        for (std::string line; std::getline(in, line);)
            lines.push_back(line.substr(line.find("notice")));
        return lines;
    }
    static std::string told(const std::string& address, const std::string& what) {
        return "notice " + address + ": the camera offers Basic authentication alone" + what;
    }
};

TEST_F(SeenAuthentication, BasicAloneIsToldOnceForADevice) {
    const CAskingDevice first(Basic), second(Basic), good(Digest), free("");
    const CDeviceContext context(first.address(), {}, nullptr);
    EXPECT_THAT(logOf(first, 3), ElementsAre(told(first.address(), "; whoever listens learns the password")));
    EXPECT_EQ(logOf(second, 2).size(), 1U);
    EXPECT_EQ(logOf(good, 2).size() + logOf(free, 1).size(), 0U);
    const SSeenAuthentication seen = context.seenAuthentication();
    EXPECT_EQ(seen.letIn, AuthScheme::Basic);
    EXPECT_FALSE(seen.isWeakerThanBefore());
    ASSERT_TRUE(seen.basicAlone);
    EXPECT_EQ(seen.basicAlone->path, "/cgi-bin/getinfo?FILE=1");
    EXPECT_FALSE(CDeviceContext(good.address(), {}, nullptr).seenAuthentication().basicAlone);
}

TEST_F(SeenAuthentication, AFallFromDigestIsToldOnceMoreAndForgottenWhenItIsBack) {
    CAskingDevice device(Basic);
    const CDeviceContext context(device.address(), {}, nullptr);
    EXPECT_EQ(logOf(device, 1).size(), 1U);
    device.challenges = Digest;
    EXPECT_EQ(logOf(device, 2).size(), 0U);
    EXPECT_EQ(context.seenAuthentication().letIn, AuthScheme::Digest);
    EXPECT_FALSE(context.seenAuthentication().basicAlone);
    device.challenges = Basic; // the handle that is kept takes it in its stride
    EXPECT_THAT(logOf(device, 2),
                ElementsAre(told(device.address(), ", and had Digest before: somebody may be in between, or "
                                                   "it was reset; whoever listens learns the password")));
    EXPECT_TRUE(context.seenAuthentication().isWeakerThanBefore());
    EXPECT_EQ(context.seenAuthentication().letIn, AuthScheme::Basic);
}

// Another process is another database object here, for another address the same one.
TEST_F(SeenAuthentication, TheBestIsKeptInTheDatabase) {
    const test_support::CTemporaryFolder folder;
    const std::string file = folder.file("devices.db");
    const CAskingDevice device(Digest), weak(Basic), unheard(Digest);
    {
        const auto database = CDeviceDb::open(file);
        const CDeviceContext context(device.address(), {}, database), ofWeak(weak.address(), {}, database);
        logOf(device, 1);
        logOf(weak, 1);
    }
    logOf(unheard, 1); // no database is open
    const auto kept = [&](const CAskingDevice& of) {
        device_handler::v1_0::CString word("nothing");
        (void)CDeviceDb::open(file)->proxy(of.address())->readValue("authentication", word);
        return word.str();
    };
    EXPECT_EQ(kept(device), "digest");
    EXPECT_EQ(kept(weak), "basic");
    EXPECT_EQ(kept(unheard), "nothing");

    const CAskingDevice reset(Basic); // at an address that is known by Digest
    (void)CDeviceDb::open(file)->proxy(reset.address())->writeValue("authentication", "digest");
    const auto database = CDeviceDb::open(file);
    const CDeviceContext context(reset.address(), {}, database);
    EXPECT_THAT(logOf(reset, 2), ElementsAre(HasSubstr("had Digest before")));
    EXPECT_TRUE(context.seenAuthentication().isWeakerThanBefore());
    EXPECT_EQ(kept(reset), "digest"); // until somebody has looked at it
}

TEST_F(SeenAuthentication, ARefusalIsToldToo) {
    const CAskingDevice device(Basic);
    CDeviceContext context(device.address(), {}, nullptr);
    context.setBasicRefused(true);
    EXPECT_THAT(logOf(device, 2), ElementsAre(told(device.address(), "; that is refused")));
    EXPECT_EQ(context.seenAuthentication().letIn, AuthScheme::None);
    EXPECT_EQ(context.seenAuthentication().basicAlone->kind, HttpFailure::BasicRefused);
}

} // namespace
} // namespace corvane::tests
