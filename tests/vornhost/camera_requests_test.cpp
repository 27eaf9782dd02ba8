// Holds docs/camera-requests.md against what arrives at a camera.

#include "tests/vornhost/vornhost_support.h"

#include <fnmatch.h>
#include <regex>
#include <set>

namespace corvane::vornhost_test {
namespace {

struct SRow {
    std::string request; // "GET /path?query", or "POST /path" and its body
    std::string call;
    std::string
        anew; // "yes" or "no": whether the settings are read behind it; empty where that cannot be told
    std::string code;

    bool isOf(const std::string& arrived) const {
        const std::string pattern = std::regex_replace(request, std::regex(R"(\.\.\.)"), "*");
        const std::string literal = std::regex_replace(pattern, std::regex(R"(\?)"), "\\?");
        return fnmatch(literal.c_str(), arrived.c_str(), 0) == 0;
    }
    bool isOfTheWholeCamera() const { return request.find("/cgi-bin/initial ") != std::string::npos; }
};

std::string FileText(const std::string& path) {
    std::ifstream in(std::string(SOURCE_FOLDER) + "/" + path);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::vector<SRow> Rows() {
    std::vector<SRow> rows;
    const std::regex form(R"(\| `([^`]*)` \| `([^`]*)` \| ?(\w*) \| (.*) \|)");
    std::istringstream page(FileText("docs/camera-requests.md"));
    std::smatch row;
    for (std::string line; std::getline(page, line);)
        if (std::regex_match(line, row, form))
            rows.push_back({row[1], row[2], row[3], row[4]});
    return rows;
}

// What the expression's group holds at each place where it fits.
std::vector<std::string> AllOf(const std::string& text, const char* expression) {
    const std::regex form(expression);
    std::vector<std::string> all;
    for (std::sregex_iterator match(text.begin(), text.end(), form), end; match != end; ++match)
        all.push_back((*match)[1]);
    return all;
}

using Requests = std::vector<std::string>;

// In their order.
Requests Arrived(const CCamsim& camsim, const std::string& query = "") {
    Requests arrived;
    const json log = camsim.get("/requests" + query);
    for (const json& request : log.at("requests")) {
        const std::string body = request.value("body", "");
        arrived.push_back(request.at("method").get<std::string>() + " " +
                          request.at("path").get<std::string>() + (body.empty() ? "" : " " + body));
    }
    return arrived;
}

// What follows a call in a script: a reading, which waits for the settings if they are read anew, and a
// request that is none of the plug-in's.
std::string MarkPath(std::size_t call) {
    return "/mark?" + std::to_string(call);
}
std::string BehindCall(std::size_t call) {
    return "\nsetting.GetCameraSetting CAMTITLE\nsetting.CameraHttpGet " + MarkPath(call) + " 4\n";
}

// Checks, for each call of the rows, what the page says of it; notes the rows whose requests were among it.
void CheckAnew(const std::vector<SRow>& rows, const Requests& arrived, std::set<std::string>& checked) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const SRow& row = rows[i];
        const auto begin = std::find(arrived.begin(), arrived.end(), "GET " + MarkPath(i));
        const auto end = std::find(begin, arrived.end(), "GET " + MarkPath(i + 1));
        ASSERT_NE(end, arrived.end()) << row.call;
        const auto request = std::find_if(begin, end, [&row](const auto& one) { return row.isOf(one); });
        if (request != end && !row.anew.empty()) {
            const bool isAnew = std::find(request, end, "GET /cgi-bin/setdata") != end;
            EXPECT_EQ(isAnew ? "yes" : "no", row.anew) << row.request;
            checked.insert(row.request);
        }
    }
}

bool HoldsAny(const std::vector<SRow>& rows, const std::string& arrived) {
    return std::any_of(rows.begin(), rows.end(), [&](const SRow& row) { return row.isOf(arrived); });
}

TEST(CameraRequests, AreThoseOfThePage) {
    const std::vector<SRow> rows = Rows();
    ASSERT_GT(rows.size(), 40U);
    const CCamsim camsim({"--model", "D850", "--model", "D870", "--model", "F320", "--model", "L115",
                          "--model", "S202", "--model", "GXE500", "--count", "6"});
    std::vector<SRow> called;
    std::string calls = BehindCall(0);
    for (const SRow& row : rows)
        if (!row.isOfTheWholeCamera()) {
            called.push_back(row);
            calls += row.call + BehindCall(called.size());
        }
    std::set<std::string> checked;
    for (std::size_t i = 0; i < camsim.addresses().size(); ++i) {
        // Something to switch on; MPEG-4 is switched off where a camera sends it beside MJPEG only.
        const std::string place = "/cameras/" + std::to_string(i) + "/settings";
        const bool hasFamilies = camsim.get(place).count("STREAMMODE") != 0;
        camsim.patch(place, {{"MPEG", hasFamilies ? "0" : "1"},
                             {"H264", "0"},
                             {"MPEG_2", "0"},
                             {"H264_2", "0"},
                             {"RTSPMODE", "0"},
                             {"H264RTSPMODE", "0"},
                             {"ATRMIN", "0"}});
        CProgram program("vornhost", {"script", camsim.addresses()[i]});
        program.write(calls);
        if (i == 0) { // a stream asks when its thread runs
            EXPECT_TRUE(WaitUntil([&] {
                const Requests arrived = Arrived(camsim);
                return std::count(arrived.begin(), arrived.end(), "GET /cgi-bin/get_io?mode=monitor") != 0;
            }));
        }
        (void)program.wait();
        CheckAnew(called, Arrived(camsim, "?camera=" + std::to_string(i)), checked);
    }
    for (const SRow& row : called)
        EXPECT_TRUE(checked.count(row.request) == 1 || row.anew.empty()) << row.request;
    for (const SRow& row : rows)
        if (row.isOfTheWholeCamera())
            Vornhost({"call", camsim.addresses()[row.call == "rebootDevice" ? 0 : 1], row.call});

    Requests all = Arrived(camsim);
    std::set<std::string> arrived(all.begin(), all.end());
    for (std::size_t i = 0; i <= called.size(); ++i)
        arrived.erase("GET " + MarkPath(i));
    for (const SRow& row : rows) {
        EXPECT_TRUE(
            std::any_of(arrived.begin(), arrived.end(), [&](const auto& one) { return row.isOf(one); }))
            << row.request << " did not arrive";
        for (const std::string& file : AllOf(row.code, "`([^`]+)`"))
            EXPECT_NE(FileText(file), "") << file;
    }
    for (const std::string& one : arrived)
        EXPECT_TRUE(HoldsAny(rows, one)) << one << " is not on the page";

    // Nor may a path stand in the code that no row has.
    const std::string page = FileText("docs/camera-requests.md");
    for (const std::string& path : AllOf(FileText("camera/cgi_paths.h"), R"x("(/cgi-bin/[^"]*)")x"))
        EXPECT_NE(page.find(path), std::string::npos) << path;
}

} // namespace
} // namespace corvane::vornhost_test
