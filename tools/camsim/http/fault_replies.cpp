#include "http/fault_replies.h"

#include "net/sockets.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <sys/socket.h>

namespace camsim {
namespace {

constexpr size_t ordinaryGarbage = 64;
constexpr size_t readerBlock = 16384;

MHD_Result queue(MHD_Connection* connection, unsigned status, MHD_Response* response) {
    const MHD_Result result = MHD_queue_response(connection, status, response);
    MHD_destroy_response(response);
    return result;
}

void addHeaders(MHD_Response* response, const HttpReply& reply) {
    for (const auto& [name, value] : reply.headers)
        MHD_add_response_header(response, name, value.c_str());
}

/// The same bytes for the same fault, so that a run can be repeated.
std::string arbitraryBytes(size_t size, uint64_t seed) {
    std::mt19937_64 random(seed);
    std::string bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random() & 0xff); });
    return bytes;
}

/// A body of which the first bytes go out, and then, after a wait or never, the rest.
class HeldBody {
public:
    HeldBody(std::string body, size_t first, FaultScene scene)
        : body_(std::move(body)), first_(first), scene_(scene) {}
    virtual ~HeldBody() = default;

    const std::string& body() const { return body_; }

    static ssize_t read(void* self, uint64_t position, char* buffer, size_t room) {
        return static_cast<HeldBody*>(self)->read(position, buffer, room);
    }
    static void destroy(void* self) { delete static_cast<HeldBody*>(self); }

protected:
    /// Called when the first bytes have gone out: 0 to be called again later, 1 to go on, or the reader's
    /// error.
    virtual ssize_t hold(FaultScene& scene) = 0;

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
    FaultScene scene_;
};

class CutBody : public HeldBody {
    using HeldBody::HeldBody;
    ssize_t hold(FaultScene&) override { return MHD_CONTENT_READER_END_WITH_ERROR; }
};

class StalledBody : public HeldBody {
public:
    StalledBody(std::string body, size_t first, FaultScene scene, std::optional<int64_t> milliseconds)
        : HeldBody(std::move(body), first, scene) {
        if (milliseconds)
            duration_ = std::chrono::milliseconds(*milliseconds);
    }

private:
    ssize_t hold(FaultScene& scene) override {
        if (!parked_) {
            parked_ = true;
            outcome_ = ParkedConnections::Outcome::Stopped;
            if (scene.parked.park(scene.connection, scene.fd, duration_, &outcome_))
                return 0;
        }
        if (outcome_ == ParkedConnections::Outcome::Stopped)
            return MHD_CONTENT_READER_END_WITH_ERROR;
        // The daemon notices a client that is gone by a write that fails; an error told here would leave the
        // connection open, since nothing more happens on it.
        if (outcome_ == ParkedConnections::Outcome::HungUp)
            shutdown(scene.fd, SHUT_RDWR);
        return 1;
    }

    std::optional<std::chrono::milliseconds> duration_;
    bool parked_ = false;
    ParkedConnections::Outcome outcome_{};
};

MHD_Result sendHeld(std::unique_ptr<HeldBody> held, const HttpReply& reply, MHD_Connection* connection) {
    const uint64_t size = held->body().size();
    HeldBody* const body = held.release();
    MHD_Response* response =
        MHD_create_response_from_callback(size, readerBlock, &HeldBody::read, body, &HeldBody::destroy);
    if (response == nullptr) {
        HeldBody::destroy(body);
        return MHD_NO;
    }
    addHeaders(response, reply);
    return queue(connection, reply.status, response);
}

/// A body that is at least one byte longer than what is let out of it, or nothing would be missing.
std::string bodyBeyond(std::string body, size_t bytes) {
    if (body.size() <= bytes)
        body.append(bytes + 1 - body.size(), ' ');
    return body;
}

using Sender = MHD_Result (*)(const Fault&, const HttpReply&, FaultScene, std::optional<unsigned>& status);

