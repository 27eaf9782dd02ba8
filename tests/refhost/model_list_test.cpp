#include "refhost/models/model_list_file.h"

#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <string>
#include <utility>
#include <vector>

namespace corvane::tests {
namespace {

using namespace device_handler::v1_0;
using refhost::CModelListError;
using refhost::LoadModelList;
using test_support::CTemporaryFolder;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;
using testing::PrintToString;

// In the texts of the lists ' stands for the quotation mark.
const std::string OneFamily = "{'name': 'BoxCamera', 'modelNumber': {'path': '/model', 'key': 'M='}, "
                              "'serialNumber': {'path': '/serial', 'key': 'S='}}";

std::string ListOf(const std::string& models, const std::string& families = OneFamily) {
    std::string text = "{'authenticationTest': {'path': '/test', 'parameters': [['b', '1'], ['a', '2']], "
                       "'key': 'T='}, 'families': [" +
                       families + "], 'models': [" + models + "]}";
    std::replace(text.begin(), text.end(), '\'', '"');
    return text;
}

std::string RefusalOfFile(const std::string& file) {
    try {
        LoadModelList(file);
    } catch (const CModelListError& error) {
        return error.what();
    }
    return "loaded";
}

// The refusal without the file's name, which must stand before it.
std::string RefusalOf(const std::string& text) {
    const CTemporaryFolder folder;
    const std::string file = folder.file("models.json", text);
    const std::string refusal = RefusalOfFile(file);
    EXPECT_EQ(refusal.substr(0, file.size() + 2), file + ": ");
    return refusal.substr(std::min(refusal.size(), file.size() + 2));
}

boost::shared_ptr<CVornModelList> Load(const std::string& text) {
    const CTemporaryFolder folder;
    return LoadModelList(folder.file("models.json", text));
}

std::string Told(const SDeviceQuery& query) {
    const SVornUrl& url = query.url;
    return url.protocol + url.port + url.path + PrintToString(url.parameters) + url.replyKey +
           query.authScheme + query.delimiters;
}

std::vector<std::string> Told(const StreamUrlTable& table) {
    std::vector<std::string> lines;
    for (const auto& [stream, codecs] : table)
        for (const auto& [codec, variants] : codecs)
            for (const auto& [variant, url] : variants)
                lines.push_back(std::to_string(stream) + codec + std::to_string(variant) + " " + url.scheme +
                                ":" + url.port + ":" + url.path + PrintToString(url.parameters));
    return lines;
}

std::vector<std::string> Told(SAdjustment adjustment) {
    adjustment.range.push_back("default " + adjustment.defaultValue);
    return adjustment.range;
}

std::vector<int> NumbersOf(const SPtzModel& ptz) {
    std::vector<int> numbers = {ptz.panHome, ptz.tiltHome, ptz.zoomHome, ptz.presetOffset, ptz.patternOffset};
    for (const SRange& range : {ptz.panPosition, ptz.tiltPosition, ptz.zoomPosition, ptz.panSpeed,
                                ptz.tiltSpeed, ptz.zoomSpeed, ptz.focusSpeed})
        numbers.insert(numbers.end(), {range.minimum, range.maximum});
    return numbers;
}

TEST(ModelList, HoldsEveryMemberOfTheFile) {
    const auto list = Load(ListOf(R"(
      {'number': 'GXE500', 'family': 'BoxCamera', 'label': 'encoder', 'videoInputs': 0, 'audioInputs': 1024,
       'indexBase': {'0': 1024, '79': 0}, 'streams': {'mjpeg': 5, 'mpeg4': 6, 'h264': 2147483647, 'camera': 0},
       'defaults': {'quality': {'mjpeg': '80', 'mpeg4': '81'}, 'bitRate': {'mpeg4': '1024', 'h264': '-1'}},
       'video': {'urls': {
         '0': {'H264': {'1': {'scheme': 'rtsp', 'port': '554', 'path': 'h264', 'parameters': [['b', '1'], ['a', '2']]},
                        '2': {'scheme': 'rtsp', 'path': ''}}},
         '1': {'MJPEG': {'0': {'scheme': 'http', 'port': '1', 'path': '/m'}},
               'MP4V': {'0': {'scheme': 'http', 'port': '65535', 'path': '/4'}}}}},
       'audio': {'bitRates': {'0': '32', '1': '16'}, 'urlBase': 2147482623,
                 'urls': {'3': {'none': {'0': {'scheme': 'rtsp', 'port': '', 'path': '/audio'}}}}},
       'ptz': {'position': {'pan': [-2147483648, 2147483647], 'tilt': [-90, 90], 'zoom': [1, 1000]},
               'home': {'pan': 180, 'tilt': 45, 'zoom': -1},
               'speed': {'pan': [2, 64], 'tilt': [3, 63], 'zoom': [4, 8], 'focus': [5, 5]},
               'presetOffset': 6, 'patternOffset': -7, 'patternCount': '9'},
       'image': {'brightness': {'range': ['0', '255'], 'default': '128'},
                 'sharpness': {'range': ['2', '15'], 'default': '8'},
                 'saturation': {'range': ['1', '254'], 'default': '127'},
                 'whiteBalance': {'values': ['atw1', 'awc'], 'default': 'awc'},
                 'backLightCompensation': ['3', '4']},
       'lens': {'focus': {'range': ['-5', '5'], 'default': '-1'}, 'dynamicRange': 'Conditional'}})",
                                  R"(
      {'name': 'BoxCamera', 'user': 'admin', 'password': '12345',
       'modelNumber': {'path': '/model', 'parameters': [['FILE', '1']], 'key': 'M='},
       'serialNumber': {'path': '/serial', 'parameters': [['FILE', '2']], 'key': 'S='}},
      {'name': '--Generic', 'digestOnly': true, 'modelNumber': {'path': '/m', 'key': 'N='}, 'serialNumber': {'path': '/s', 'key': 'O='}})"));

    const SVornUrl test = list->getTestAuthentication();
    EXPECT_EQ(Told({test, "", ""}), R"(http80/test{ ("b", "1"), ("a", "2") }T=)");
    const SQueryDevice box = list->getQueryDevice("BoxCamera");
    EXPECT_EQ(Told(box.modelNumber), "http80/model{ (\"FILE\", \"1\") }M=ANY&\r\n'");
    EXPECT_EQ(Told(box.serialNumber), "http80/serial{ (\"FILE\", \"2\") }S=ANY&\r\n'");
    EXPECT_EQ(Told(list->getQueryDevice("--Generic").serialNumber), "http80/s{}O=ANY&\r\n'");
    EXPECT_EQ(Told(list->getQueryDevice("Other").modelNumber), "{}");
    EXPECT_EQ(list->findFamily("BoxCamera")->user + list->findFamily("BoxCamera")->password, "admin12345");
    EXPECT_EQ(list->findFamily("--Generic"), &list->getFamilies().at(1));
    EXPECT_FALSE(list->findFamily("BoxCamera")->digestOnly);
    EXPECT_TRUE(list->findFamily("--Generic")->digestOnly);
    EXPECT_EQ(list->findFamily("Box"), nullptr);
    EXPECT_EQ(list->getModelFamiyName("GXE500") + list->getModelFamiyName("GXE"), "BoxCamera");
    EXPECT_EQ(list->findModel("GXE"), nullptr);

    const SModelInfo& model = *list->findModel("GXE500");
    EXPECT_EQ(model.number + model.family + model.label, "GXE500BoxCameraencoder");
    EXPECT_THAT((std::vector{model.videoInputs, model.audioInputs, *model.cameraStreams, model.audioUrlBase}),
                ElementsAre(0, 1024, 0, 2147482623));
    EXPECT_THAT(model.indexBase, ElementsAre(Pair(0, 1024), Pair(79, 0)));
    EXPECT_THAT(model.codecStreams,
                ElementsAre(Pair("h264", 2147483647), Pair("mjpeg", 5), Pair("mpeg4", 6)));
    EXPECT_THAT(model.defaultQuality, ElementsAre(Pair("mjpeg", "80"), Pair("mpeg4", "81")));
    EXPECT_THAT(model.defaultBitRate, ElementsAre(Pair("h264", "-1"), Pair("mpeg4", "1024")));
    EXPECT_THAT(Told(model.videoUrls),
                ElementsAre(R"(0H2641 rtsp:554:h264{ ("b", "1"), ("a", "2") })", "0H2642 rtsp::{}",
                            "1MJPEG0 http:1:/m{}", "1MP4V0 http:65535:/4{}"));
    EXPECT_THAT(model.audioBitRates, ElementsAre(Pair(0, "32"), Pair(1, "16")));
    EXPECT_THAT(Told(model.audioUrls), ElementsAre("3none0 rtsp::/audio{}"));
    EXPECT_THAT(NumbersOf(*model.ptz), ElementsAre(180, 45, -1, 6, -7, INT_MIN, INT_MAX, -90, 90, 1, 1000, 2,
                                                   64, 3, 63, 4, 8, 5, 5));
    EXPECT_EQ(model.ptz->patternCount, "9");
    EXPECT_THAT(Told(model.brightness), ElementsAre("0", "255", "default 128"));
    EXPECT_THAT(Told(model.sharpness), ElementsAre("2", "15", "default 8"));
    EXPECT_THAT(Told(model.saturation), ElementsAre("1", "254", "default 127"));
    EXPECT_THAT(model.whiteBalance.values, ElementsAre("atw1", "awc"));
    EXPECT_EQ(model.whiteBalance.defaultValue, "awc");
    EXPECT_THAT(model.backLightCompensation, ElementsAre("3", "4"));
    EXPECT_THAT(Told(model.focus), ElementsAre("-5", "5", "default -1"));
    EXPECT_EQ(model.dynamicRange, "Conditional");
}

// "B1" has the members whose own members may all be left out.
TEST(ModelList, WhatIsLeftOutTheModelDoesNotHave) {
    const auto list = Load(ListOf(R"({'number': 'B1', 'family': 'BoxCamera', 'indexBase': {}, 'streams': {},
       'defaults': {}, 'video': {}, 'audio': {}, 'ptz': {'position': {}, 'home': {}, 'speed': {}, 'patternCount': ''},
       'image': {'brightness': {'range': ['0', '1']}, 'whiteBalance': {'values': []}}, 'lens': {}},
      {'number': 'A1', 'family': 'BoxCamera'})"));
    EXPECT_EQ(list->getModels().begin()->first, "A1");
    EXPECT_EQ(list->findFamily("BoxCamera")->user + list->findFamily("BoxCamera")->password, "");
    for (const auto& [number, model] : list->getModels()) {
        EXPECT_EQ(model.label + model.dynamicRange + model.whiteBalance.defaultValue, "");
        EXPECT_EQ(std::tie(model.videoInputs, model.audioInputs, model.audioUrlBase),
                  std::make_tuple(1, 0, 0));
        EXPECT_TRUE(model.indexBase.empty() && model.codecStreams.empty() && !model.cameraStreams);
        EXPECT_TRUE(model.defaultQuality.empty() && model.defaultBitRate.empty());
        EXPECT_TRUE(model.videoUrls.empty() && model.audioUrls.empty() && model.audioBitRates.empty());
        EXPECT_TRUE(model.whiteBalance.values.empty() && model.backLightCompensation.empty());
        EXPECT_TRUE(model.sharpness.range.empty() && model.saturation.range.empty() &&
                    model.focus.range.empty());
        EXPECT_EQ(Told(model.brightness).back(), "default ");
        EXPECT_EQ(model.ptz.has_value(), number == "B1");
    }
    EXPECT_THAT(NumbersOf(*list->findModel("B1")->ptz),
                testing::AllOf(testing::SizeIs(19), testing::Each(0)));
    EXPECT_EQ(list->findModel("B1")->ptz->patternCount, "");
}

TEST(ModelList, RefusesAMemberOfAModelByItsPlaceAndSaysWhatWasExpected) {
    const std::string url = "'video': {'urls': {'0': {'H264': {'0': ";
    const std::string input = ": expected an integer from 0 to 1024";
    const std::string decimal = ": expected a decimal number as a text";
    const std::string name = ": expected a decimal number of at least 0 as the name";
    const std::string port = ".video.urls.0.H264.0.port: expected a port as a text, or an empty text";
    const struct {
        std::string members;
        std::string refusal; // behind "models[0]"
    } cases[] = {
        {"'label': 5", ".label: expected a text"},
        {"'a b': ''", "[\"a b\"]: unknown member; expected one of number, family, label, videoInputs, "
                      "audioInputs, indexBase, streams, defaults, video, audio, ptz, image, lens"},
        {"'videoInputs': 1025", ".videoInputs" + input},
        {"'videoInputs': -1", ".videoInputs" + input},
        {"'videoInputs': 1.5", ".videoInputs" + input},
        {"'videoInputs': 18446744073709551615", ".videoInputs" + input},
        {"'audioInputs': 1025", ".audioInputs" + input},
        {"'audioInputs': -1", ".audioInputs" + input},
        {"'indexBase': {'7': 1025}", ".indexBase.7" + input},
        {"'indexBase': {'7': -1}", ".indexBase.7" + input},
        {"'streams': {'h264': -1}", ".streams.h264: expected an integer from 0 to 2147483647"},
        {"'streams': {'camera': 2147483648}", ".streams.camera: expected an integer from 0 to 2147483647"},
        {"'audio': {'urlBase': 2147482624}",
         ".audio.urlBase: expected an integer from -2147483648 to 2147482623"},
        {"'videoInputs': 1e999", ".videoInputs: this number is too large"},
        {"'indexBase': {'x': 1}", ".indexBase.x" + name},
        {"'indexBase': {'-1': 1}", ".indexBase.-1" + name},
        {"'indexBase': {'01': 1}", ".indexBase.01" + name},
        {"'streams': {'h265': 1}",
         ".streams.h265: unknown member; expected one of mjpeg, mpeg4, h264, camera"},
        {"'defaults': {'quality': {'mjpeg': 'fine'}}", ".defaults.quality.mjpeg" + decimal},
        {"'defaults': {'bitRate': {'MJPEG': '1'}}",
         ".defaults.bitRate.MJPEG: unknown member; expected one of mjpeg, mpeg4, h264"},
        {"'video': {'urls': {'0': {'h264': {}}}}",
         ".video.urls.0.h264: unknown member; expected one of MJPEG, MP4V, H264, none"},
        {"'audio': {'urls': {'-1': {}}}", ".audio.urls.-1" + name},
        {"'audio': {'bitRates': {'0': 'low'}}", ".audio.bitRates.0" + decimal},
        {url + "{'scheme': 'rtsp'}}}}}", ".video.urls.0.H264.0: missing member \"path\""},
        {url + "{'path': 'rtsp'}}}}}", ".video.urls.0.H264.0: missing member \"scheme\""},
        {url + "{'scheme': '', 'path': ''}}}}}",
         ".video.urls.0.H264.0.scheme: expected a text that is not empty"},
        {url + "{'scheme': 'rtsp', 'path': '', 'port': '0'}}}}}", port},
        {url + "{'scheme': 'rtsp', 'path': '', 'port': '65536'}}}}}", port},
        {url + "{'scheme': 'rtsp', 'path': '', 'parameters': [['a']]}}}}}",
         ".video.urls.0.H264.0.parameters[0]: expected [name, value]"},
        {"'ptz': {'position': {'pan': [0]}}", ".ptz.position.pan: expected [minimum, maximum]"},
        {"'ptz': {'position': {'pan': [0, '1']}}",
         ".ptz.position.pan[1]: expected an integer from -2147483648 to 2147483647"},
        {"'ptz': {'speed': {'zoom': [1, 0]}}",
         ".ptz.speed.zoom: expected a minimum that is not above the maximum"},
        {"'ptz': {'patternCount': 'few'}",
         ".ptz.patternCount: expected a decimal number as a text, or an empty text"},
        {"'ptz': {'home': {'pan': 1, 'tilt': 2, 'pan': 3}}", ".ptz.home.pan: this member stands twice"},
        {"'image': {'brightness': {'default': '1'}}", ".image.brightness: missing member \"range\""},
        {"'image': {'brightness': {'range': [0, 255]}}", ".image.brightness.range[0]: expected a text"},
        {"'image': {'saturation': {'range': ['0', '1'], 'default': ''}}",
         ".image.saturation.default" + decimal},
        {"'image': {'sharpness': {'range': ['0', 'x']}}", ".image.sharpness.range[1]" + decimal},
        {"'lens': {'focus': {'range': ['0', '1', '2']}}",
         ".lens.focus.range: expected [minimum, maximum], two decimal numbers as texts"},
        {"'image': {'whiteBalance': {}}", ".image.whiteBalance: missing member \"values\""},
        {"'image': {'backLightCompensation': '0'}", ".image.backLightCompensation: expected an array"},
        {"'lens': {'dynamicRange': 'Wide'}",
         ".lens.dynamicRange: expected one of Generic, Conditional, AdaptiveBlackStretchOnly"},
    };
    for (const auto& one : cases)
        EXPECT_EQ(RefusalOf(ListOf("{'number': 'X', 'family': 'BoxCamera', " + one.members + "}")),
                  "models[0]" + one.refusal);
}

TEST(ModelList, RefusesTheListsOwnMembersLikewise) {
    const auto families = [](const std::string& text) { return ListOf("", text); };
    const struct {
        std::string text;
        std::string refusal;
    } cases[] = {
        {"[]", "top level: expected an object"},
        {"{}", "top level: missing member \"authenticationTest\""},
        {ListOf("5"), "models[0]: expected an object"},
        {ListOf("{'number': 'X', 'family': 'BoxCamera'}, {'family': 'BoxCamera'}"),
         "models[1]: missing member \"number\""},
        {ListOf("{'number': 'X'}"), "models[0]: missing member \"family\""},
        {ListOf("{'number': 'X', 'family': 'Dome'}"), "models[0]: there is no family \"Dome\""},
        {ListOf("{'number': 'X', 'family': 'BoxCamera'}, {'number': 'X', 'family': 'BoxCamera'}"),
         "models[1]: the model \"X\" stands twice"},
        {ListOf("{'number': '', 'family': 'BoxCamera'}"),
         "models[0].number: expected a text that is not empty"},
        {families(OneFamily + "," + OneFamily), "families[1]: the family \"BoxCamera\" stands twice"},
        {families("{'name': 'X', 'digestOnly': 1, 'modelNumber': {'path': '/', 'key': 'M'}, 'serialNumber': "
                  "{'path': '/', 'key': 'S'}}"),
         "families[0].digestOnly: expected true or false"},
        {families("{'modelNumber': {'path': '/', 'key': 'M'}}"), "families[0]: missing member \"name\""},
        {families("{'name': 'X'}"), "families[0]: missing member \"modelNumber\""},
        {families("{'name': 'X', 'modelNumber': {'path': '/', 'key': 'M'}}"),
         "families[0]: missing member \"serialNumber\""},
        {families("{'name': 'X', 'modelNumber': {'key': 'M'}, 'serialNumber': {}}"),
         "families[0].modelNumber: missing member \"path\""},
        {families("{'name': 'X', 'modelNumber': {'path': '/'}, 'serialNumber': {}}"),
         "families[0].modelNumber: missing member \"key\""},
        {families("{'name': 'X', 'modelNumber': {'path': '/', 'key': ''}, 'serialNumber': {}}"),
         "families[0].modelNumber.key: expected a text that is not empty"},
        {families("{'name': 'X', 'modelNumber': {'path': 'x', 'key': 'M'}, 'serialNumber': {}}"),
         "families[0].modelNumber.path: expected a path that begins with \"/\""},
        {families("{'name': 'X', 'modelNumber': {'path': '', 'key': 'M'}, 'serialNumber': {}}"),
         "families[0].modelNumber.path: expected a path that begins with \"/\""},
    };
    for (const auto& one : cases)
        EXPECT_EQ(RefusalOf(one.text), one.refusal);
}

TEST(ModelList, RefusesWhatIsNoJsonByLineAndColumn) {
    EXPECT_THAT(RefusalOf("{\n  \"models\": [,]\n}"), HasSubstr("line 2, column 14: syntax error"));
    EXPECT_THAT(RefusalOf(""), HasSubstr("line 1, column 1: syntax error"));
    EXPECT_THAT(RefusalOf("{\"a\": \"\xFF\"}"), HasSubstr("line 1, column 8: "));
    EXPECT_THAT(RefusalOf(std::string(100000, '[')), HasSubstr("nested too deeply"));
}

TEST(ModelList, RefusesAFileThatCannotBeReadOrIsTooLarge) {
    const CTemporaryFolder folder;
    EXPECT_EQ(RefusalOfFile(folder.file("absent")),
              folder.file("absent") + ": cannot be read: No such file or directory");
    EXPECT_EQ(RefusalOfFile(folder.file("")), folder.file("") + ": cannot be read: Is a directory");
    const std::string blanks = folder.file("large", std::string(std::size_t{9} << 20, ' '));
    EXPECT_EQ(RefusalOfFile(blanks), blanks + ": is larger than 8 MiB");
}

} // namespace
} // namespace corvane::tests
