#include "control/control_interface.h"

#include "control/control_routes.h"

#include <sys/epoll.h>
#include <unistd.h>

namespace camsim {
namespace {

constexpr size_t longestBody = 1024 * 1024;
constexpr size_t longestHeader = 32 * 1024;
/// Two excerpts of the request log: the first of them alone does not reach it.
constexpr size_t mostUnread = RequestLog::Capacity::ordinaryExcerpt;

sockaddr_in loopback(uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

MHD_Result collect(void* values, MHD_ValueKind, const char* name, const char* value) {
    static_cast<Parameters*>(values)->emplace_back(name, value == nullptr ? "" : value);
    return MHD_YES;
}

} // namespace

ControlInterface::ControlInterface(Parts parts, uint16_t port, const Limits& limits)
    : parts_(parts),
      socket_(loopback(port)),
      daemon_(
          loop_,
          {limits.times, limits.connections, longestBody, longestHeader, mostUnread, "the control interface"},
          {this, &ControlInterface::onRequest, &ControlInterface::onCompleted, nullptr, nullptr}) {
    daemon_.start();
    watch();
    loop_.start();
}

ControlInterface::~ControlInterface() {
    loop_.stop();
}

void ControlInterface::watch() {
    loop_.watch(socket_.fd(), EPOLLIN, [this] { accept(); });
}

void ControlInterface::accept() {
    const auto take = [this](int fd, const sockaddr_in& peer) {
        if (daemon_.hasRoom())
            daemon_.add(fd, peer);
        else
            close(fd);
    };
    if (acceptAll(socket_.fd(), take))
        return;
    outOfDescriptors.say();
    loop_.unwatch(socket_.fd());
    loop_.after(descriptorPause, [this] { watch(); });
}

MHD_Result ControlInterface::onRequest(void* self, MHD_Connection* connection, const char* url,
                                       const char* method, const char*, const char* upload,
                                       size_t* uploadSize, void** context) {
    if (*context == nullptr) {
        *context = new std::string;
        return MHD_YES;
    }
    auto& body = *static_cast<std::string*>(*context);
    if (*uploadSize != 0) {
        body.append(upload, *uploadSize);
        *uploadSize = 0;
        return MHD_YES;
    }
    ControlRequest request{method, url, {}, {}, std::move(body)};
    MHD_get_connection_values(connection, MHD_GET_ARGUMENT_KIND, &collect, &request.query);
    MHD_get_connection_values(connection, MHD_HEADER_KIND, &collect, &request.headers);
    auto& interface = *static_cast<ControlInterface*>(self);
    const ControlReply reply = answerControl(interface.parts_, request);
    // What clients sent may be any bytes; those that are no UTF-8 are shown as such and do not spoil the
    // answer.
    HttpReply answer{reply.status,
                     reply.json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n",
                     {{MHD_HTTP_HEADER_CONTENT_TYPE, "application/json"}}};
    // Where something was changed the answer must say so.
    if (request.method == MHD_HTTP_METHOD_GET && interface.daemon_.answersPileUp(answer.body.size())) {
        answer.status = MHD_HTTP_SERVICE_UNAVAILABLE;
        answer.body = "{\"error\":\"clients leave too many answers unread\"}\n";
    }
    return interface.daemon_.answer(connection, answer);
}

void ControlInterface::onCompleted(void*, MHD_Connection*, void** context, MHD_RequestTerminationCode) {
    delete static_cast<std::string*>(*context);
    *context = nullptr;
}

} // namespace camsim
