#include "http/fault_replies.h"

#include "model/arbitrary_bytes.h"
#include "model/texts.h"
#include "net/sockets.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <memory>
#include <sys/socket.h>

namespace camsim {
namespace {

constexpr size_t ReaderBlock = 16384;
constexpr size_t DamagedBytes = 64;

MHD_Result Queue(MHD_Connection* connection, unsigned status, MHD_Response* response) {
    const MHD_Result result = MHD_queue_response(connection, status, response);
    MHD_destroy_response(response);
    return result;
}

void AddHeaders(MHD_Response* response, const SHttpReply& reply) {
    for (const auto& [name, value] : reply.headers)
        MHD_add_response_header(response, name, value.c_str());
}

// A body of which the first bytes go out, and then, after a wait or never, the rest.
class CHeldBody {
public:
    CHeldBody(std::string body, size_t first, SFaultScene scene)
        : body_(std::move(body)), first_(first), scene_(scene) {}
    virtual ~CHeldBody() = default;

    const std::string& body() const { return body_; }

    static ssize_t read(void* self, uint64_t position, char* buffer, size_t room) {
        return static_cast<CHeldBody*>(self)->read(position, buffer, room);
    }
    static void destroy(void* self) { delete static_cast<CHeldBody*>(self); }

protected:
    // Called when the first bytes have gone out. Returns 0 to be called again later, 1 to send the rest, or
    // an error code of libmicrohttpd to end the connection.
    virtual ssize_t hold(SFaultScene& scene) = 0;

private:
    ssize_t read(uint64_t position, char* buffer, size_t room) {
        size_t end = first_;
        if (position >= first_) {
            const ssize_t held = hold(scene_);
            if (held != 1)
                return held;
            end = body_.size();
        }
        const size_t size = std::min(room, end - static_cast<size_t>(position));
        std::memcpy(buffer, body_.data() + position, size);
        return static_cast<ssize_t>(size);
    }

    const std::string body_;
    const size_t first_;
    SFaultScene scene_;
};

class CCutBody : public CHeldBody {
    using CHeldBody::CHeldBody;
    ssize_t hold(SFaultScene&) override { return MHD_CONTENT_READER_END_WITH_ERROR; }
};

class CStalledBody : public CHeldBody {
public:
    CStalledBody(std::string body, size_t first, SFaultScene scene, std::optional<int64_t> milliseconds)
        : CHeldBody(std::move(body), first, scene) {
        if (milliseconds)
            duration_ = std::chrono::milliseconds(*milliseconds);
    }

private:
    ssize_t hold(SFaultScene& scene) override {
        if (!parked_) {
            parked_ = true;
            outcome_ = CParkedConnections::Outcome::Stopped;
            if (scene.parked.park(scene.connection, scene.fd, duration_, &outcome_))
                return 0;
        }
        if (outcome_ == CParkedConnections::Outcome::Stopped)
            return MHD_CONTENT_READER_END_WITH_ERROR;
        // libmicrohttpd notices that a client is gone only when a write fails. After an error code it would
        // wait for something to happen on the connection, and nothing more does.
        if (outcome_ == CParkedConnections::Outcome::HungUp)
            shutdown(scene.fd, SHUT_RDWR);
        return 1;
    }

    std::optional<std::chrono::milliseconds> duration_;
    bool parked_ = false;
    CParkedConnections::Outcome outcome_{};
};

// A body that comes some bytes at a time, each after a wait.
class CTrickledBody {
public:
    CTrickledBody(std::string body, size_t bytes, std::chrono::milliseconds pause, SFaultScene scene)
        : body_(std::move(body)), bytes_(bytes), pause_(pause), scene_(scene) {}

    const std::string& body() const { return body_; }

    static ssize_t read(void* self, uint64_t position, char* buffer, size_t room) {
        return static_cast<CTrickledBody*>(self)->read(position, buffer, room);
    }
    static void destroy(void* self) { delete static_cast<CTrickledBody*>(self); }

private:
    ssize_t read(uint64_t position, char* buffer, size_t room) {
        if (!waited_) {
            waited_ = true;
            outcome_ = CParkedConnections::Outcome::Stopped;
            if (scene_.parked.park(scene_.connection, scene_.fd, pause_, &outcome_))
                return 0;
        }
        if (outcome_ == CParkedConnections::Outcome::Stopped)
            return MHD_CONTENT_READER_END_WITH_ERROR;
        if (outcome_ == CParkedConnections::Outcome::HungUp)
            shutdown(scene_.fd, SHUT_RDWR); // as in CStalledBody
        waited_ = false;
        return static_cast<ssize_t>(body_.copy(buffer, std::min(room, bytes_), position));
    }

