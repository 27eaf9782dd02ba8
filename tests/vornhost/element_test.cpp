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

json Values(const char* first, const char* firstName, const char* second, const char* secondName) {
    return {{{"value", 1}, {"nick", first}, {"name", firstName}},
            {{"value", 2}, {"nick", second}, {"name", secondName}}};
}

TEST(Element, TheListingHoldsEveryProperty) {
    const SRun run = Vornhost({"--json", "--no-credentials", "element"});
    ASSERT_EQ(run.status, 0) << run.err;
    json element = json::parse(run.out);
    std::vector<json> own;
    for (const json& property : element.at("properties"))
        if (property.at("owner") == "VornEventSynth")
            own.push_back(property);
    ASSERT_EQ(own.size(), std::size(Properties));
    const SRun eyes = Vornhost({"element"});
    for (std::size_t i = 0; i < own.size(); ++i) { // in the order of their ids
        const SExpectedProperty& expected = Properties[i];
        EXPECT_EQ(own[i].at("name"), expected.name);
        EXPECT_EQ(own[i].at("nick"), expected.nick);
        EXPECT_EQ(own[i].at("blurb"), expected.blurb);
        EXPECT_EQ(own[i].at("type"), expected.type);
        EXPECT_EQ(own[i].at("default"), expected.defaultValue);
        EXPECT_EQ(own[i].at("flags"), json({"readable", "writable"}));
        const json range = expected.type == std::string("Integer")
                               ? json({{"from", 0}, {"to", 2147483647}, {"step", 1}})
                               : json();
        EXPECT_EQ(own[i].value("range", json()), range);
        EXPECT_THAT(eyes.out, testing::AllOf(testing::HasSubstr(std::string("  ") + expected.name),
                                             testing::HasSubstr(expected.blurb)));
    }
    EXPECT_EQ(own[0].at("values"), Values("Low", "Low state", "High", "High state"));
    EXPECT_EQ(own[1].at("values"), Values("Regular", "Events are spaced evenly, in time", "Random",
                                          "Events are sent at random intervals"));
    EXPECT_EQ(own[10].at("values"), Values("ActiveLow", "Active Low", "ActiveHigh", "Active High"));
    element.erase("properties");
    EXPECT_EQ(element, json::parse(R"({
        "factory": {"name": "vorn_eventsynth", "rank": 0, "longName": "Vorn Handler Event Source",
                    "class": "Source/Event", "description": "Creates an event stream", "author": "Corvane"},
        "plugin": {"name": "vorn_eventsynth", "description": "Event generator", "version": "1.0",
                   "licence": "Proprietary", "sourceModule": "VornHandler", "package": "NVR",
                   "origin": "https://corvane.example/"},
        "hierarchy": ["GObject", "GInitiallyUnowned", "GstObject", "GstElement", "GstBaseSrc", "VornEventSynth"],
        "padTemplates": [{"name": "src", "direction": "source", "presence": "always", "caps": "ANY"}]})"));
}

} // namespace
} // namespace corvane::vornhost_test
