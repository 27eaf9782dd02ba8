// CVornCgiLib and CHttpInterface, host/cgi.h; CVornCamera::getCamSingleValue, host/camera.h.

#include "http_server.h"
#include "report.h"

#include <host/camera.h>
#include <host/cgi.h>

#include <glib.h>

#include <chrono>

namespace conformance {
namespace {

using corvane::vorn_camera_base::v1_0::CVornCamera;
using corvane::vorn_utility::v1_0::CHttpInterface;
using corvane::vorn_utility::v1_0::CVornCgiLib;

constexpr int Seconds = 4;

std::string Reply(const std::string& status, const std::string& body, const std::string& headers = "") {
    return "HTTP/1.1 " + status + "\r\n" + headers +
           "Connection: close\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

CHttpServer::Answer Always(const std::string& reply) {
    return [reply](const std::string&) { return reply; };
}

SVornUrl UrlOf(const std::string& path) {
    SVornUrl url;
    url.protocol = "http";
    url.port = "80";
    url.path = path;
    return url;
}

CError Get(const std::string& address, std::string& body, int timeOut = Seconds,
           const std::string& user = "admin") {
    return CVornCgiLib::vornCgiGetRawResponse(UrlOf("/cgi-bin/x"), address, user, "12345", body, timeOut,
                                              "ANY");
}

// A failure of this kind, the output as it was.
std::string Refused(const CHttpServer& server, RtnCode code) {
    std::string body = "unchanged";
    const CError error = Get(server.address(), body);
    return First({Differs(error, code, Origin::Device), Differs("the output", body, "unchanged"),
                  error.getText().empty() ? "no text says what happened" : ""});
}

std::string Md5(const std::string& text) {
    gchar* const sum = g_compute_checksum_for_string(G_CHECKSUM_MD5, text.c_str(), -1);
    std::string hex = sum;
    g_free(sum);
    return hex;
}

std::string HeaderOf(const std::string& request, const std::string& name) {
    const std::size_t begin = request.find("\r\n" + name + ": ");
    const std::size_t value = begin + name.size() + 4;
    return begin == std::string::npos ? "" : request.substr(value, request.find("\r\n", value) - value);
}

std::string ParameterOf(const std::string& header, const std::string& name) {
    std::size_t begin = header.find(" " + name + "=");
    if (begin == std::string::npos)
        return "";
    begin += name.size() + 2;
    const bool isQuoted = header[begin] == '"';
    begin += isQuoted ? 1 : 0;
    return header.substr(begin, header.find_first_of(isQuoted ? "\"" : ", ", begin) - begin);
}

// Whether the request proves that its sender knows the password, RFC 7616.
bool IsProven(const std::string& request) {
    const std::string sent = HeaderOf(request, "Authorization");
    const auto of = [&sent](const char* name) { return ParameterOf(sent, name); };
    const std::string method = request.substr(0, request.find(' '));
    const std::string first = Md5("admin:cameras:12345"), second = Md5(method + ":" + of("uri"));
    return sent.compare(0, 7, "Digest ") == 0 && of("nonce") == "fresh" &&
           of("response") == Md5(first + ":fresh:" + of("nc") + ":" + of("cnonce") + ":auth:" + second);
}

std::string DigestAnswer(const std::string& request) {
    return IsProven(request) ? Reply("200 OK", "proven")
                             : Reply("401 Unauthorized", "",
                                     "WWW-Authenticate: Digest realm=\"cameras\", nonce=\"fresh\", "
                                     "qop=\"auth\", algorithm=MD5\r\n");
}

void CheckReplies(CReport& report) {
    report.check("http.a-reply-is-given-whole", [] {
        const CHttpServer server(Always(Reply("200 OK", "NAME=x\r\nSERIAL=1\r\n")));
        std::string body;
        const CError error = Get(server.address(), body);
        return First({Differs(error, RtnCode::Success, Origin::General),
                      Differs("the body", body, "NAME=x\r\nSERIAL=1\r\n")});
    });
    report.check("http.status-401-is-a-failed-authentication", [] {
        return Refused(CHttpServer(Always(Reply("401 Unauthorized", "no"))), RtnCode::AuthenticationFailed);
    });
    report.check("http.other-statuses-are-failed-operations", [] {
        for (const char* status : {"404 Not Found", "500 Internal Server Error", "204 No Content"})
            if (std::string wrong =
                    Refused(CHttpServer(Always(Reply(status, "no"))), RtnCode::OperationFailed);
                !wrong.empty())
                return std::string(status) + ": " + wrong;
        return std::string();
    });
    report.check("http.redirects-are-not-followed", [] {
        const CHttpServer other(Always(Reply("200 OK", "elsewhere")));
        const CHttpServer server(
            Always(Reply("302 Found", "", "Location: http://" + other.address() + "/cgi-bin/x\r\n")));
        return First({Refused(server, RtnCode::OperationFailed),
                      Differs("requests at the other place", other.requests().size(), 0U)});
    });
    report.check("http.a-cut-reply-is-a-failure", [] {
        return Refused(CHttpServer(Always("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf")),
                       RtnCode::NotAccessible);
    });
    report.check("http.garbage-is-a-failure", [] {
        return Refused(CHttpServer(Always("\x15\x03\x01 garbage\n\n")), RtnCode::NotAccessible);
    });
    report.check("http.replies-are-bounded", [] {
        const std::string large(std::size_t{17} << 20, 'x');
        return Refused(CHttpServer(Always(Reply("200 OK", large))), RtnCode::NotAccessible);
    });
    report.check("http.nobody-there-is-not-accessible", [] {
        std::string address;
        {
            const CHttpServer gone(Always(""));
            address = gone.address();
        }
        std::string body = "unchanged";
        return First({Differs(Get(address, body), RtnCode::NotAccessible, Origin::Device),
                      Differs("the output", body, "unchanged")});
    });
}

void CheckTimes(CReport& report) {
    report.check("http.a-time-out-ends-the-exchange", [] {
        const CHttpServer server(Always(""));
        std::string body = "unchanged";
        const auto begin = std::chrono::steady_clock::now();
        const CError error = Get(server.address(), body, 1);
        const auto passed = std::chrono::steady_clock::now() - begin;
        return First({Differs(error, RtnCode::NotAccessible, Origin::Device),
                      Differs("the output", body, "unchanged"),
                      passed < std::chrono::milliseconds(900) ? "it ends before its time" : "",
                      passed > std::chrono::seconds(20) ? "it ends long after its time" : ""});
    });
    report.check("http.no-time-is-a-failure-at-once", [] {
        const CHttpServer server(Always(Reply("200 OK", "x")));
        std::string body = "unchanged";
        return First({Differs(Get(server.address(), body, 0), RtnCode::NotAccessible, Origin::Device),
                      Differs("the output", body, "unchanged"),
                      Differs("requests", server.requests().size(), 0U)});
    });
}

void CheckRequests(CReport& report) {
    report.check("http.a-query-goes-as-it-is-asked", [] {
        const CHttpServer server(Always(Reply("200 OK", "PAN=12,TILT=34\r\nZOOM=5")));
        SVornUrl url = UrlOf("/cgi-bin/x?a=1");
        url.parameters = {{"b", "2"}, {"c", "3"}};
        url.queryKeys = {"TILT=", "NONE=", "PAN="};
        std::vector<std::string> values;
        const CError error = CVornCgiLib::vornCgiGetQueryResult(url, server.address(), "", "", values,
                                                                Seconds, ",\r\n", "ANY");
        std::string told;
        for (const std::string& value : values)
            told += value + ";";
        const auto requests = server.requests();
        const std::string line = requests.empty() ? "" : requests[0].substr(0, requests[0].find("\r\n"));
        return First({Differs(error, RtnCode::Success, Origin::General),
                      Differs("the values", told, "34;;12;"),
                      Differs("the request", line, "GET /cgi-bin/x?a=1&b=2&c=3&TILT=&NONE=&PAN= HTTP/1.1")});
    });
    report.check("http.parameters-are-percent-encoded", [] {
        const CHttpServer server(Always(Reply("200 OK", "x")));
        SVornUrl url = UrlOf("/cgi-bin/x");
        url.parameters = {{"title", "a b&c"}};
        std::string body;
        (void)CVornCgiLib::vornCgiGetRawResponse(url, server.address(), "", "", body, Seconds, "ANY");
        const auto requests = server.requests();
        return requests.empty() ? "nothing was asked"
                                : Differs("the request", requests[0].substr(0, requests[0].find(" HTTP")),
                                          "GET /cgi-bin/x?title=a%20b%26c");
    });
    report.check("http.a-single-value", [] {
        const CHttpServer server(Always(Reply("200 OK", "NAME=PX-F320\r\nSERIAL=7\r\n")));
        SVornUrl url = UrlOf("/cgi-bin/getinfo");
        url.replyKey = "SERIAL=";
        std::string value;
        const CError error =
            CVornCamera::getCamSingleValue(server.address(), url, "", "", value, "\r\n", "ANY");
        return First({Differs(error, RtnCode::Success, Origin::General), Differs("the value", value, "7")});
    });
    report.check("http.a-post-tells-the-status", [] {
        const CHttpServer server(Always(Reply("404 Not Found", "")));
        CHttpInterface http("admin", "12345");
        const int ready = http.Initialize();
        const int status = http.SetContent("a=1&b=2", "http://" + server.address() + "/cgi-bin/set");
        const auto requests = server.requests();
        const std::string request = requests.empty() ? "" : requests[0];
        return First({Differs("Initialize", ready, 0), Differs("the status", status, 404),
                      Differs("the method", request.substr(0, 19), "POST /cgi-bin/set H"),
                      request.size() > 7 ? Differs("the body", request.substr(request.size() - 7), "a=1&b=2")
                                         : "no body"});
    });
    report.check("http.a-post-without-a-status", [] {
        const CHttpServer server(Always("garbage\n\n"));
        CHttpInterface http("admin", "12345");
        (void)http.Initialize();
        const int status = http.SetContent("a=1", "http://" + server.address() + "/cgi-bin/set");
        return status <= 99 ? "" : "it tells " + std::to_string(status);
    });
}

void CheckAuthentication(CReport& report) {
    report.check("http.digest-is-answered", [] {
        const CHttpServer server(DigestAnswer);
        std::string body;
        const CError error = Get(server.address(), body);
        return First(
            {Differs(error, RtnCode::Success, Origin::General), Differs("the body", body, "proven")});
    });
    report.check("http.digest-of-a-post", [] {
        const CHttpServer server(DigestAnswer);
        CHttpInterface http("admin", "12345");
        (void)http.Initialize();
        return Differs("the status", http.SetContent("a=1", "http://" + server.address() + "/cgi-bin/set"),
                       200);
    });
    report.check("http.basic-is-not-sent-where-digest-is-offered", [] {
        const CHttpServer server([](const std::string& request) {
            return IsProven(request)
                       ? Reply("200 OK", "proven")
                       : Reply("401 Unauthorized", "",
                               "WWW-Authenticate: Basic realm=\"cameras\"\r\nWWW-Authenticate: Digest "
                               "realm=\"cameras\", nonce=\"fresh\", qop=\"auth\", algorithm=MD5\r\n");
        });
        std::string body;
        (void)Get(server.address(), body);
        std::string wrong = Differs("the body", body, "proven");
        for (const std::string& request : server.requests())
            if (HeaderOf(request, "Authorization").compare(0, 5, "Basic") == 0)
                wrong = "the password went out as it is";
        return wrong;
    });
    report.check("http.no-user-sends-no-credentials", [] {
        const CHttpServer server(DigestAnswer);
        std::string body;
        const CError error = Get(server.address(), body, Seconds, "");
        std::string wrong = Differs(error, RtnCode::AuthenticationFailed, Origin::Device);
        for (const std::string& request : server.requests())
            if (!HeaderOf(request, "Authorization").empty())
                wrong = "credentials were sent";
        return wrong;
    });
}

} // namespace

void CheckHttp(CReport& report) {
    CheckReplies(report);
    CheckTimes(report);
    CheckRequests(report);
    CheckAuthentication(report);
}

} // namespace conformance