    const std::string body_;
    const size_t bytes_;
    const std::chrono::milliseconds pause_;
    SFaultScene scene_;
    bool waited_ = false;
    CParkedConnections::Outcome outcome_{};
};

template <typename Body>
MHD_Result SendHeld(std::unique_ptr<Body> held, const SHttpReply& reply, MHD_Connection* connection) {
    const uint64_t size = held->body().size();
    Body* const body = held.release();
    MHD_Response* response =
        MHD_create_response_from_callback(size, ReaderBlock, &Body::read, body, &Body::destroy);
    if (response == nullptr) {
        Body::destroy(body);
        return MHD_NO;
    }
    AddHeaders(response, reply);
    return Queue(connection, reply.status, response);
}

// The body, lengthened where needed to be longer than the `bytes` that are sent of it: a cut must leave
// something out.
std::string BodyBeyond(std::string body, size_t bytes) {
    if (body.size() <= bytes)
        body.append(bytes + 1 - body.size(), ' ');
    return body;
}

using Sender = MHD_Result (*)(const SFault&, const SHttpReply&, SFaultScene, std::optional<unsigned>& status);

MHD_Result SendAsItIs(const SFault&, const SHttpReply& reply, SFaultScene scene,
                      std::optional<unsigned>& status) {
    status = reply.status;
    return SendReply(scene.connection, reply);
}

// What the request named the camera, and what it asked for, may stand in it.
std::string LocationFor(std::string location, const SFaultScene& scene) {
    const char* host = MHD_lookup_connection_value(scene.connection, MHD_HEADER_KIND, MHD_HTTP_HEADER_HOST);
    ReplaceAll(location, "{host}", host == nullptr ? "" : host);
    ReplaceAll(location, "{target}", scene.target);
    return location;
}

MHD_Result SendStatus(const SFault& fault, const SHttpReply& reply, SFaultScene scene,
                      std::optional<unsigned>& status) {
    SHttpReply changed = reply;
    changed.status = fault.status;
    changed.body = fault.body.value_or("");
    if (fault.location)
        changed.headers.emplace_back(MHD_HTTP_HEADER_LOCATION, LocationFor(*fault.location, scene));
    if (fault.challenge)
        changed.headers.emplace_back(MHD_HTTP_HEADER_WWW_AUTHENTICATE, *fault.challenge);
    return SendAsItIs(fault, changed, scene, status);
}

MHD_Result SendBody(const SFault& fault, const SHttpReply& reply, SFaultScene scene,
                    std::optional<unsigned>& status) {
    SHttpReply changed = reply;
    changed.body = fault.body ? *fault.body : ArbitraryBytes(fault.size.value_or(0), fault.id);
    return SendAsItIs(fault, changed, scene, status);
}

MHD_Result SendTruncated(const SFault& fault, const SHttpReply& reply, SFaultScene scene,
                         std::optional<unsigned>& status) {
    SHttpReply changed = reply;
    changed.body.resize(std::min(changed.body.size(), fault.bytes.value_or(0)));
    return SendAsItIs(fault, changed, scene, status);
}

// The bytes take the place of those in the midst, a zero among them.
MHD_Result SendDamaged(const SFault& fault, const SHttpReply& reply, SFaultScene scene,
                       std::optional<unsigned>& status) {
    SHttpReply changed = reply;
    const std::string bytes = ArbitraryBytes(DamagedBytes - 1, fault.id) + '\0';
    changed.body.replace(changed.body.size() / 2, bytes.size(), bytes);
    return SendAsItIs(fault, changed, scene, status);
}

MHD_Result SendWrongCase(const SFault& fault, const SHttpReply& reply, SFaultScene scene,
                         std::optional<unsigned>& status) {
    SHttpReply changed = reply;
    for (char& c : changed.body)
        if (std::isalpha(static_cast<unsigned char>(c)))
            c = static_cast<char>(c ^ ('a' ^ 'A'));
    return SendAsItIs(fault, changed, scene, status);
}

MHD_Result Drop(const SFault&, const SHttpReply&, SFaultScene, std::optional<unsigned>&) {
    return MHD_NO;
}

MHD_Result Reset(const SFault&, const SHttpReply&, SFaultScene scene, std::optional<unsigned>&) {
    ResetSocket(scene.fd);
    return MHD_NO;
}

MHD_Result Cut(const SFault& fault, const SHttpReply& reply, SFaultScene scene,
               std::optional<unsigned>& status) {
    const size_t first = fault.bytes.value_or(0);
    status = reply.status;
    return SendHeld(std::make_unique<CCutBody>(BodyBeyond(reply.body, first), first, scene), reply,
                    scene.connection);
}

MHD_Result Stall(const SFault& fault, const SHttpReply& reply, SFaultScene scene,
                 std::optional<unsigned>& status) {
    const size_t first = fault.bytes.value_or(0);
    status = reply.status;
    return SendHeld(
        std::make_unique<CStalledBody>(BodyBeyond(reply.body, first), first, scene, fault.milliseconds),
        reply, scene.connection);
}

MHD_Result Trickle(const SFault& fault, const SHttpReply& reply, SFaultScene scene,
                   std::optional<unsigned>& status) {
    const std::chrono::milliseconds pause(fault.milliseconds.value_or(0));
    status = reply.status;
    return SendHeld(std::make_unique<CTrickledBody>(reply.body, std::max(size_t{1}, fault.bytes.value_or(1)),
                                                    pause, scene),
                    reply, scene.connection);
}

MHD_Result SendPastTheDaemon(const std::string& bytes, SFaultScene scene) {
    send(scene.fd, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    return MHD_NO;
}

MHD_Result Garbage(const SFault& fault, const SHttpReply&, SFaultScene scene, std::optional<unsigned>&) {
    return SendPastTheDaemon(GarbageOf(fault), scene);
}

// libmicrohttpd keeps a header in the few kilobytes that a connection has.
MHD_Result SendHeader(const SFault& fault, const SHttpReply&, SFaultScene scene, std::optional<unsigned>&) {
    constexpr std::string_view Line = "X-Filler: as many bytes as a line of a header is long\r\n";
    std::string header = "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n";
    while (header.size() < fault.size.value_or(0))
        header += Line;
    return SendPastTheDaemon(header + "\r\n", scene);
}

struct SKindSender {
    FaultKind kind;
    Sender send;
    bool letsThrough;
};
constexpr SKindSender Senders[] = {
    {FaultKind::Delay, SendAsItIs, true},
    {FaultKind::Clock, SendAsItIs, true},
    {FaultKind::Status, SendStatus, false},
    {FaultKind::Drop, Drop, false},
    {FaultKind::Reset, Reset, false},
    {FaultKind::Cut, Cut, true},
    {FaultKind::Stall, Stall, true},
    {FaultKind::Trickle, Trickle, true},
    {FaultKind::Garbage, Garbage, false},
    {FaultKind::Header, SendHeader, false},
    {FaultKind::Body, SendBody, false},
    {FaultKind::Truncate, SendTruncated, true},
    {FaultKind::Damage, SendDamaged, true},
    {FaultKind::WrongCase, SendWrongCase, true},
    {FaultKind::Empty, SendAsItIs, false},
    // The server deals with these itself.
    {FaultKind::Stale, SendAsItIs, false},
    {FaultKind::Deny, SendAsItIs, false},
    {FaultKind::Basic, SendAsItIs, false},
    {FaultKind::Restart, SendAsItIs, false},
    {FaultKind::Alter, SendAsItIs, true},
    {FaultKind::Revert, SendAsItIs, true},
    {FaultKind::Swap, SendAsItIs, false},
    {FaultKind::Tls, Drop, false},
    // These faults belong to a monitor that is open. A request for one that is refused gets its usual answer.
    {FaultKind::Silence, SendAsItIs, true},
    {FaultKind::Close, SendAsItIs, true},
    {FaultKind::Split, SendAsItIs, true},
    {FaultKind::Chatter, SendAsItIs, true},
    {FaultKind::Alternate, SendAsItIs, true},
    {FaultKind::Flood, SendAsItIs, true},
};

const SKindSender& SenderOf(FaultKind kind) {
    return *std::find_if(std::begin(Senders), std::end(Senders),
                         [&](const SKindSender& sender) { return sender.kind == kind; });
}

} // namespace

MHD_Result SendReply(MHD_Connection* connection, const SHttpReply& reply) {
    MHD_Response* response = MHD_create_response_from_buffer(
        reply.body.size(), const_cast<char*>(reply.body.data()), MHD_RESPMEM_MUST_COPY);
    if (response == nullptr)
        return MHD_NO;
    AddHeaders(response, reply);
    return Queue(connection, reply.status, response);
}

bool LetsTheRequestThrough(FaultKind kind) {
    return SenderOf(kind).letsThrough;
}

MHD_Result SendFault(const SFault& fault, const SHttpReply& reply, SFaultScene scene,
                     std::optional<unsigned>& status) {
    return SenderOf(fault.kind).send(fault, reply, scene, status);
}

} // namespace camsim
