#include "control_interface.h"

#include "control_routes.h"

namespace camsim {
namespace {

constexpr size_t longestBody = size_t{128} * 1024 * 1024;

sockaddr_in loopback(uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

MHD_Result collectQuery(void* query, MHD_ValueKind, const char* name, const char* value) {
    static_cast<Parameters*>(query)->emplace_back(name, value == nullptr ? "" : value);
    return MHD_YES;
}

} // namespace

ControlInterface::ControlInterface(Parts parts, uint16_t port) : parts_(parts) {
    ListeningSocket socket(loopback(port));
    address_ = socket.address();
    daemon_ =
        MHD_start_daemon(MHD_USE_POLL_INTERNAL_THREAD, 0, nullptr, nullptr, &ControlInterface::onRequest,
                         this, MHD_OPTION_LISTEN_SOCKET, socket.fd(), MHD_OPTION_NOTIFY_COMPLETED,
                         &ControlInterface::onCompleted, this, MHD_OPTION_END);
    if (daemon_ == nullptr)
        throw SocketError("the control interface's HTTP daemon does not start");
    socket.release();
}

ControlInterface::~ControlInterface() {
    MHD_stop_daemon(daemon_);
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
        if (body.size() + *uploadSize > longestBody)
            return MHD_NO;
        body.append(upload, *uploadSize);
        *uploadSize = 0;
        return MHD_YES;
    }
    ControlRequest request{method, url, {}, std::move(body)};
    MHD_get_connection_values(connection, MHD_GET_ARGUMENT_KIND, &collectQuery, &request.query);
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