MHD_Result sendAsItIs(const Fault&, const HttpReply& reply, FaultScene scene,
                      std::optional<unsigned>& status) {
    status = reply.status;
    return sendReply(scene.connection, reply);
}

MHD_Result sendStatus(const Fault& fault, const HttpReply& reply, FaultScene scene,
                      std::optional<unsigned>& status) {
    HttpReply changed = reply;
    changed.status = fault.status;
    changed.body = fault.body.value_or("");
    return sendAsItIs(fault, changed, scene, status);
}

MHD_Result sendBody(const Fault& fault, const HttpReply& reply, FaultScene scene,
                    std::optional<unsigned>& status) {
    HttpReply changed = reply;
    changed.body = fault.body ? *fault.body : arbitraryBytes(fault.size.value_or(0), fault.id);
    return sendAsItIs(fault, changed, scene, status);
}

MHD_Result drop(const Fault&, const HttpReply&, FaultScene, std::optional<unsigned>&) {
    return MHD_NO;
}

MHD_Result reset(const Fault&, const HttpReply&, FaultScene scene, std::optional<unsigned>&) {
    resetSocket(scene.fd);
    return MHD_NO;
}

MHD_Result cut(const Fault& fault, const HttpReply& reply, FaultScene scene,
               std::optional<unsigned>& status) {
    const size_t first = fault.bytes.value_or(0);
    status = reply.status;
    return sendHeld(std::make_unique<CutBody>(bodyBeyond(reply.body, first), first, scene), reply,
                    scene.connection);
}

MHD_Result stall(const Fault& fault, const HttpReply& reply, FaultScene scene,
                 std::optional<unsigned>& status) {
    const size_t first = fault.bytes.value_or(0);
    status = reply.status;
    return sendHeld(
        std::make_unique<StalledBody>(bodyBeyond(reply.body, first), first, scene, fault.milliseconds), reply,
        scene.connection);
}

MHD_Result garbage(const Fault& fault, const HttpReply&, FaultScene scene, std::optional<unsigned>&) {
    const std::string bytes = arbitraryBytes(fault.size.value_or(ordinaryGarbage), fault.id);
    send(scene.fd, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    return MHD_NO;
}

struct KindSender {
    FaultKind kind;
    Sender send;
    bool letsThrough;
};
constexpr KindSender senders[] = {
    {FaultKind::Delay, sendAsItIs, true},
    {FaultKind::Status, sendStatus, false},
    {FaultKind::Drop, drop, false},
    {FaultKind::Reset, reset, false},
    {FaultKind::Cut, cut, true},
    {FaultKind::Stall, stall, true},
    {FaultKind::Garbage, garbage, false},
    {FaultKind::Body, sendBody, false},
    {FaultKind::Stale, sendAsItIs, false},
    {FaultKind::Empty, sendAsItIs, false},
    // What hits monitors changes nothing of an answer that refuses one.
    {FaultKind::Silence, sendAsItIs, true},
    {FaultKind::Close, sendAsItIs, true},
    {FaultKind::Split, sendAsItIs, true},
    {FaultKind::WrongCase, sendAsItIs, true},
};

const KindSender& senderOf(FaultKind kind) {
    return *std::find_if(std::begin(senders), std::end(senders),
                         [&](const KindSender& sender) { return sender.kind == kind; });
}

} // namespace

MHD_Result sendReply(MHD_Connection* connection, const HttpReply& reply) {
    MHD_Response* response = MHD_create_response_from_buffer(
        reply.body.size(), const_cast<char*>(reply.body.data()), MHD_RESPMEM_MUST_COPY);
    if (response == nullptr)
        return MHD_NO;
    addHeaders(response, reply);
    return queue(connection, reply.status, response);
}

bool letsTheRequestThrough(FaultKind kind) {
    return senderOf(kind).letsThrough;
}

MHD_Result sendFault(const Fault& fault, const HttpReply& reply, FaultScene scene,
                     std::optional<unsigned>& status) {
    return senderOf(fault.kind).send(fault, reply, scene, status);
}

} // namespace camsim
