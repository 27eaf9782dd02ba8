#pragma once

#include "tools/vornhost/diagnosis/diagnosis.h"
#include "tools/vornhost/session/device_session.h"

#include <nlohmann/json.hpp>

#include <string>
#include <utility>
#include <vector>

namespace corvane::vornhost {

// One fact: a text, a number, yes or no, or a list of texts. A fact that the camera does not have is left
// out.
struct SFact {
    std::string key; // in JSON
    std::string label;
    nlohmann::ordered_json value;
};

// Facts of the same kind about several streams: a row each.
struct SFactTable {
    std::vector<std::pair<std::string, std::string>> columns; // key in JSON, title
    std::vector<std::vector<nlohmann::ordered_json>> rows;    // null: the stream does not have it
};

struct SReportSection {
    std::string place; // in JSON: "/settings/rtsp"
    std::string title;
    std::vector<SFact> facts;
    SFactTable table;
};

struct SReportProblem {
    std::string operation; // what the program asked of the plug-in
    SDiagnosis diagnosis;
};

// What the plug-in can tell about one camera.
struct SCameraReport {
    std::vector<SReportSection> sections;
    std::vector<SReportProblem> problems;
};

// What is known without the camera; the failure is the first of its problems.
SCameraReport ReportUnstarted(const CDeviceSession& session, const SDiagnosis& failure);
// Asks the camera, as far as it is usable.
SCameraReport ReportCamera(CDeviceSession& session);

// The same facts for programs and for eyes.
nlohmann::ordered_json ReportJson(const SCameraReport& report);
std::string ReportText(const SCameraReport& report, bool colour);

} // namespace corvane::vornhost
