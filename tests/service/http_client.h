#pragma once

#include <nlohmann/json.hpp>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace corvane::service_test {

using nlohmann::json;
using Headers = std::vector<std::string>; // whole lines, without their ends

struct SReply {
    long status = 0;
    std::map<std::string, std::string> headers; // names in small letters
    std::string body;

    std::string header(const std::string& name) const;
    json object() const { return json::parse(body); }
};

// A client of the service with one token. Its requests throw std::runtime_error when no reply comes within a
// minute.
class CHttpClient {
public:
    CHttpClient(std::string address, std::string token)
        : address_(std::move(address)), token_(std::move(token)) {}

    SReply get(const std::string& path, const Headers& headers = {}) const {
        return ask("GET", path, "", headers);
    }
    // With Content-Type: application/json, unless the headers have another.
    SReply send(const std::string& method, const std::string& path, const json& body = json::object(),
                const Headers& headers = {}) const;
    // As it is given. The path is not tidied.
    SReply ask(const std::string& method, const std::string& path, const std::string& body = "",
               const Headers& headers = {}) const;

    const std::string& address() const { return address_; }
    const std::string& token() const { return token_; }

private:
    std::string address_;
    std::string token_;
};

// A connection whose every byte the test decides.
class CRawConnection {
public:
    // Throws std::system_error. `window`: the least that the system may receive for it; 0: as usual.
    explicit CRawConnection(const std::string& address, int window = 0);
    ~CRawConnection();
    CRawConnection(CRawConnection&& other) noexcept;
    CRawConnection(const CRawConnection&) = delete;
    CRawConnection& operator=(const CRawConnection&) = delete;

    // False once the peer has closed.
    bool write(const std::string& bytes) const;
    // What has come so far, until the condition holds or the peer has closed; throws std::runtime_error after
    // a minute.
    const std::string& readUntil(const std::function<bool(const std::string& all)>& condition);
    const std::string& readToEnd() {
        return readUntil([](const std::string&) { return false; });
    }
    // Takes the text up to the end of the first such piece; nothing when the peer has closed before.
    std::optional<std::string> take(const std::string& end);
    // Takes so many bytes; fewer when the peer has closed before.
    std::string takeBytes(std::size_t count);

private:
    int socket_ = -1;
    std::string text_;
    bool isEnded_ = false;
};

struct SServerEvent {
    std::string kind;
    std::string id;
    json data;
};

// A client of the event stream.
class CEventClient {
public:
    CEventClient(const CHttpClient& client, const std::string& query = "", const Headers& headers = {});

    const std::string& head() const { return head_; }
    // Throws std::runtime_error when the stream has ended.
    SServerEvent next();
    // The next that is of the kind and has these members; those before it are passed over.
    SServerEvent next(const std::string& kind, const json& members = json::object());

private:
    CRawConnection connection_;
    std::string head_;
    std::string text_; // of the stream, without the chunks' frames
};

} // namespace corvane::service_test
