// The camera's PTZ operations, by name: the requests that each sends, and what it answers.

#include "tests/plugin/camera_bench.h"

#include <gmock/gmock.h>

#include <climits>

namespace corvane::panasonic_camera {
namespace {

using namespace test_support;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<SModelInfo> Models() {
    SModelInfo model;
    model.number = "D1";
    model.ptz =
        SPtzModel{{0, 359}, {0, 90}, {7, 7}, 180, 45, 7, {1, 64}, {-3, 64}, {0, 8}, {1, 8}, 1, 10, "6"};
    SModelInfo fine = model;
    fine.number = "D2";
    fine.ptz->panSpeed = {1, 256};
    SModelInfo fixed;
    fixed.number = "F1";
    return {model, fine, fixed};
}

class Ptz : public CCameraBench {
protected:
    Ptz() : CCameraBench(Models()) {
        for (const char* name : {"absctrl", "camctrl", "directctrl", "camposiset", "set_patrol"})
            stub.reply("/cgi-bin/" + std::string(name), HttpOk("OK"));
        stub.reply("/cgi-bin/absget", HttpOk("\r\nPAN=179\r\nTILT=x\r\nZOOM=9\r\n"));
        bringUp("D1");
    }
};

TEST_F(Ptz, Conversions) {
    const std::pair<int, int> panSpeeds[] = {{1, 1},    {2, 1},    {50, 32}, {99, 63},
                                             {100, 64}, {150, 64}, {0, 1},   {-5, -2}};
    for (const auto& [recorder, converted] : panSpeeds)
        EXPECT_EQ(camera->ToCameraPanSpeed(recorder), converted) << recorder;
    EXPECT_EQ(camera->ToCameraTiltSpeed(1), 1); // a minimum below 1 counts as 1
    EXPECT_EQ(camera->ToCameraZoomSpeed(100), 8);
    EXPECT_EQ(camera->ToNvrPanSpeed(-7), -7);
    EXPECT_EQ(camera->ToCameraPanPos(5000), 179);
    EXPECT_EQ(camera->ToCameraPanPos(-1), 0);
    EXPECT_EQ(camera->ToCameraPanPos(10001), 359);
    EXPECT_EQ(camera->ToNvrPanPos(179), 4986);
    EXPECT_EQ(camera->ToNvrPanPos(360), 10000);
    EXPECT_EQ(camera->ToNvrPanPos(-1), 0);
    EXPECT_EQ(camera->ToNvrZoomPos(7), 0); // a range of no width
    EXPECT_EQ(camera->ToNvrPos(INT_MAX, INT_MIN, INT_MAX), 10000);
    EXPECT_EQ(camera->ToCameraPos(10000, INT_MIN, INT_MAX), INT_MAX);
}

TEST_F(Ptz, EachOperationSendsItsRequests) {
    const struct {
        const char* operation;
        std::vector<std::string> arguments;
        std::vector<std::string> requests;
    } cases[] = {
        {"setAbsolutePtz", {"0", "5000", "10000", "0"}, {"absctrl?pan=179&tilt=90&zoom=7"}},
        {"setPtzPanPos", {"0", "5000"}, {"absctrl?pan=179"}},
        {"setPtzTiltPos", {"0", "5000"}, {"absctrl?tilt=45"}},
        {"setPtzZoomPos", {"0", "5000"}, {"absctrl?zoom=7"}},
        {"setPtzPosition", {"0", "zoom=5000"}, {"absctrl?zoom=7"}},
        {"setPtzPosition", {"0", "tilt=&pan=10000&x"}, {"absctrl?pan=359"}},
        {"setPtzPosition", {"0", "zoom=1'tilt=5000\rpan=0"}, {"absctrl?pan=0&tilt=45&zoom=7"}},
        {"setRelativePtz", {"0", "300", "-301", "0", "0", "0"}, {"camctrl?pan=4&tilt=-5&ch=1"}},
        {"setRelativePtz",
         {"1", "50", "51", "-9", "-9", "-9"},
         {"camctrl?pan=1&tilt=2&ch=2", "camctrl?zoom=-3&ch=2", "camctrl?focus=3&ch=2",
          "camctrl?iris=-2&ch=2"}},
        {"setRelativePtz",
         {"0", "0", "0", "1", "1", "1"},
         {"camctrl?zoom=3&ch=1", "camctrl?focus=-3&ch=1", "camctrl?iris=2&ch=1"}},
        {"setContinuousPtz", {"0", "50", "-50", "100"}, {"directctrl?pan=32&tilt=32&zoom=8&ch=1"}},
        {"setContinuousPtz", {"3", "0", "0", "0"}, {"directctrl?pan=0&tilt=0&zoom=0&ch=4"}},
        {"setContinuousPtzFocus", {"0", "-100"}, {"directctrl?focus=-8"}},
        {"addPtzPresetPos", {"0", "3"}, {"camposiset?presetset=4&ch=1"}},
        {"clearPtzPresetPos", {"1", "3"}, {"camposiset?presetdel=4&ch=2"}},
        {"callPtzPresetPos", {"0", "3"}, {"camctrl?preset=4&ch=1"}},
        {"startPtzPatternRecord", {"0", "1"}, {"set_patrol?recstart=11"}},
        {"stopPtzPatternRecord", {"0", "1"}, {"set_patrol?stop=11"}},
        {"selectPtzPattern", {"0", "1"}, {"set_patrol?play=11"}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(call(c.operation, c.arguments), c.requests) << c.operation;
        EXPECT_EQ(told(), "1 0 ");
    }
    bringUp("D2"); // the form of zoom goes with pan's, tilt's is its own
    EXPECT_THAT(call("setContinuousPtz", {"0", "-100", "1", "1"}),
                ElementsAre("directctrl?rpan=-256&tilt=-1&rzoom=1&ch=1"));
}

TEST_F(Ptz, WhatCannotBeReadIsSentNowhere) {
    for (const char* operation : {"setPtzPanPos", "setPtzTiltPos", "setPtzZoomPos", "setPtzPosition"})
        for (const char* text : {"", "x", "5x", "99999999999", "tilt=", "pan=&tilt=&zoom=", "pan=5&tilt=x"}) {
            EXPECT_THAT(call(operation, {"0", text}), IsEmpty()) << operation << " " << text;
            EXPECT_EQ(told(), "15 3 PtzPosition out of range");
        }
    for (const char* operation : {"clearPtzPatternRecord", "cancelPtzPatternRecord"}) {
        EXPECT_THAT(call(operation, {"0", "1"}), IsEmpty());
        EXPECT_EQ(told(), "3 0 Not supported feature");
    }
}

TEST_F(Ptz, PositionsAreRead) {
    EXPECT_THAT(call("getPtzPanPos", {"0"}), ElementsAre("absget?page=12345&PAN="));
    EXPECT_THAT(answer.values, ElementsAre("4986", "5013", "0", "10000", "1"));
    EXPECT_THAT(call("getPtzPosition", {"0"}), ElementsAre("absget?page=12345&PAN=&TILT=&ZOOM="));
    EXPECT_THAT(answer.values, ElementsAre("pan=4986&tilt=0&zoom=0&iris=0&focus=0",
                                           "pan=5013&tilt=5000&zoom=0&iris=0&focus=0", "0", "10000", "1"));
    stub.reply("/cgi-bin/absget", HttpReply(500, "x"));
    call("getPtzZoomPos", {"0"});
    EXPECT_NE(answer.error->getCode(), 1);
}

TEST_F(Ptz, PatternsAndProperties) {
    for (const auto& [mode, patterns] :
         std::map<std::string, std::string>{{"1", "1"}, {"2", "2"}, {"3", "4"}, {"4", "6"}, {"", "6"}}) {
        bringUp("D1", {{"PATROLNO", mode}});
        call("getPtzPatternCount", {"0"});
        EXPECT_THAT(answer.values, ElementsAre(patterns)) << mode;
    }
    call("getPtzProperties", {"0"});
    EXPECT_THAT(answer.values, ElementsAre("PtzEnabled"));
    bringUp("F1");
    call("getPtzProperties", {"0"});
    EXPECT_EQ(answer.error->getCode(), 3);
}

} // namespace
} // namespace corvane::panasonic_camera
