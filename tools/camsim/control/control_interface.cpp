#include "control/control_interface.h"

#include "control/control_routes.h"

#include <sys/epoll.h>
#include <unistd.h>

namespace camsim {
namespace {

constexpr size_t LongestCommand = 1024 * 1024;
constexpr size_t LongestCommandHeader = 32 * 1024;
// In bytes. One excerpt of the request log stays below this; only with a second one unread are long answers
// refused.
constexpr size_t MostOfTheLog = CRequestLog::SCapacity::OrdinaryExcerpt;

sockaddr_in Loopback(uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

MHD_Result Collect(void* values, MHD_ValueKind, const char* name, const char* value) {
    static_cast<Parameters*>(values)->emplace_back(name, value == nullptr ? "" : value);
    return MHD_YES;
}

} // namespace

CControlInterface::CControlInterface(SParts parts, uint16_t port, const SLimits& limits)
    : parts_(parts),
      socket_(Loopback(port)),
      daemon_(loop_,
              {limits.times, limits.connections, LongestCommand, LongestCommandHeader, MostOfTheLog,
               "the control interface"},
              {this, &CControlInterface::onRequest, &CControlInterface::onCompleted, nullptr, nullptr}) {
    daemon_.start();
    watch();
    loop_.start();
}

CControlInterface::~CControlInterface() {
    loop_.stop();
}

void CControlInterface::watch() {
    loop_.watch(socket_.fd(), EPOLLIN, [this] { accept(); });
}

void CControlInterface::accept() {
    const auto take = [this](int fd, const sockaddr_in& peer) {
        if (daemon_.hasRoom())
            daemon_.add(fd, peer);
        else
            close(fd);
    };
    if (AcceptAll(socket_.fd(), take))
        return;
    outOfDescriptors.say();
    loop_.unwatch(socket_.fd());
    loop_.after(DescriptorPause, [this] { watch(); });
}

MHD_Result CControlInterface::onRequest(void* self, MHD_Connection* connection, const char* url,
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
    SControlRequest request{method, url, {}, {}, std::move(body)};
    MHD_get_connection_values(connection, MHD_GET_ARGUMENT_KIND, &Collect, &request.query);
    MHD_get_connection_values(connection, MHD_HEADER_KIND, &Collect, &request.headers);
    auto& interface = *static_cast<CControlInterface*>(self);
    const SControlReply reply = AnswerControl(interface.parts_, request);
    // Logged requests may hold any bytes. Those that are no UTF-8 become replacement characters, since JSON
    // cannot hold them.
    SHttpReply answer{reply.status,
                      reply.json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n",
                      {{MHD_HTTP_HEADER_CONTENT_TYPE, "application/json"}}};
    // Only requests that change nothing may be refused here: the change has been made already.
    if (request.method == MHD_HTTP_METHOD_GET && interface.daemon_.answersPileUp(answer.body.size())) {
        answer.status = MHD_HTTP_SERVICE_UNAVAILABLE;
        answer.body = "{\"error\":\"clients leave too many answers unread\"}\n";
    }
    return interface.daemon_.answer(connection, answer);
}

void CControlInterface::onCompleted(void*, MHD_Connection*, void** context, MHD_RequestTerminationCode) {
    delete static_cast<std::string*>(*context);
    *context = nullptr;
}

} // namespace camsim
