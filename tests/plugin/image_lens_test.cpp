// The camera's picture and lens operations, by name: the requests that each sends, and what it answers.

#include "tests/plugin/camera_bench.h"

#include <gmock/gmock.h>

namespace corvane::panasonic_camera {
namespace {

using namespace test_support;
using testing::ElementsAre;
using testing::IsEmpty;

SModelInfo Model(const char* number, const char* dynamicRange) {
    SModelInfo model;
    model.number = number;
    model.brightness = {{"0", "255"}, "128"};
    model.sharpness = {{"-7", "8"}, "1"};
    model.saturation = {{"100", "4100"}, "900"};
    model.whiteBalance = {{"atw1", "atw2", "awc", "atw2"}, "awc"};
    model.backLightCompensation = {"0"};
    model.focus = {{"1555", "9555"}, "2835"};
    model.dynamicRange = dynamicRange;
    return model;
}

SModelInfo Other() {
    SModelInfo model = Model("other", "Other");
    model.whiteBalance = {{"atw1", "atw2"}, "elsewhere"};
    model.saturation = {{"5", "5"}, "5"};
    model.focus = {{"0", "y"}, "x"};
    return model;
}

SModelInfo Bare() {
    SModelInfo model;
    model.number = "bare";
    return model;
}

class ImageAndLens : public CCameraBench {
protected:
    ImageAndLens()
        : CCameraBench({Model("generic", "Generic"), Model("conditional", "Conditional"),
                        Model("dark", "AdaptiveBlackStretchOnly"), Other(), Bare()}) {
        for (const char* name : {"image_adjust", "absctrl", "camctrl"})
            stub.reply("/cgi-bin/" + std::string(name), HttpOk("OK"));
        stub.reply("/cgi-bin/absget", HttpOk("\r\nFOCUS=7155\r\n"));
        bringUp("generic");
    }
};

TEST_F(ImageAndLens, APercentageBecomesACameraValue) {
    const struct {
        const char* operation;
        const char* percent;
        const char* request;
    } cases[] = {
        {"setVpaBrightness", "0", "image_adjust brightness=0"},
        {"setVpaBrightness", "50", "image_adjust brightness=127"},
        {"setVpaBrightness", "100", "image_adjust brightness=255"},
        {"setVpaBrightness", "-10", "image_adjust brightness=-25"},
        {"setVpaBrightness", "abc", "image_adjust brightness=128"},
        {"setVpaBrightness", "", "image_adjust brightness=128"},
        {"setVpaBrightness", "2147483647", "image_adjust brightness=21474833"}, // the product wraps around
        {"setVpaSharpness", "50", "image_adjust sharpness=0"},
        {"setVpaSharpness", "5.5", "image_adjust sharpness=1"},
        {"setVpaSaturation", "70", "image_adjust chroma=2900"},
        {"setVpaSaturation", "x", "image_adjust chroma=900"},
        {"setLensFocus", "30", "absctrl?focus=3955"},
        {"setLensFocus", "", "absctrl?focus=2835"},
    };
    for (const auto& c : cases) {
        EXPECT_THAT(call(c.operation, {"9", c.percent}), ElementsAre(c.request)); // whatever the input
        EXPECT_EQ(told(), "1 0 ");
    }
}

TEST_F(ImageAndLens, ACameraValueBecomesAPercentage) {
    bringUp("generic", {{"BRIGHTNESS", "130"}, {"SHARPNESS", "8"}, {"APERTURE", "-7"}, {"CHROMA", "1339"}});
    EXPECT_THAT(answered("getVpaBrightness", {"0"}), ElementsAre("50", "50", "0", "100", "1"));
    EXPECT_THAT(answered("getVpaSharpness", {"0"}), ElementsAre("100", "53", "0", "100", "1"));
    EXPECT_THAT(answered("getVpaSaturation", {"-1"}), ElementsAre("30", "20", "0", "100", "1"));
    EXPECT_THAT(call("getLensFocus", {"0"}), ElementsAre("absget?page=12345"));
    EXPECT_THAT(answer.values, ElementsAre("70", "16", "0", "100", "1"));
    bringUp("generic", {{"BRIGHTNESS", "9x"}, {"APERTURE", "-8"}});
    EXPECT_THAT(answered("getVpaBrightness", {"0"}), ElementsAre("50", "50", "0", "100", "1"));
    EXPECT_THAT(answered("getVpaSharpness", {"0"}), ElementsAre("-6", "53", "0", "100", "1"));
    bringUp("other", {{"CHROMA", "5"}}); // a range of no width, and one that is none
    EXPECT_THAT(answered("getVpaSaturation", {"0"}), ElementsAre("50", "50", "0", "100", "1"));
    EXPECT_THAT(call("setVpaSaturation", {"0", "70"}), ElementsAre("image_adjust chroma=5"));
    EXPECT_THAT(answered("getLensFocus", {"0"}), ElementsAre("50", "50", "0", "100", "1"));
    EXPECT_THAT(call("setLensFocus", {"0", "70"}), ElementsAre("absctrl?focus=x"));
}

TEST_F(ImageAndLens, WhatCannotBeReadTellsWhy) {
    stub.reply("/cgi-bin/absget", HttpOk("\r\nPAN=1\r\n"));
    const std::pair<std::string, std::vector<const char*>> cases[] = {
        {"Brightness", {"BRIGHTNESS"}},
        {"Sharpness", {"SHARPNESS", "APERTURE"}},
        {"Saturation", {"CHROMA"}},
        {"WhiteBalance", {"WHITEBALANCE", "WHITEBAL"}},
        {"BackLightComp", {"BLC"}}};
    for (const auto& [name, own] : cases) {
        const std::string getter = "getVpa" + name;
        Settings others = {{"BRIGHTNESS", "1"}, {"SHARPNESS", "2"},    {"APERTURE", "3"},
                           {"CHROMA", "4"},     {"WHITEBALANCE", "5"}, {"WHITEBAL", "6"}};
        for (const char* const key : own)
            others.erase(key);
        bringUp("generic", others);
        EXPECT_THAT(answered(getter, {"1"}), ElementsAre("15 3 invalid camera range")) << name;
        if (getter != "getVpaBackLightComp") {
            EXPECT_THAT(answered(getter, {"0"}), ElementsAre("7 0 Device not accessible")) << name;
        }
        bringUp("bare", {{"BLC", "1"}});
        EXPECT_THAT(answered(getter, {"0"}), ElementsAre("3 3 Property Not Supported")) << name;
    }
    EXPECT_THAT(answered("getLensFocus", {"0"}), ElementsAre("3 3 Property Not Supported"));
    EXPECT_THAT(answered("getLensFocus", {"1"}), ElementsAre("15 3 invalid camera range"));
    bringUp("generic");
    EXPECT_THAT(answered("getLensFocus", {"0"}), ElementsAre("3 3 Property is not found"));
}

TEST_F(ImageAndLens, WhiteBalanceIsAPositionInTheList) {
    EXPECT_THAT(call("setVpaWhiteBalance", {"0", "1"}), ElementsAre("image_adjust whitebalance=atw1"));
    EXPECT_THAT(call("setVpaWhiteBalance", {"0", "4"}), ElementsAre("image_adjust whitebalance=atw2"));
    for (const char* position : {"0", "5", "-1", "", "awc", "2.0"}) {
        EXPECT_THAT(call("setVpaWhiteBalance", {"0", position}), IsEmpty()) << position;
        EXPECT_EQ(told(), "15 3 VpaWhiteBalance out of range");
    }
    for (const auto& [word, position] :
         std::map<std::string, std::string>{{"atw1", "1"}, {"atw2", "4"}, {"awc", "3"}, {"unknown", "3"}}) {
        bringUp("generic", {{"WHITEBAL", word}});
        EXPECT_THAT(answered("getVpaWhiteBalance", {"0"}), ElementsAre(position, "3", "1", "2", "3", "4"));
    }
    bringUp("generic", {{"WHITEBALANCE", "atw1"}, {"WHITEBAL", "awc"}});
    EXPECT_THAT(answered("getVpaWhiteBalance", {"-1"}), ElementsAre("1", "3", "1", "2", "3", "4"));
    bringUp("other", {{"WHITEBAL", "unknown"}}); // like its default
    EXPECT_THAT(answered("getVpaWhiteBalance", {"0"}), ElementsAre("1", "1", "1", "2"));
}

TEST_F(ImageAndLens, BackLightCompensationAndSuperDynamicExcludeEachOther) {
    EXPECT_THAT(call("setVpaBackLightComp", {"0", "1"}), ElementsAre("image_adjust blc=1"));
    EXPECT_THAT(call("setVpaBackLightComp", {"0", "on"}), ElementsAre("image_adjust blc=0"));
    EXPECT_THAT(answered("setVpaBackLightComp", {"0", ""}),
                ElementsAre("15 3 VpaBackLightComp out of range"));
    EXPECT_THAT(answered("getVpaBackLightComp", {"0"}), ElementsAre("0", "0", "0", "1", "1"));

    bringUp("generic", {{"BLC", "1"}, {"MEGASD", "1"}});
    EXPECT_THAT(answered("getVpaBackLightComp", {"0"}), ElementsAre("0"));
    EXPECT_THAT(call("setVpaBackLightComp", {"0", "0"}), IsEmpty());
    EXPECT_EQ(told(), "3 3 Parameter not supported when Super Dynamic settings is on");

    bringUp("generic", {{"BLC", "1"}, {"WDR", "1"}}); // forbids no writing
    EXPECT_THAT(answered("getVpaBackLightComp", {"0"}), ElementsAre("0"));
    EXPECT_THAT(call("setVpaBackLightComp", {"0", "1"}), ElementsAre("image_adjust blc=1"));
    bringUp("generic", {{"BLC", "1"}, {"MEGASD", "0"}, {"SDTHREE", "1"}});
    EXPECT_THAT(answered("getVpaBackLightComp", {"0"}), ElementsAre("1", "0", "0", "1", "1"));
}

TEST_F(ImageAndLens, ThePropertiesAreThoseThatCanBeHad) {
    EXPECT_THAT(answered("getVpaProperties", {"0"}),
                ElementsAre("VpaBrightness", "VpaSharpness", "VpaSaturation", "VpaWhiteBalance"));
    bringUp("generic", {{"BLC", "0"}});
    EXPECT_THAT(
        answered("getVpaProperties", {"0"}),
        ElementsAre("VpaBrightness", "VpaSharpness", "VpaSaturation", "VpaWhiteBalance", "VpaBackLightComp"));
    answered("getVpaProperties", {"1"});
    EXPECT_EQ(answer.error->getCode(), 15); // the framework's
    EXPECT_THAT(answered("getVpaVideoStandard", {"0"}), ElementsAre("3 3 property not found"));
    EXPECT_THAT(answered("setVpaVideoStandard", {"0", "1"}), ElementsAre("3 3 Property is not supported"));
    for (const char* property : {"DayNightMode", "Iris", "AutoIris"}) {
        EXPECT_THAT(answered("getLens" + std::string(property), {"0"}),
                    ElementsAre("3 3 Property is not supported"));
        EXPECT_THAT(answered("setLens" + std::string(property), {"0", "1"}),
                    ElementsAre("3 3 Property is not supported"));
    }
}

TEST_F(ImageAndLens, AModelWithoutAnAdjustmentIsWrittenToAllTheSame) {
    bringUp("bare");
    EXPECT_THAT(call("setVpaBrightness", {"0", "50"}), ElementsAre("image_adjust brightness="));
    EXPECT_THAT(call("setVpaBackLightComp", {"7", "1"}), ElementsAre("image_adjust blc=1")); // any input
    EXPECT_THAT(call("setLensFocus", {"0", "50"}), ElementsAre("absctrl?focus="));
    EXPECT_THAT(answered("setVpaWhiteBalance", {"7", "1"}), ElementsAre("15 3 VpaWhiteBalance out of range"));
}

TEST_F(ImageAndLens, OnlyWhatTheSettingsHoldIsReadAnew) {
    EXPECT_TRUE(refreshes("setVpaBrightness", {"0", "1"}));
    EXPECT_TRUE(refreshes("setVpaWhiteBalance", {"0", "1"}));
    EXPECT_TRUE(refreshes("setVpaBackLightComp", {"0", "1"}));
    EXPECT_TRUE(refreshes("setLensWdr", {"0", "1"}));
    EXPECT_FALSE(refreshes("setLensFocus", {"0", "1"}));
    EXPECT_FALSE(refreshes("setLensAutoFocus", {"0", "1"}));
}

TEST_F(ImageAndLens, AutoFocusIsTriggeredByOneOnly) {
    EXPECT_THAT(call("setLensAutoFocus", {"0", "1"}), ElementsAre("camctrl?af=on"));
    for (const char* value : {"0", "", "01"}) {
        EXPECT_THAT(call("setLensAutoFocus", {"0", value}), IsEmpty());
        EXPECT_EQ(told(), "1 0 ");
    }
    EXPECT_THAT(answered("getLensAutoFocus", {"7"}), ElementsAre("0", "0", "0", "1"));
}

TEST_F(ImageAndLens, WideDynamicRangeGoesByTheModelsKind) {
    const std::string notFound = "3 3 Property is not found";
    const struct {
        const char* model;
        Settings settings;
        Requests answer;
        std::string request; // of setting "2"; an error's text where nothing is sent
    } cases[] = {
        {"generic", {{"SDTHREE", "1"}, {"WDR", "0"}}, {"1", "0", "0", "1"}, "image_adjust sd=2"},
        {"generic", {{"MEGASD", "2"}, {"WDR", "1"}}, {"0", "0", "0", "1"}, "image_adjust sd=2"},
        {"dark", {{"MEGASD", "1"}}, {"0", "0", "0", "1"}, "image_adjust dark_revise=2"},
        {"dark", {{"DARKCOMP", "1"}}, {"1", "0", "0", "1"}, "image_adjust dark_revise=2"},
        {"other", {{"MEGASD", "1"}}, {notFound}, "image_adjust sd=2"},
        {"bare", {{"MEGASD", "1"}}, {notFound}, "image_adjust sd=2"},
        {"conditional", {{"MEGASD", "1"}}, {"1"}, notFound},
        {"conditional", {{"WDR", "1"}, {"ALCELC", "alc"}}, {"1"}, notFound},
        {"conditional", {{"WDR", "1"}, {"ALCELC", "elc"}}, {"1"}, notFound},
        {"conditional", {{"WDR", "2"}, {"ALCELC", "off"}}, {"0", "0", "0", "1"}, "image_adjust sd=2"},
        {"conditional", {{"IMAGESELECT", "3m"}, {"ALCELC", "off"}}, {"0"}, notFound},
        {"conditional",
         {{"IMAGESELECT", "2m"}, {"ALCELC", "off"}},
         {"0", "0", "0", "1"},
         "image_adjust sd=2"},
        {"conditional",
         {{"IMAGESELECT", "1.3m"}, {"ALCELC", "off"}, {"WDR", "1"}},
         {"1", "0", "0", "1"},
         "image_adjust sd=2"},
    };
    for (const auto& c : cases) {
        bringUp(c.model, c.settings);
        EXPECT_EQ(answered("getLensWdr", {"0"}), c.answer) << c.model;
        const Requests sent = call("setLensWdr", {"0", "2"});
        EXPECT_EQ(sent.empty() ? told() : sent[0], c.request) << c.model;
        EXPECT_THAT(answered("setLensWdr", {"0", ""}), ElementsAre("15 3 LensWdr out of range"));
    }
}

TEST_F(ImageAndLens, AWriteTellsWhatTheCameraAnswered) {
    stub.reply("/cgi-bin/image_adjust", HttpReply(401));
    for (const char* operation : {"setVpaBrightness", "setVpaSharpness", "setVpaSaturation",
                                  "setVpaWhiteBalance", "setVpaBackLightComp", "setLensWdr"})
        EXPECT_THAT(answered(operation, {"0", "1"}), ElementsAre("10 4 CGI request failed !!")) << operation;
    for (const char* name : {"absctrl", "camctrl"})
        stub.reply("/cgi-bin/" + std::string(name), HttpReply(503));
    for (const char* operation : {"setLensFocus", "setLensAutoFocus"})
        EXPECT_THAT(answered(operation, {"0", "1"}), ElementsAre("2 4 HTTP status 503 Service Unavailable"))
            << operation;
}

} // namespace
} // namespace corvane::panasonic_camera
