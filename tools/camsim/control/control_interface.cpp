#include "control/control_interface.h"

#include "control/control_routes.h"

#include <sys/epoll.h>
#include <unistd.h>

namespace camsim {
namespace {

constexpr size_t longestBody = 1024 * 1024;
constexpr size_t longestHeader = 32 * 1024;

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
      daemon_(loop_, {limits.times, limits.connections, longestBody, longestHeader, "the control interface"},
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
    const ControlReply reply = answerControl(static_cast<ControlInterface*>(self)->parts_, request);
    // What clients sent may be any bytes; those that are no UTF-8 are shown as such and do not spoil the
    // answer.
    const std::string text = reply.json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
    return sendReply(connection, {reply.status, text, {{MHD_HTTP_HEADER_CONTENT_TYPE, "application/json"}}});
}

void ControlInterface::onCompleted(void*, MHD_Connection*, void** context, MHD_RequestTerminationCode) {
    delete static_cast<std::string*>(*context);
    *context = nullptr;
}

} // namespace camsim
