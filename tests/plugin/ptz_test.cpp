// The camera's PTZ operations, by name: the requests that each sends, and what it answers.

#include "tests/plugin/camera_bench.h"

#include <gmock/gmock.h>

#include <climits>
#include <sstream>
#include <utility>
#include <variant>

namespace corvane::panasonic_camera {
namespace {

using namespace test_support;
using testing::ElementsAre;
using testing::IsEmpty;

// No two numbers of "D1" are alike, and its ranges are wide enough for their digits to be grouped. The others
// differ in what decides the form of a speed.
std::vector<SModelInfo> Models() {
    SModelInfo model;
    model.number = "D1";
    model.ptz = SPtzModel{{1000, 37000}, {-2000, 7000}, {300, 20300}, 10000, 700,  1700, {2, 1302},
                          {-3, 2500},    {0, 3700},     {5, 4999},    1200,  3400, "56"};
    SModelInfo panFine = model;
    panFine.number = "D2";
    panFine.ptz->panSpeed = {1, 256};
    panFine.ptz->tiltSpeed = {1, 257};
    SModelInfo tiltFine = model;
    tiltFine.number = "D3";
    tiltFine.ptz->panSpeed = {1, 257};
    tiltFine.ptz->tiltSpeed = tiltFine.ptz->zoomSpeed = {1, 256};
    SModelInfo narrow = model;
    narrow.number = "D4";
    narrow.ptz->panSpeed = {1, 64};
    narrow.ptz->panPosition = {0, 359};
    narrow.ptz->zoomPosition = {7, 7};
    SModelInfo fixed;
    fixed.number = "F1";
    return {model, panFine, tiltFine, narrow, fixed};
}

struct SConversion {
    const char* operation;
    std::vector<std::pair<int, int>> results;
};

constexpr const char* Refused = "2 4 HTTP status 500 Internal Server Error";

// Each operation with its arguments, what it sends, and whether the settings are read anew afterwards.
constexpr struct {
    const char* call;
    const char* requests;
    bool reloads;
} Operations[] = {
    {"setAbsolutePtz 9 5001 10000 0", "absctrl?pan=19003&tilt=7000&zoom=300", true},
    {"setPtzPanPos 9 5001", "absctrl?pan=19003", false},
    {"setPtzTiltPos 9 +5001", "absctrl?tilt=2500", false},
    {"setPtzZoomPos 9 5001", "absctrl?zoom=10302", true},
    {"setPtzPosition 9 zoom=5001", "absctrl?zoom=10302", false},
    {"setPtzPosition 9 tilt=&pan=10000&pan=1", "absctrl?pan=37000", false},
    {"setPtzPosition 9 zoom=0'tilt=-1\rpan=10001\n5", "absctrl?pan=37000&tilt=-2000&zoom=300", false},
    {"setRelativePtz 9 0 0 0 0 0", "", false},
    {"setRelativePtz 1999 300 -301 0 0 0", "camctrl?pan=4&tilt=-5&ch=2000", true},
    {"setRelativePtz 1 0 0 -9 0 0", "camctrl?zoom=-3&ch=2", true},
    {"setRelativePtz 2 0 0 0 -9 0", "camctrl?iris=-2&ch=3", false},
    {"setRelativePtz 3 0 0 0 0 -9", "camctrl?focus=3&ch=4", true},
    {"setRelativePtz 4 1 0 1 1 1",
     "camctrl?pan=1&tilt=0&ch=5 camctrl?zoom=3&ch=5 camctrl?focus=-3&ch=5 camctrl?iris=2&ch=5", true},
    {"setContinuousPtz 0 50 -50 100", "directctrl?pan=645&tilt=1237&zoom=3700&ch=1", false},
    {"setContinuousPtz 1 -50 50 -1", "directctrl?pan=-645&tilt=-1237&zoom=-1&ch=2", false},
    {"setContinuousPtz 2 1 0 0", "directctrl?pan=2&tilt=0&zoom=0&ch=3", false},
    {"setContinuousPtz 1999 0 0 0", "directctrl?pan=0&tilt=0&zoom=0&ch=2000", false},
    {"setContinuousPtzFocus 9 50", "directctrl?focus=2476", false},
    {"setContinuousPtzFocus 9 -1", "directctrl?focus=-5", false},
    {"setContinuousPtzFocus 9 0", "directctrl?focus=0", false},
    {"setContinuousPtzFocus 9 -2147483648", "directctrl?focus=-4999", false},
    {"setPtzPresetPos 0 3", "camposiset?presetset=1203&ch=1", false},
    {"addPtzPresetPos 1 4", "camposiset?presetset=1204&ch=2", false},
    {"clearPtzPresetPos 2 5", "camposiset?presetdel=1205&ch=3", false},
    {"callPtzPresetPos 3 6", "camctrl?preset=1206&ch=4", false},
    {"startPtzPatternRecord 9 1", "set_patrol?recstart=3401", false},
    {"stopPtzPatternRecord 9 2", "set_patrol?stop=3402", false},
    {"selectPtzPattern 9 3", "set_patrol?play=3403", false},
};

class Ptz : public CCameraBench {
protected:
    Ptz() : CCameraBench(Models()) {
        replyToMoves(HttpOk("OK"));
        stub.reply("/cgi-bin/absget", HttpOk("\r\nPAN=19003\r\nTILT=2501\r\nZOOM=1501\r\n"));
        bringUp("D1");
    }
    void replyToMoves(const std::string& reply) {
        for (const char* name : {"absctrl", "camctrl", "directctrl", "camposiset", "set_patrol"})
            stub.reply("/cgi-bin/" + std::string(name), reply);
    }
    // Calls an operation that is given with its arguments behind blanks, and tells what it sends likewise.
    std::string send(const std::string& line) {
        std::istringstream words(line);
        std::vector<std::string> arguments;
        for (std::string word; std::getline(words, word, ' ');)
            arguments.push_back(word);
        const std::string operation = arguments.front();
        arguments.erase(arguments.begin());
        std::string sent;
        for (const std::string& request : call(operation, arguments))
            sent += (sent.empty() ? "" : " ") + request;
        return sent;
    }
    void expectConversions(const std::vector<SConversion>& cases) {
        for (const auto& [operation, results] : cases)
            for (const auto& [argument, result] : results) {
                call(operation, {std::to_string(argument)});
                EXPECT_EQ(std::get<long long>(answer.result), result) << operation << " " << argument;
            }
    }
};

TEST_F(Ptz, EachAxisIsConvertedByItsOwnRange) {
    expectConversions({
        {"ToCameraPanSpeed", {{0, -11}, {1, 2}, {50, 645}, {100, 1302}, {101, 1302}}},
        {"ToCameraTiltSpeed", {{0, -24}, {1, 1}, {50, 1237}, {100, 2500}, {101, 2500}}},
        {"ToCameraZoomSpeed", {{0, -36}, {1, 1}, {50, 1831}, {100, 3700}, {101, 3700}}},
        {"ToCameraFocusSpeed", {{0, -45}, {1, 5}, {50, 2476}, {100, 4999}, {101, 4999}}},
        {"ToNvrPanSpeed", {{-7, -7}, {150, 150}}},
        {"ToNvrTiltSpeed", {{-7, -7}, {150, 150}}},
        {"ToNvrZoomSpeed", {{-7, -7}, {150, 150}}},
        {"ToNvrFocusSpeed", {{-7, -7}, {150, 150}}},
        {"ToCameraPanPos", {{-1, 1000}, {0, 1000}, {5001, 19003}, {10000, 37000}, {10001, 37000}}},
        {"ToCameraTiltPos", {{-1, -2000}, {0, -2000}, {5001, 2500}, {10000, 7000}, {10001, 7000}}},
        {"ToCameraZoomPos", {{-1, 300}, {0, 300}, {5001, 10302}, {10000, 20300}, {10001, 20300}}},
        {"ToNvrPanPos", {{999, 0}, {1000, 0}, {19003, 5000}, {37000, 10000}, {37001, 10000}}},
        {"ToNvrTiltPos", {{-2001, 0}, {-2000, 0}, {2501, 5001}, {7000, 10000}, {7001, 10000}}},
        {"ToNvrZoomPos", {{299, 0}, {300, 0}, {1501, 600}, {20300, 10000}, {20301, 10000}}},
    });
    EXPECT_EQ(camera->ToNvrPos(INT_MAX, INT_MIN, INT_MAX), 10000);
    EXPECT_EQ(camera->ToCameraPos(10000, INT_MIN, INT_MAX), INT_MAX);
    bringUp("D4");
    expectConversions({
        {"ToCameraPanSpeed", {{1, 1}, {2, 1}, {50, 32}, {99, 63}, {100, 64}, {150, 64}, {0, 1}, {-5, -2}}},
        {"ToCameraPanPos", {{5000, 179}}},
        {"ToNvrPanPos", {{179, 4986}}},
        {"ToNvrZoomPos", {{6, 0}, {7, 0}, {8, 0}}}, // a range of no width
    });
}

TEST_F(Ptz, ACameraClassMayReplaceTheMappingOfEveryAxis) {
    struct COther : CPanasonicCamera {
        using CPanasonicCamera::CPanasonicCamera;
        int ToCameraPos(int pos, int min, int max) override { return pos + min + max; }
        int ToNvrPos(int camPos, int min, int max) override { return camPos - min - max; }
    };
    boost::shared_ptr<IDeviceContext> context = device;
    COther other(context, stub.address().c_str(), models, "D1");
    EXPECT_THAT((std::vector{other.ToCameraPanPos(1), other.ToCameraTiltPos(1), other.ToCameraZoomPos(1),
                             other.ToNvrPanPos(1), other.ToNvrTiltPos(1), other.ToNvrZoomPos(1)}),
                ElementsAre(38001, 5001, 20601, -37999, -4999, -20599));
}

TEST_F(Ptz, EachOperationSendsItsRequestsAndReloadsTheSettingsOrNot) {
    for (const auto& c : Operations) {
        const std::size_t dumps = stub.requests(Setdata).size();
        EXPECT_EQ(send(c.call), c.requests);
        EXPECT_EQ(told(), "1 0 ");
        camera->GetImageMode(); // waits for a dump that has been asked for
        EXPECT_EQ(stub.requests(Setdata).size() > dumps, c.reloads) << c.call;
    }
    bringUp("D2"); // the form of zoom goes with pan's, tilt's is its own
    EXPECT_EQ(send("setContinuousPtz 0 -100 1 1"), "directctrl?rpan=-256&tilt=-1&rzoom=1&ch=1");
    bringUp("D3");
    EXPECT_EQ(send("setContinuousPtz 0 0 -100 100"), "directctrl?pan=0&rtilt=256&zoom=256&ch=1");
    std::vector<std::string> lines = device->logLines();
    lines.erase(lines.begin(), lines.end() - 2);
    EXPECT_THAT(lines, ElementsAre("2 moveAt Speed Pan[0] Tilt[-100] Zoom[100]",
                                   "2 moveAt url[/cgi-bin/directctrl?pan=0&rtilt=256&zoom=256&ch=1]"));
}

TEST_F(Ptz, ARelativeMoveGoesInSteps) {
    const std::pair<int, int> steps[] = {{1, 1},   {50, 1},  {51, 2},  {100, 2}, {101, 3},
                                         {200, 3}, {201, 4}, {300, 4}, {301, 5}, {INT_MAX, 5}};
    for (const auto& [distance, step] : steps) {
        const std::string far = std::to_string(distance);
        const std::string sent = std::to_string(step);
        EXPECT_EQ(send("setRelativePtz 0 " + far + " -" + far + " 0 0 0"),
                  "camctrl?pan=" + sent + "&tilt=-" + sent + "&ch=1");
        EXPECT_EQ(send("setRelativePtz 0 0 " + far + " 0 0 0"), "camctrl?pan=0&tilt=" + sent + "&ch=1");
    }
    EXPECT_EQ(send("setRelativePtz 0 -2147483648 0 0 0 0"), "camctrl?pan=-5&tilt=0&ch=1");
}

TEST_F(Ptz, WhatTheCameraRefusesIsToldExceptOfARelativeMove) {
    replyToMoves(HttpReply(500));
    for (const auto& c : Operations) {
        EXPECT_EQ(send(c.call), c.requests);
        EXPECT_EQ(told(), std::string(c.call).find("setRelativePtz") == 0 ? "1 0 " : Refused) << c.call;
    }
    boost::shared_ptr<IDeviceContext> context = device;
    camera.emplace(context, stub.address().c_str(), models, "D1"); // and has not been initialised
    registry.emplace();
    camera->registerOperations(*registry);
    for (const char* call : {"setPtzPanPos 0 1", "setPtzZoomPos 0 1", "getPtzPanPos 0", "getPtzPosition 0"}) {
        EXPECT_EQ(send(call), "");
        EXPECT_EQ(told(), "16 3 property not found");
    }
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
    const struct {
        const char* operation;
        const char* request;
        std::vector<std::string> values;
    } cases[] = {
        {"getPtzPanPos", "absget?page=12345&PAN=", {"5000", "2500", "0", "10000", "1"}},
        {"getPtzTiltPos", "absget?page=12345&TILT=", {"5001", "3000", "0", "10000", "1"}},
        {"getPtzZoomPos", "absget?page=12345&ZOOM=", {"600", "700", "0", "10000", "1"}},
        {"getPtzPosition",
         "absget?page=12345&PAN=&TILT=&ZOOM=",
         {"pan=5000&tilt=5001&zoom=600&iris=0&focus=0", "pan=2500&tilt=3000&zoom=700&iris=0&focus=0", "0",
          "10000", "1"}},
    };
    for (const auto& c : cases) {
        EXPECT_THAT(call(c.operation, {"9"}), ElementsAre(c.request));
        EXPECT_EQ(answer.values, c.values) << c.operation;
        EXPECT_EQ(told(), "1 0 ");
    }
    stub.reply("/cgi-bin/absget", HttpOk("\r\nPAN=x\r\nTILT=\r\n")); // none of them a number
    EXPECT_EQ(answered("getPtzPosition", {"0"}).at(0), "pan=0&tilt=2222&zoom=0&iris=0&focus=0");
    stub.reply("/cgi-bin/absget", HttpReply(500, "\r\nPAN=1\r\n"));
    for (const auto& c : cases) {
        EXPECT_THAT(answered(c.operation, {"0"}), ElementsAre(Refused)) << c.operation;
        EXPECT_THAT(answer.values, IsEmpty());
    }
}

TEST_F(Ptz, PatternsAndProperties) {
    for (const auto& [mode, patterns] : std::map<std::string, std::string>{
             {"1", "1"}, {"2", "2"}, {"3", "4"}, {"4", "56"}, {"0", "56"}, {"", "56"}}) {
        bringUp("D1", {{"PATROLNO", mode}});
        EXPECT_THAT(answered("getPtzPatternCount", {"0"}), ElementsAre(patterns)) << mode;
    }
    EXPECT_THAT(answered("getPtzProperties", {"0"}), ElementsAre("PtzEnabled"));
    EXPECT_THAT(answered("setContinuousPtzIris", {"0", "1"}),
                ElementsAre("3 0 the device has no continuous iris"));
    bringUp("F1");
    EXPECT_THAT(answered("getPtzPatternCount", {"0"}), ElementsAre("3 0 the device has no patterns"));
    EXPECT_THAT(answered("getPtzProperties", {"0"}), ElementsAre("3 0 the device has no pan, tilt and zoom"));
    EXPECT_THAT(answer.values, IsEmpty());
}

} // namespace
} // namespace corvane::panasonic_camera
