#include "tests/service/http_client.h"

#include <curl/curl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace corvane::service_test {
namespace {

constexpr std::chrono::minutes Patience{1};

std::size_t Append(char* data, std::size_t, std::size_t size, void* text) {
    static_cast<std::string*>(text)->append(data, size);
    return size;
}

std::size_t TakeHeader(char* data, std::size_t, std::size_t size, void* headers) {
    std::string line(data, size);
    const std::size_t colon = line.find(": ");
    if (colon != std::string::npos) {
        std::transform(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(colon), line.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        line.erase(line.find_last_not_of("\r\n") + 1);
        (*static_cast<std::map<std::string, std::string>*>(headers))[line.substr(0, colon)] =
            line.substr(colon + 2);
    }
    return size;
}

bool HasName(const Headers& headers, const std::string& name) {
    return std::any_of(headers.begin(), headers.end(),
                       [&](const std::string& line) { return line.compare(0, name.size(), name) == 0; });
}

} // namespace

std::string SReply::header(const std::string& name) const {
    const auto found = headers.find(name);
    return found == headers.end() ? "" : found->second;
}

SReply CHttpClient::send(const std::string& method, const std::string& path, const json& body,
                         const Headers& headers) const {
    Headers all = headers;
    if (!HasName(all, "Content-Type"))
        all.emplace_back("Content-Type: application/json");
    return ask(method, path, body.dump(), all);
}

SReply CHttpClient::ask(const std::string& method, const std::string& path, const std::string& body,
                        const Headers& headers) const {
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(), curl_easy_cleanup);
    SReply reply;
    curl_slist* list = nullptr;
    for (const std::string& line : headers)
        list = curl_slist_append(list, line.c_str());
    if (!token_.empty() && !HasName(headers, "Authorization"))
        list = curl_slist_append(list, ("Authorization: Bearer " + token_).c_str());
    list = curl_slist_append(list, "Expect:");
    const std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> lines(list, curl_slist_free_all);
    const std::string url = "http://" + address_ + path;
    curl_easy_setopt(curl.get(), CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl.get(), CURLOPT_PROXY, "");
    curl_easy_setopt(curl.get(), CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(curl.get(), CURLOPT_HTTPHEADER, list);
    curl_easy_setopt(curl.get(), CURLOPT_TIMEOUT, static_cast<long>(std::chrono::seconds(Patience).count()));
    curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, Append);
    curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, &reply.body);
    curl_easy_setopt(curl.get(), CURLOPT_HEADERFUNCTION, TakeHeader);
    curl_easy_setopt(curl.get(), CURLOPT_HEADERDATA, &reply.headers);
    if (method == "HEAD")
        curl_easy_setopt(curl.get(), CURLOPT_NOBODY, 1L);
    else if (!body.empty())
        curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDS, body.c_str());
    curl_easy_setopt(curl.get(), CURLOPT_CUSTOMREQUEST, method.c_str());
    const CURLcode code = curl_easy_perform(curl.get());
    if (code != CURLE_OK)
        throw std::runtime_error(method + " " + path + ": " + curl_easy_strerror(code));
    curl_easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &reply.status);
    return reply;
}

CRawConnection::CRawConnection(const std::string& address, int window)
    : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    if (socket_ >= 0 && window > 0)
        ::setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &window, sizeof window);
    sockaddr_in peer{};
    peer.sin_family = AF_INET;
    peer.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    peer.sin_port = htons(static_cast<std::uint16_t>(std::stoi(address.substr(address.rfind(':') + 1))));
    if (socket_ < 0 || ::connect(socket_, reinterpret_cast<sockaddr*>(&peer), sizeof peer) != 0) {
        const int reason = errno;
        ::close(socket_);
        throw std::system_error(reason, std::generic_category(), "connect");
    }
}

CRawConnection::CRawConnection(CRawConnection&& other) noexcept
    : socket_(std::exchange(other.socket_, -1)), text_(std::move(other.text_)), isEnded_(other.isEnded_) {}

CRawConnection::~CRawConnection() {
    if (socket_ >= 0)
        ::close(socket_);
}

bool CRawConnection::write(const std::string& bytes) const {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count = ::send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        sent += static_cast<std::size_t>(count);
    }
    return true;
}

const std::string& CRawConnection::readUntil(const std::function<bool(const std::string& all)>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + Patience;
    while (!condition(text_) && !isEnded_) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd poll{socket_, POLLIN, 0};
        if (left.count() <= 0 || ::poll(&poll, 1, static_cast<int>(left.count())) <= 0)
            throw std::runtime_error("nothing more came within a minute; so far: " + text_);
        char buffer[16 * 1024];
        const ssize_t count = ::recv(socket_, buffer, sizeof buffer, 0);
        if (count > 0)
            text_.append(buffer, static_cast<std::size_t>(count));
        isEnded_ = count <= 0;
    }
    return text_;
}

std::optional<std::string> CRawConnection::take(const std::string& end) {
    readUntil([&](const std::string& all) { return all.find(end) != std::string::npos; });
    const std::size_t place = text_.find(end);
    if (place == std::string::npos)
        return std::nullopt;
    std::string taken = text_.substr(0, place + end.size());
    text_.erase(0, place + end.size());
    return taken;
}

std::string CRawConnection::takeBytes(std::size_t count) {
    readUntil([count](const std::string& all) { return all.size() >= count; });
    std::string taken = text_.substr(0, count);
    text_.erase(0, count);
    return taken;
}

CEventClient::CEventClient(const CHttpClient& client, const std::string& query, const Headers& headers)
    : connection_(client.address()) {
    std::string request = "GET /api/v1/events" + query + " HTTP/1.1\r\nHost: " + client.address() +
                          "\r\nAuthorization: Bearer " + client.token() + "\r\n";
    for (const std::string& line : headers)
        request += line + "\r\n";
    connection_.write(request + "\r\n");
    head_ = connection_.take("\r\n\r\n").value_or("");
}

SServerEvent CEventClient::next() {
    while (text_.find("\n\n") == std::string::npos) {
        const auto size = connection_.take("\r\n");
        const std::size_t count = size ? std::stoul(*size, nullptr, 16) : 0;
        if (count == 0)
            throw std::runtime_error("the events have ended");
        text_ += connection_.takeBytes(count);
        connection_.takeBytes(2); // the chunk's line end
    }
    std::istringstream lines(text_.substr(0, text_.find("\n\n")));
    text_.erase(0, text_.find("\n\n") + 2);
    SServerEvent event;
    for (std::string line; std::getline(lines, line);) {
        const std::string name = line.substr(0, line.find(": "));
        const std::string value = line.substr(name.size() + 2);
        if (name == "event")
            event.kind = value;
        else if (name == "id")
            event.id = value;
        else
            event.data = json::parse(value);
    }
    return event;
}

SServerEvent CEventClient::next(const std::string& kind, const json& members) {
    for (;;) {
        SServerEvent event = next();
        json merged = event.data;
        merged.update(members);
        if (event.kind == kind && merged == event.data)
            return event;
    }
}

} // namespace corvane::service_test
