#pragma once

#include "site/diagnosis/diagnosis.h"
#include "site/session/device_session.h"

#include <nlohmann/json.hpp>

#include <string>
#include <utility>
#include <vector>

namespace corvane::site {

// One fact: a text, a number, yes or no, or a list of texts. A fact that the camera does not have is left
// out.
struct SFact {
    std::string key; // in JSON
    std::string label;
    ordered_json value;
};

// Facts of the same kind about several streams: a row each.
struct SFactTable {
    std::vector<std::pair<std::string, std::string>> columns; // key in JSON, title
    std::vector<std::vector<ordered_json>> rows;              // null: the stream does not have it
    // A cell of {"code","origin","text"} is a value that could not be read.
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

// Of a camera that could not be started: what is known without it. The failure is the first problem.
SCameraReport ReportUnstarted(const CDeviceSession& session, const SDiagnosis& failure);
// Of a camera that was started: asks it for everything.
SCameraReport ReportCamera(CDeviceSession& session);

// The same facts for programs.
ordered_json ReportJson(const SCameraReport& report);

} // namespace corvane::site
