// The settings dump's parser against the plain rule, for the plug-in's keys and for any others.
//
// Input: further keys with blanks between them, a line end, the dump.

#include "camera/setdata_parser.h"
#include "camera/setting_keys.h"
#include "fuzz/harness.h"
#include "fuzz/plain_setdata_rule.h"

using namespace corvane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string dump = fuzz::InputText(data, size);
    panasonic_camera::SettingMap settings;
    for (const std::string& key : fuzz::Split(fuzz::TakeLine(dump), ' '))
        settings[key] = "an older value";
    for (const char* key : panasonic_camera::SettingKeys)
        settings[panasonic_camera::DumpKey(key)] = "an older value";
    panasonic_camera::SettingMap expected = settings;

    panasonic_camera::ParseSetdata(dump, settings);
    fuzz::ParseSetdataPlainly(dump, expected);
    fuzz::Require(settings == expected, "the parser follows the plain rule");
    return 0;
}
