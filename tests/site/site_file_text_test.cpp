#include "site/site_file_text.h"

#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace corvane::site {
namespace {

using device_handler::v1_0::VideoCodec;
using nlohmann::ordered_json;
using test_support::CTemporaryFolder;

const SSiteVocabulary& TextVocabulary() {
    static const SSiteVocabulary vocabulary{{"D850", "F320"}, {"brightness", "whiteBalance"}, nullptr};
    return vocabulary;
}

// All that a site says, to be compared and to be seen.
std::string Told(const SSite& site) {
    ordered_json told;
    for (const auto& [name, one] : site.credentials)
        told["credentials"][name] = {one.user, one.passwordFile};
    for (const SSiteCamera& one : site.cameras) {
        ordered_json streams = ordered_json::array();
        for (const SStreamWish& wish : one.streams)
            streams.push_back({wish.name, wish.id.channel, static_cast<int>(wish.id.codec), wish.id.stream,
                               ordered_json(wish.record)});
        told["cameras"].push_back(
            {one.name, one.address, one.model, one.serialNumber, one.credentials, one.tags, one.adjustments,
             streams, one.inputs ? ordered_json(*one.inputs) : ordered_json(), one.rtspPort.value_or(-1)});
    }
    return told.dump(1);
}

SSite ReadBack(const std::string& text) {
    const CTemporaryFolder folder;
    return ReadSiteFile(folder.file("site.json", text), TextVocabulary());
}

SSite SiteOfAll() {
    SSiteCamera gate{
        "gate", "127.0.0.1:8080", "D850", "D\"85\\\xC2\x9B\xE2\x80\xAE", "yard", {}, {}, {}, {}, {}, {}};
    gate.streams = {{"0,h264,0", {0, VideoCodec::H264, 0}, {{"frameRate", "15"}, {"resolution", "640x360"}}},
                    {"1,mjpeg,1", {1, VideoCodec::Mjpeg, 1}, {{"quality", "3"}}}};
    gate.adjustments = {{"brightness", "60"}, {"whiteBalance", "\xC3\xA4tw\n"}};
    gate.inputs = {{2, 0}};
    gate.rtspPort = 8554;
    gate.tags = {"outside", "by \"night\""};
    SSiteCamera hall{"hall", "camera.example", "F320", "", "yard", {}, {}, {}, {}, {}, {}};
    hall.inputs.emplace(); // none of them
    hall.adjustments = {{"brightness", "40"}};
    SSiteCamera yard{"yard", "[::1]:81", "", "Y1", "yard", {}, {}, {}, {}, {}, {}};
    yard.streams = {{"0,mpeg4,0", {0, VideoCodec::Mpeg4, 0}, {{"bitRate", "512"}}}};
    return {{{"yard", {"admin", "/the \"yard\""}}, {"hall", {"viewer", "/hall"}}}, {gate, hall, yard}};
}

TEST(SiteFileText, IsReadAsTheSameSite) {
    const SSite all = SiteOfAll();
    EXPECT_EQ(Told(ReadBack(SiteFileText(all))), Told(all));
    for (const char* other : {"hall", ""})
        for (std::size_t place = 0; place < all.cameras.size(); ++place) {
            SSite site = all;
            site.cameras[place].credentials = other;
            EXPECT_EQ(Told(ReadBack(SiteFileText(site))), Told(site)) << place << other;
        }
    SSite unknown = all;
    unknown.credentials.clear();
    for (SSiteCamera& camera : unknown.cameras)
        camera.credentials.clear();
    EXPECT_EQ(Told(ReadBack(SiteFileText(unknown))), Told(unknown));
    EXPECT_EQ(Told(ReadBack(SiteFileText({}))), Told({}));
}

TEST(SiteFileText, IsForTheEye) {
    SSite site = SiteOfAll();
    site.cameras.resize(1);
    site.cameras[0].serialNumber = "D\xFF\xC2\x9B"; // no UTF-8, and a control character of terminals
    site.cameras[0].streams.clear();
    EXPECT_EQ(SiteFileText(site), R"({
  "credentials": {"hall": {"user": "viewer", "passwordFile": "/hall"}, "yard": {"user": "admin", )"
                                  R"("passwordFile": "/the \"yard\""}},
  "defaults": {"credentials": "yard"},
  "cameras": [
    {"name": "gate", "address": "127.0.0.1:8080", "model": "D850", "serialNumber": "D�\u009b", )"
                                  R"("tags": ["outside", "by \"night\""], "inputs": [2, 0], "rtspPort": 8554,
     "adjustments": {"brightness": "60", "whiteBalance": "ätw\n"}}
  ]
}
)");
}

} // namespace
} // namespace corvane::site
