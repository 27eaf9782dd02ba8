#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvane::service {

std::string SmallLetters(std::string text);

// What a client asks.
struct SHttpRequest {
    std::string method;
    std::string target; // as it came
    std::string path;   // of it, percent escapes decoded; as it came where one stands for "/" or a null byte
    std::multimap<std::string, std::string> query;
    std::map<std::string, std::string> headers; // names in small letters; of a repeated one the first
    std::string body;
    bool isAmbiguous = false; // a header came twice
    std::string remote;       // the client's numeric address, without the port

    // Empty where there is none of the name.
    std::string header(const std::string& name) const;
    std::optional<std::string> parameter(const std::string& name) const;
};

// An answer's body that comes by and by. read() is called on the server's thread and returns at once.
class IBodySource {
public:
    enum class Step { Some, Wait, End, Broken };

    virtual ~IBodySource() = default;
    // Puts what there is into `buffer`, `size` bytes at most. Wait: there is nothing now, and the waker that
    // was given is called when there may be. Broken: the connection is closed in the middle of the body.
    virtual Step read(char* buffer, std::size_t size, std::size_t& count) = 0;
    // `wake` may be called from any thread, also after the client has gone, and also by read().
    virtual void setWaker(std::function<void()> wake) = 0;
};

struct SHttpAnswer {
    int status = 200;
    std::vector<std::pair<std::string, std::string>> headers;
    std::shared_ptr<const std::string> body;
    std::unique_ptr<IBodySource> source; // in place of a body

    static SHttpAnswer of(int status, const std::string& contentType, std::string body);
};

} // namespace corvane::service
