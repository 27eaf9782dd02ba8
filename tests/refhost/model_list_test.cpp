#include "refhost/model_list_file.h"

#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace corvane::tests {
namespace {

using namespace device_handler::v1_0;
using refhost::CModelListError;
using refhost::LoadModelList;
using test_support::CTemporaryFolder;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

const std::string Request = R"({"path": "/cgi-bin/getinfo", "parameters": [["FILE", "1"]], "key": "NAME="})";

std::string listOf(const std::string& models) {
    return R"({"authenticationTest": )" + Request + R"(,
  "families": [{"name": "BoxCamera", "user": "admin", "password": "12345", "modelNumber": )" +
           Request + R"(, "serialNumber": {"path": "/serial", "key": "SERIAL="}}],
  "models": [)" +
           models + "]}";
}

std::string modelWith(const std::string& members) {
    return listOf(R"({"number": "GXE500", "family": "BoxCamera", )" + members + "}");
}

// The refusal without the file's name, which must stand before it.
std::string refusalOf(const std::string& text) {
    const CTemporaryFolder folder;
    const std::string file = folder.file("models.json", text);
    try {
        LoadModelList(file);
    } catch (const CModelListError& error) {
        const std::string what = error.what();
        EXPECT_EQ(what.substr(0, file.size() + 2), file + ": ");
        return what.substr(file.size() + 2);
    }
    return "loaded";
}

boost::shared_ptr<CVornModelList> load(const std::string& text) {
    const CTemporaryFolder folder;
    return LoadModelList(folder.file("models.json", text));
}

TEST(ModelList, HoldsEveryMemberOfTheFile) {
    const auto list = load(listOf(R"(
      {"number": "GXE500", "family": "BoxCamera", "label": "encoder", "videoInputs": 4, "audioInputs": 1,
       "indexBase": {"78": 1}, "streams": {"mjpeg": 1, "h264": 2, "camera": 3},
       "defaults": {"quality": {"mjpeg": "80"}, "bitRate": {"mpeg4": "1024"}},
       "video": {"urls": {"0": {"H264": {"1": {"scheme": "rtsp", "port": "554", "path": "MediaInput/h264",
                                               "parameters": [["a", "1"], ["a", "2"]]}}}}},
       "audio": {"bitRates": {"0": "32", "1": "16"}, "urlBase": 2,
                 "urls": {"3": {"none": {"0": {"scheme": "rtsp", "port": "", "path": "/audio"}}}}},
       "ptz": {"position": {"pan": [0, 359], "tilt": [-90, 90], "zoom": [1, 1000]},
               "home": {"pan": 180, "tilt": 45, "zoom": -1},
               "speed": {"pan": [1, 64], "tilt": [2, 63], "zoom": [1, 8], "focus": [3, 9]},
               "presetOffset": 1, "patternOffset": 2, "patternCount": "4"},
       "image": {"brightness": {"range": ["0", "255"], "default": "128"},
                 "sharpness": {"range": ["0", "15"], "default": "8"},
                 "saturation": {"range": ["1", "254"], "default": "127"},
                 "whiteBalance": {"values": ["atw1", "awc"], "default": "awc"},
                 "backLightCompensation": ["0", "1"]},
       "lens": {"focus": {"range": ["-5", "5"], "default": "0"}, "dynamicRange": "Conditional"}},
      {"number": "A1", "family": "BoxCamera"})"));

    EXPECT_EQ(list->getTestAuthentication().path, "/cgi-bin/getinfo");
    const SQueryDevice query = list->getQueryDevice("BoxCamera");
    EXPECT_THAT(query.modelNumber.url.parameters, ElementsAre(Pair("FILE", "1")));
    EXPECT_EQ(query.serialNumber.url.path + " " + query.serialNumber.url.replyKey, "/serial SERIAL=");
    EXPECT_EQ(query.serialNumber.url.protocol + query.serialNumber.url.port + query.serialNumber.authScheme,
              "http80ANY");
    EXPECT_EQ(list->getQueryDevice("Other").modelNumber.url.path, "");
    EXPECT_EQ(list->findFamily("BoxCamera")->password, "12345");
    EXPECT_EQ(list->getModelFamiyName("GXE500") + list->getModelFamiyName("GXE"), "BoxCamera");

    const SModelInfo& model = *list->findModel("GXE500");
    EXPECT_EQ(model.label, "encoder");
    EXPECT_EQ(model.videoInputs, 4);
    EXPECT_EQ(model.audioInputs, 1);
    EXPECT_THAT(model.indexBase, ElementsAre(Pair(78, 1)));
    EXPECT_THAT(model.codecStreams, ElementsAre(Pair("h264", 2), Pair("mjpeg", 1)));
    EXPECT_EQ(*model.cameraStreams, 3);
    EXPECT_THAT(model.defaultQuality, ElementsAre(Pair("mjpeg", "80")));
    EXPECT_THAT(model.defaultBitRate, ElementsAre(Pair("mpeg4", "1024")));
    const SStreamUrl& url = model.videoUrls.at(0).at("H264").at(1);
    EXPECT_EQ(url.scheme + url.port + url.path, "rtsp554MediaInput/h264");
    EXPECT_THAT(url.parameters, ElementsAre(Pair("a", "1"), Pair("a", "2")));
    EXPECT_THAT(model.audioBitRates, ElementsAre(Pair(0, "32"), Pair(1, "16")));
    EXPECT_EQ(model.audioUrlBase, 2);
    EXPECT_EQ(model.audioUrls.at(3).at("none").at(0).path, "/audio");
    EXPECT_EQ(model.ptz->tiltPosition.minimum, -90);
    EXPECT_EQ(model.ptz->zoomPosition.maximum, 1000);
    EXPECT_EQ(model.ptz->panHome + model.ptz->tiltHome + model.ptz->zoomHome, 224);
    EXPECT_EQ(model.ptz->tiltSpeed.maximum, 63);
    EXPECT_EQ(model.ptz->focusSpeed.minimum, 3);
    EXPECT_EQ(model.ptz->presetOffset * 10 + model.ptz->patternOffset, 12);
    EXPECT_EQ(model.ptz->patternCount, "4");
    EXPECT_THAT(model.brightness.range, ElementsAre("0", "255"));
    EXPECT_EQ(model.sharpness.defaultValue, "8");
    EXPECT_THAT(model.saturation.range, ElementsAre("1", "254"));
    EXPECT_THAT(model.whiteBalance.values, ElementsAre("atw1", "awc"));
    EXPECT_EQ(model.whiteBalance.defaultValue, "awc");
    EXPECT_THAT(model.backLightCompensation, ElementsAre("0", "1"));
    EXPECT_THAT(model.focus.range, ElementsAre("-5", "5"));
    EXPECT_EQ(model.dynamicRange, "Conditional");

    const SModelInfo& bare = list->getModels().begin()->second;
    EXPECT_EQ(bare.number, "A1");
    EXPECT_EQ(bare.videoInputs, 1);
    EXPECT_FALSE(bare.ptz || bare.cameraStreams);
}

TEST(ModelList, RefusesAMemberByItsPlaceAndSaysWhatWasExpected) {
    const struct {
        std::string text;
        std::string refusal;
    } cases[] = {
        {"[]", "top level: expected an object"},
        {"{}", "top level: missing member \"authenticationTest\""},
        {listOf(R"({"number": "X", "family": "BoxCamera"}, {"family": "BoxCamera"})"),
         "models[1]: missing member \"number\""},
        {listOf(R"({"number": "X", "family": "Dome"})"), "models[0]: there is no family \"Dome\""},
        {listOf(R"({"number": "X", "family": "BoxCamera"}, {"number": "X", "family": "BoxCamera"})"),
         "models[1]: the model \"X\" stands twice"},
        {listOf(R"({"number": "", "family": "BoxCamera"})"),
         "models[0].number: expected a text that is not empty"},
        {modelWith(R"("label": 5)"), "models[0].label: expected a text"},
        {modelWith(R"("colour": "")"),
         "models[0].colour: unknown member; expected one of number, family, label"},
        {modelWith(R"("a b": "")"), "models[0][\"a b\"]: unknown member"},
        {modelWith(R"("videoInputs": -1)"), "models[0].videoInputs: expected an integer from 0 to 1024"},
        {modelWith(R"("videoInputs": 1.5)"), "models[0].videoInputs: expected an integer"},
        {modelWith(R"("videoInputs": 18446744073709551615)"), "models[0].videoInputs: expected an integer"},
        {modelWith(R"("indexBase": {"x": 1})"),
         "models[0].indexBase.x: expected a decimal number of at least 0"},
        {modelWith(R"("indexBase": {"01": 1})"), "models[0].indexBase.01: expected a decimal number"},
        {modelWith(R"("streams": {"h265": 1})"),
         "models[0].streams.h265: unknown member; expected one of mjpeg, mpeg4, h264, camera"},
        {modelWith(R"("defaults": {"quality": {"mjpeg": "fine"}})"),
         "models[0].defaults.quality.mjpeg: expected a decimal number as a text"},
        {modelWith(R"("video": {"urls": {"0": {"h264": {}}}})"),
         "models[0].video.urls.0.h264: unknown member; expected one of MJPEG, MP4V, H264, none"},
        {modelWith(R"("video": {"urls": {"0": {"H264": {"0": {"scheme": "rtsp"}}}}})"),
         "models[0].video.urls.0.H264.0: missing member \"path\""},
        {modelWith(
             R"("video": {"urls": {"0": {"H264": {"0": {"scheme": "rtsp", "path": "", "port": "0"}}}}})"),
         "models[0].video.urls.0.H264.0.port: expected a port"},
        {modelWith(R"("ptz": {"position": {"pan": [0]}})"),
         "models[0].ptz.position.pan: expected [minimum, maximum]"},
        {modelWith(R"("ptz": {"position": {"pan": [0, "1"]}})"),
         "models[0].ptz.position.pan[1]: expected an integer"},
        {modelWith(R"("ptz": {"patternCount": "few"})"),
         "models[0].ptz.patternCount: expected a decimal number"},
        {modelWith(R"("image": {"brightness": {"range": [0, 255]}})"),
         "models[0].image.brightness.range[0]: expected a text"},
        {modelWith(R"("image": {"backLightCompensation": "0"})"),
         "models[0].image.backLightCompensation: expected an array"},
        {modelWith(R"("lens": {"dynamicRange": "Wide"})"),
         "models[0].lens.dynamicRange: expected one of Generic, Conditional, AdaptiveBlackStretchOnly"},
        {modelWith(R"("ptz": {"home": {"pan": 1, "tilt": 2, "pan": 3}})"),
         "models[0].ptz.home.pan: this member stands twice"},
        {listOf("5"), "models[0]: expected an object"},
        {modelWith(R"("videoInputs": 1e999)"), "models[0].videoInputs: this number is too large"},
    };
    for (const auto& one : cases)
        EXPECT_THAT(refusalOf(one.text), testing::StartsWith(one.refusal)) << one.text;
}

TEST(ModelList, RefusesAFamilyTwiceAndARequestWithoutItsPath) {
    std::string twice = listOf("");
    const std::size_t start = twice.find(R"({"name")");
    const std::string family = twice.substr(start, twice.find("}]", start) + 1 - start);
    twice.insert(start, family + ",");
    EXPECT_EQ(refusalOf(twice), "families[1]: the family \"BoxCamera\" stands twice");
    std::string relative = listOf("");
    relative.replace(relative.find("/serial"), 7, "serial");
    EXPECT_EQ(refusalOf(relative), "families[0].serialNumber.path: expected a path that begins with \"/\"");
}

TEST(ModelList, RefusesWhatIsNoJsonByLineAndColumn) {
    EXPECT_THAT(refusalOf("{\n  \"models\": [,]\n}"), HasSubstr("line 2, column 14: syntax error"));
    EXPECT_THAT(refusalOf(""), HasSubstr("line 1, column 1: syntax error"));
    EXPECT_THAT(refusalOf("{\"a\": \"\xFF\"}"), HasSubstr("line 1, column 8: "));
    EXPECT_THAT(refusalOf(std::string(100000, '[')), HasSubstr("nested too deeply"));
}

TEST(ModelList, RefusesAFileThatCannotBeReadOrIsTooLarge) {
    const CTemporaryFolder folder;
    const auto refusal = [](const std::string& file) -> std::string {
        try {
            LoadModelList(file);
        } catch (const CModelListError& error) {
            return error.what();
        }
        return "loaded";
    };
    EXPECT_EQ(refusal(folder.file("absent")),
              folder.file("absent") + ": cannot be read: No such file or directory");
    EXPECT_EQ(refusal(folder.file("")), folder.file("") + ": cannot be read: Is a directory");
    const std::string blanks = folder.file("large", std::string(std::size_t{9} << 20, ' '));
    EXPECT_EQ(refusal(blanks), blanks + ": is larger than 8 MiB");
}

} // namespace
} // namespace corvane::tests
