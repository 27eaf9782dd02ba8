#include "tests/vornhost/vornhost_support.h"

namespace corvane::vornhost_test {
namespace {

struct SExpectedProperty {
    const char* name;
    const char* nick;
    const char* blurb;
    const char* type;
    json defaultValue;
};

constexpr const char* StateType = "Enum \"VornEventSynthDCState\"";
constexpr const char* ModeType = "Enum \"VornEventSynthMode\"";
constexpr const char* ActiveStateType = "Enum \"VornEventSynthDCActiveState\"";

const SExpectedProperty Properties[] = {
    {"drycontact-state", "Dry Contact State", "State of Dry Contact", StateType, 1},
    {"event-mode", "Event Mode", "How to determine event times", ModeType, 1},
    {"ping-period", "Ping Period", "Period of ping events (0 -> disabled)", "Integer", 3},
    {"event-period", "Event Period", "Period (approx) of events (0 -> disabled)", "Integer", 6},
    {"device-index", "Device Index",
     "Actual index of the device between device-index-base and max-device-index", "Integer", 0},
    {"device-index-base", "Device Index Base", "Index base of the device (either 0 or 1)", "Integer", 0},
    {"max-device-index", "Maximum Device Index", "Maximum number of device index available on the device",
     "Integer", 0},
    {"username", "Username Info", "Username information for login", "String", ""},
    {"user-password", "Password Info", "User Password information for login", "String", ""},
    {"ipaddr", "IP address", "Encoder IP Address", "String", ""},
    {"drycontact-activestate", "Dry Contact Active State", "ActiveState of Dry Contact", ActiveStateType, 1},
};

TEST(Element, TheListingHoldsEveryProperty) {
    const SRun run = Vornhost({"--json", "--no-credentials", "element"});
    ASSERT_EQ(run.status, 0) << run.err;
    const json element = json::parse(run.out);
    std::size_t own = 0;
    for (const json& property : element.at("properties"))
        own += property.at("owner") == "VornEventSynth" ? 1 : 0;
    EXPECT_EQ(own, std::size(Properties));
    const SRun eyes = Vornhost({"element"});
    for (const SExpectedProperty& expected : Properties) {
        const auto& list = element.at("properties");
        const auto found = std::find_if(list.begin(), list.end(), [&expected](const json& property) {
            return property.at("name") == expected.name;
        });
        ASSERT_NE(found, list.end()) << expected.name;
        EXPECT_EQ(found->at("nick"), expected.nick);
        EXPECT_EQ(found->at("blurb"), expected.blurb);
        EXPECT_EQ(found->at("type"), expected.type);
        EXPECT_EQ(found->at("default"), expected.defaultValue);
        EXPECT_EQ(found->at("flags"), json({"readable", "writable"}));
        const json range = found->at("type") == "Integer" ? json({0, 2147483647}) : json();
        EXPECT_EQ(found->value("range", json()), range);
        EXPECT_THAT(eyes.out, testing::AllOf(testing::HasSubstr(std::string("  ") + expected.name),
                                             testing::HasSubstr(expected.blurb)));
    }
    const json activeLow = {{"value", 1}, {"nick", "ActiveLow"}, {"name", "Active Low"}};
    EXPECT_EQ(element.at("properties").back().at("values").at(0), activeLow);
    EXPECT_EQ(element.at("plugin").at("sourceModule"), "VornHandler");
    EXPECT_EQ(element.at("factory").at("class"), "Source/Event");
    EXPECT_EQ(element.at("padTemplates").at(0).at("caps"), "ANY");
}

} // namespace
} // namespace corvane::vornhost_test
