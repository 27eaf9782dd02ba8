#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace camsim {

// A fault that cannot be set; the text names the member and what was expected.
class CFaultError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

enum class FaultKind {
    Delay,
    Clock,
    Status,
    Drop,
    Reset,
    Cut,
    Stall,
    Trickle,
    Garbage,
    Header,
    Body,
    Truncate,
    Damage,
    WrongCase,
    Empty,
    Stale,
    Deny,
    Basic,
    Restart,
    Alter,
    Revert,
    Swap,
    Tls,
    Refuse,
    Silence,
    Encode,
    Close,
    Split,
    Chatter,
    Alternate,
    Flood
};

// A monitor is an HTTP request whose reply stays open. A port is hit by connections, before anything is
// asked.
enum class FaultProtocol { Http, Monitor, Rtsp, Port };

// What stands for a path in the faults of ports.
constexpr const char* WebPort = "web-port";
constexpr const char* RtspPort = "rtsp-port";

// What goes wrong with a request, and with which.
struct SFault {
    uint64_t id = 0;
    std::string name; // of the row of the catalogue that it is a part of; empty when it is of none
    std::string path; // a shell pattern; it may match the path, or the path with its query
    std::optional<std::string> method;
    std::optional<size_t> camera;
    FaultKind kind = FaultKind::Empty;

    // delay: how long before the answer. stall: how long the answer stops, for ever if absent. garbage: how
    // long the connection stays open behind it. trickle, split, chatter, alternate: between two pieces.
    // restart: how long the camera is away. revert: how long a write holds. silence, close, cut, reset: how
    // long a monitor or an RTSP stream works before the fault.
    std::optional<int64_t> milliseconds;
    std::optional<int64_t> seconds; // clock: how far it is ahead
    unsigned status = 0;
    std::optional<std::string> location;  // where a 3xx points to; {host} and {target} are the request's
    std::optional<std::string> challenge; // of a 401
    std::optional<std::string> body;      // clock: the date that is told
    std::optional<size_t> size;           // body, garbage, header: that many bytes
    std::optional<size_t> bytes; // cut, stall: how much of the answer's body is sent before it; truncate: at
                                 // all; trickle: at a time
    std::optional<std::string> media; // silence: "audio" alone, all if absent
    // encode: as the stream is encoded instead.
    std::optional<std::string> codec;
    std::optional<int> width;
    std::optional<int> height;
    std::optional<int> rate;          // frames a second
    std::optional<std::string> model; // swap: of the camera that answers instead

    std::optional<uint64_t> count; // how many requests it still hits; without end if absent
    uint64_t skip = 0;             // how many matching requests it still lets pass
    std::optional<uint64_t> every; // only each so-many-th of those
    bool unauthorized = false;     // whether it also hits requests that would be answered 401
    bool written = false;          // whether it hits only a camera that has been written to meanwhile
    uint64_t hits = 0;

    uint64_t seen = 0;          // matching requests that were not skipped
    std::set<size_t> writtenTo; // cameras that have been written to since the fault was set
};

std::string_view FaultKindName(FaultKind kind);
// Whether it hits the connections to a port.
inline bool IsOfPort(const SFault& fault) {
    return fault.path == WebPort || fault.path == RtspPort;
}

// Reads a fault as the control interface takes it. Throws CFaultError.
SFault ParseFault(const nlohmann::json& json, size_t cameraCount);
// Reads "PATTERN KIND [key=value...]". Throws CFaultError.
SFault ParseFaultText(const std::string& text, size_t cameraCount);
nlohmann::json DescribeFault(const SFault& fault);

// What the faults do to one request.
struct SFaultOutcome {
    std::chrono::milliseconds delay{0};
    // The first matching fault that is neither a delay nor a wrong clock.
    std::optional<SFault> fault;
    std::optional<SFault> clock; // the first matching one
    // Names of all that hit, joined by "+"; empty when none did.
    std::string names;
};

// The faults that are set, in the order in which they were. Every operation may be called on any thread.
class CFaultList {
public:
    struct SRequest {
        FaultProtocol protocol;
        size_t camera;
        std::string_view method;
        const std::string& path;
        const std::string& target;
        bool authorized;
        bool digest;        // it carries good digest credentials
        bool begins = true; // it is the first of its stream
    };

    // Answers the fault's id. When there are as many as may be, the oldest goes that hits nothing any more;
    // throws CFaultError when every one still does.
    uint64_t add(SFault fault);
    // False when there is no such fault.
    bool remove(uint64_t id);
    // Nothing when there is no such fault.
    std::optional<SFault> find(uint64_t id) const;
    // Every part of the catalogue's row of this name that was set at this camera, or at all.
    void removeNamed(const std::string& name, std::optional<size_t> camera);
    void clear();
    std::vector<SFault> list() const;
    // Those of ports that still hit something.
    std::vector<SFault> listOfPorts() const;

    // Called after each change, on the thread that made it and without the list's lock. To be set before the
    // cameras are served.
    void onChange(std::function<void()> listener) { listener_ = std::move(listener); }

    // Which faults hit the request; counts them.
    SFaultOutcome take(const SRequest& request);

private:
    size_t removeIf(const std::function<bool(const SFault&)>& goes);
    void changed() const {
        if (listener_)
            listener_();
    }

    std::function<void()> listener_;
    mutable std::mutex mutex_;
    std::vector<SFault> faults_; // guarded by mutex_
    uint64_t last_ = 0;          // guarded by mutex_
};

} // namespace camsim
