#include "service/access.h"

#include "service/problem_answer.h"
#include "site/base/standard_streams.h"
#include "site/text_file.h"

#include <microhttpd.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace corvane::service {
namespace {

using SystemClock = std::chrono::system_clock;
using Clock = std::chrono::steady_clock;

constexpr const char* CookieName = "vornhost_session";
constexpr std::chrono::hours SessionAge{12};
constexpr std::size_t MostSessions = 1000;
constexpr unsigned MostWrong = 20; // tokens a minute from one address
constexpr std::size_t MostWrongAddresses = 10'000;

// "[::1]:8090" is ::1, "LocalHost:80" is localhost; empty for what is no host with or without a port.
std::string HostOf(const std::string& header) {
    const std::string text = SmallLetters(header);
    const bool isSix = !text.empty() && text.front() == '[';
    const std::size_t end = isSix ? text.find(']') : std::min(text.find(':'), text.size());
    if (end == std::string::npos)
        return "";
    const std::string port = text.substr(isSix ? end + 1 : end);
    if (!port.empty() &&
        (port.front() != ':' || port.find_first_not_of("0123456789", 1) != std::string::npos))
        return "";
    return isSix ? text.substr(1, end - 1) : text.substr(0, end);
}

bool IsIn(const std::vector<std::string>& hosts, const std::string& host) {
    return std::find(hosts.begin(), hosts.end(), host) != hosts.end();
}

std::string CookieOf(const SHttpRequest& request) {
    const std::string all = request.header("cookie");
    const std::string wanted = std::string(CookieName) + "=";
    for (std::size_t at = 0; at < all.size();) {
        const std::size_t end = std::min(all.find(';', at), all.size());
        std::size_t begin = all.find_first_not_of(' ', at);
        if (begin < end && all.compare(begin, wanted.size(), wanted) == 0)
            return all.substr(begin + wanted.size(), end - begin - wanted.size());
        at = end + 1;
    }
    return "";
}

std::string KeyOf(const std::string& cookie) {
    const TokenHash hash = HashOf(cookie);
    return {reinterpret_cast<const char*>(hash.data()), hash.size()};
}

} // namespace

CAccess::CAccess(SAccessRules rules) : rules_(std::move(rules)) {
    entries_ = ReadTokenFile(rules_.tokenFile);
    std::error_code ignored;
    read_ = std::filesystem::last_write_time(rules_.tokenFile, ignored);
}

void CAccess::requireHost(const SHttpRequest& request) const {
    if (request.isAmbiguous)
        throw CRefusal(MHD_HTTP_BAD_REQUEST, "a header stands twice");
    const std::string host = HostOf(request.header("host"));
    if (!IsIn(rules_.hosts, host) && !IsIn(rules_.publicHosts, host))
        throw CRefusal(MHD_HTTP_MISDIRECTED_REQUEST,
                       "this service is not asked as \"" + request.header("host") + "\"; see --public-host");
}

SClient CAccess::require(const SHttpRequest& request, Role least) {
    constexpr std::string_view Bearer = "bearer ";
    const std::string authorization = request.header("authorization");
    std::optional<SClient> client;
    if (SmallLetters(authorization.substr(0, Bearer.size())) == Bearer)
        client = clientOf(authorization.substr(Bearer.size()), request.remote);
    else if (const auto kept = session(request))
        client = kept->client;
    if (!client)
        throw CRefusal(MHD_HTTP_UNAUTHORIZED, authorization.empty() && CookieOf(request).empty()
                                                  ? "a token is needed: Authorization: Bearer TOKEN"
                                                  : "the token is wrong, or the session is over");
    if (client->role < least)
        throw CRefusal(MHD_HTTP_FORBIDDEN, "the role " + std::string(NameOf(client->role)) +
                                               " does not reach; this needs " + NameOf(least));
    return *client;
}

void CAccess::requireOwnChange(const SHttpRequest& request) const {
    const std::string origin = request.header("origin");
    const std::string host = request.header("host");
    const std::string own = (rules_.isSecure ? "https://" : "http://") + host;
    const bool isOwn =
        origin == own || (IsIn(rules_.publicHosts, HostOf(host)) && origin == "https://" + host);
    const std::string site = request.header("sec-fetch-site");
    if ((!origin.empty() && !isOwn) || (!site.empty() && site != "same-origin" && site != "none"))
        throw CRefusal(MHD_HTTP_FORBIDDEN, "web pages of others may change nothing");
    std::string type = SmallLetters(request.header("content-type"));
    type = type.substr(0, type.find(';'));
    type.erase(type.find_last_not_of(" \t") + 1);
    const bool hasBody = request.method != MHD_HTTP_METHOD_DELETE || !request.body.empty();
    if (hasBody && type != JsonType)
        throw CRefusal(MHD_HTTP_UNSUPPORTED_MEDIA_TYPE, "the body must be of Content-Type application/json");
}

