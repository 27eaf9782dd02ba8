// Each way in which a camera can fail is told in words of its own.

#include "tests/vornhost/vornhost_support.h"

namespace corvane::vornhost_test {
namespace {

using testing::AllOf;
using testing::HasSubstr;

TEST(Diagnosis, TellsWhatWasAskedWhatCameBackAndWhatToTry) {
    const CCamsim camsim({"--fault", "/cgi-bin/get_capability status status=401"});
    const SRun run = Vornhost({"--model", "F320", "call", camsim.address(), "getCameraName", "0"});
    EXPECT_EQ(run.status, 3);
    EXPECT_EQ(run.err, "vornhost: " + camsim.address() + R"(: the camera refuses the user name or the password
  plug-in   the device at )" +
                           camsim.address() + R"( cannot be initialised
  asked     GET http://)" + camsim.address() +
                           R"(/cgi-bin/get_capability
  answered  HTTP status 401 Unauthorized, to user "admin" (the family's default)
  try       give the camera's own with --user and --password-file, or VORNHOST_USER and VORNHOST_PASSWORD
)");
}

TEST(Diagnosis, OfADeviceThatIsNoneOfThePlugins) {
    const CCamsim camsim;
    camsim.post("/faults", {{"path", "/cgi-bin/getinfo*"}, {"kind", "body"}, {"body", "OTHER=1\r\n"}});
    const SRun run = Vornhost({"call", camsim.address(), "getCameraName", "0"});
    EXPECT_EQ(run.status, 3);
    EXPECT_THAT(run.err, AllOf(HasSubstr("none of the plug-in's cameras"), HasSubstr("--model")));
}

TEST(Diagnosis, OfACameraTooSlowToBeIdentified) {
    const CCamsim camsim({"--fault", "/cgi-bin/getinfo* delay ms=2600"});
    const SRun run = Vornhost({"identify", camsim.address()});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, AllOf(HasSubstr("too slowly"), HasSubstr("answered  after 26")));
}

TEST(Diagnosis, OfARefusedSynchronisation) {
    const CCamsim camsim({"--fault", "/cgi-bin/set_h264 status status=500"});
    const SRun run = Vornhost({"sync", camsim.address(), "--stream", "0,h264,0", "frameRate=1"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.out, HasSubstr("sent  POST /cgi-bin/set_h264"));
    EXPECT_THAT(run.err, AllOf(HasSubstr("CGI request failed !!"), HasSubstr("500 Internal Server Error")));
}

TEST(Diagnosis, OfSettingsThatAreNotThereYet) {
    const CCamsim camsim;
    const SRun run =
        Vornhost({"--no-initialize", "--model", "F320", "call", camsim.address(), "rebootDevice"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, AllOf(HasSubstr("property not found"), testing::Not(HasSubstr("credentials"))));
}

TEST(Diagnosis, OfAWrongPasswordAtIdentification) {
    const CCamsim camsim;
    const SRun run = Vornhost({"call", camsim.address(), "getCameraName", "0"}, "",
                              {{"VORNHOST_PASSWORD", "no-such-word"}});
    EXPECT_EQ(run.status, 3);
    EXPECT_THAT(run.err, AllOf(HasSubstr("user name or the password"), HasSubstr("VORNHOST_PASSWORD")));
}

TEST(Diagnosis, OfAModelThatTheListDoesNotKnow) {
    const CTemporaryFolder folder;
    const CCamsim camsim({"--auth", "none"});
    const std::string query = R"({"path":"/cgi-bin/getinfo","parameters":[["FILE","1"]],"key":")";
    const std::string models = folder.file(
        "models.json", R"({"authenticationTest":)" + query + R"(NAME="},"families":[{"name":"--Generic",)" +
                           R"("user":"admin","password":"12345","modelNumber":)" + query +
                           R"(NAME="},"serialNumber":)" + query +
                           R"(SERIAL="}}],"models":[{"number":"X1","family":"--Generic"}]})");
    const SRun run = Vornhost({"--models", models, "call", camsim.address(), "getCameraName", "0"});
    EXPECT_EQ(run.status, 3);
    EXPECT_THAT(run.err,
                AllOf(HasSubstr("model list does not know"), HasSubstr("F320"), HasSubstr("--models")));
}

TEST(Diagnosis, OfAHostThatDoesNotExistAndOfMissingCredentials) {
    const SRun unknown = Vornhost({"--model", "F320", "call", "no-such-host.invalid", "getCameraName", "0"});
    EXPECT_EQ(unknown.status, 3);
    EXPECT_THAT(unknown.err, HasSubstr("no host has this name"));

    const CCamsim camsim;
    const SRun bare =
        Vornhost({"--no-credentials", "--model", "F320", "call", camsim.address(), "getCameraName", "0"});
    EXPECT_EQ(bare.status, 3);
    EXPECT_THAT(bare.err, HasSubstr("vornhost: "));
}

} // namespace
} // namespace corvane::vornhost_test
