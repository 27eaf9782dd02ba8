#include "camera/setdata_parser.h"

#include "camera/setting_keys.h"

#include <gtest/gtest.h>

#include <random>

namespace corvane::panasonic_camera {
namespace {

using Settings = SettingMap;

Settings Parsed(const std::string& dump, Settings settings) {
    ParseSetdata(dump, settings);
    return settings;
}

// The rule as it reads: a search for each key.
Settings PlainlyParsed(const std::string& dump, Settings settings) {
    for (auto& [key, value] : settings) {
        value.clear();
        const std::size_t at = dump.find(key);
        if (at == std::string::npos || at + key.size() + 1 > dump.size())
            continue;
        const std::size_t begin = at + key.size() + 1;
        value = dump.substr(begin, dump.find('"', begin) - begin);
    }
    return settings;
}

TEST(SetdataParser, TakesTheTextBehindTheFirstOccurrence) {
    struct {
        const char* dump;
        const char* key;
        const char* value;
    } const cases[] = {
        {"CAMTITLE,\"Entrance\"\r\n", "CAMTITLE,", "Entrance"},
        {"BWC,\"1,2\"\r\n", "BWC,", "1,2"},
        {"MPEGBWC,\"suffix\"\r\nBWC,\"own\"\r\n", "BWC,", "suffix"},
        {"BWC,\"own\"\r\nMPEGBWC,\"suffix\"\r\n", "BWC,", "own"},
        {"AUDIOBITRATE,\"32\"\r\n", "AUDIO,", ""},
        {"AUDIO,\"32", "AUDIO,", "32"},
        {"AUDIO,\"\"", "AUDIO,", ""},
        {"AUDIO,x12\"", "AUDIO,", "12"},
        {"AUDIO,\"", "AUDIO,", ""},
        {"AUDIO,", "AUDIO,", ""},
        {"AUDIO", "AUDIO,", ""},
        {"", "AUDIO,", ""},
        {"A,\"B,\"C\"", "B,", "C"},
        {"H264RTSPMODE,H264RTSPMODE_2,\"0,1\"", "H264RTSPMODE,H264RTSPMODE_2,", "0,1"},
        {"H264RTSPMODE,H264RTSPMODE_2,\"0,1\"", "H264RTSPMODE,", "264RTSPMODE_2,"},
        {"H264RTSPMODE,\"0\"\r\nH264RTSPMODE_2,\"1\"", "H264RTSPMODE,H264RTSPMODE_2,", ""},
        {"A,\"1\"", ",", "1"},
        {",\"1\"A,\"2\"", ",", "1"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Parsed(c.dump, {{c.key, "old"}}).at(c.key), c.value) << c.dump << " for " << c.key;
}

TEST(SetdataParser, AgreesWithThePlainRuleOnRandomDumps) {
    Settings keys = {{",", ""}, {",,", ""}, {"\",", ""}, {"2,", ""}};
    for (const char* key : SettingKeys)
        keys[DumpKey(key)];
    static constexpr const char* Pieces[] = {",",    "\"",   "\r\n", "_2",    "2",
                                             "H264", "MPEG", "x",    "\",\"", ",,"};
    std::minstd_rand random(1);
    for (int i = 0; i < 3'000; ++i) {
        std::string dump;
        for (unsigned n = random() % 80; n > 0; --n)
            dump += random() % 2 ? DumpKey(SettingKeys[random() % std::size(SettingKeys)])
                                 : Pieces[random() % std::size(Pieces)];
        ASSERT_EQ(Parsed(dump, keys), PlainlyParsed(dump, keys)) << dump;
    }
}

} // namespace
} // namespace corvane::panasonic_camera