std::optional<SClient> CAccess::clientOf(const std::string& token, const std::string& remote) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (const STokenEntry* const entry = FindToken(entries(), token))
        return SClient{entry->name, entry->role};
    noteWrong(remote);
    return std::nullopt;
}

// REQUIRES: mutex_ held. A file that cannot be read any more takes nobody's token away.
const std::vector<STokenEntry>& CAccess::entries() {
    std::error_code failure;
    const auto changed = std::filesystem::last_write_time(rules_.tokenFile, failure);
    if (!failure && changed == read_)
        return entries_;
    try {
        entries_ = ReadTokenFile(rules_.tokenFile);
        read_ = changed;
        toldFailure_.clear();
    } catch (const site::CFileError& error) {
        if (std::exchange(toldFailure_, error.what()) != error.what())
            site::WriteMessage(std::string("vornhost: serve: the tokens stay as they were: ") + error.what() +
                               "\n");
    }
    return entries_;
}

// REQUIRES: mutex_ held.
void CAccess::noteWrong(const std::string& remote) {
    const Clock::time_point now = Clock::now();
    if (wrong_.size() > MostWrongAddresses)
        wrong_.clear();
    SWrong& wrong = wrong_[remote];
    if (now - wrong.since > std::chrono::minutes(1))
        wrong = {now, 0};
    if (++wrong.count > MostWrong)
        throw CRefusal(MHD_HTTP_TOO_MANY_REQUESTS, "too many wrong tokens; try again in a minute");
}

std::pair<SSession, std::string> CAccess::logIn(const SHttpRequest& request, const std::string& token) {
    const auto client = clientOf(token, request.remote);
    if (!client)
        throw CRefusal(MHD_HTTP_UNAUTHORIZED, "the token is wrong");
    const SSession session{*client, SystemClock::now() + SessionAge};
    const std::string value = MakeToken();
    const std::lock_guard<std::mutex> lock(mutex_);
    forgetExpired();
    sessions_[KeyOf(value)] = {session, HashOf(token)};
    return {session, cookie(value, SessionAge)};
}

// REQUIRES: mutex_ held.
void CAccess::forgetExpired() {
    const auto now = SystemClock::now();
    for (auto one = sessions_.begin(); one != sessions_.end();)
        one = one->second.session.expires < now ? sessions_.erase(one) : std::next(one);
    if (sessions_.size() >= MostSessions)
        sessions_.erase(
            std::min_element(sessions_.begin(), sessions_.end(), [](const auto& a, const auto& b) {
                return a.second.session.expires < b.second.session.expires;
            }));
}

// REQUIRES: mutex_ held. A session lives no longer than the token that opened it.
CAccess::SKept* CAccess::find(const SHttpRequest& request) {
    const std::string value = CookieOf(request);
    const auto found = value.empty() ? sessions_.end() : sessions_.find(KeyOf(value));
    if (found == sessions_.end())
        return nullptr;
    const auto& all = entries();
    const auto entry = std::find_if(all.begin(), all.end(),
                                    [&](const STokenEntry& one) { return one.hash == found->second.token; });
    if (found->second.session.expires < SystemClock::now() || entry == all.end()) {
        sessions_.erase(found);
        return nullptr;
    }
    found->second.session.client = {entry->name, entry->role};
    return &found->second;
}

std::optional<SSession> CAccess::session(const SHttpRequest& request) {
    const std::lock_guard<std::mutex> lock(mutex_);
    SKept* const kept = find(request);
    return kept ? std::optional(kept->session) : std::nullopt;
}

std::string CAccess::logOut(const SHttpRequest& request) {
    const std::lock_guard<std::mutex> lock(mutex_);
    sessions_.erase(KeyOf(CookieOf(request)));
    return cookie("", std::chrono::seconds::zero());
}

std::string CAccess::cookie(const std::string& value, std::chrono::seconds age) const {
    return std::string(CookieName) + "=" + value +
           "; Path=/; HttpOnly; SameSite=Strict; Max-Age=" + std::to_string(age.count()) +
           (rules_.isSecure ? "; Secure" : "");
}

} // namespace corvane::service
