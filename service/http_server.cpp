#include "service/http_server.h"

#include "service/problem_answer.h"

#include <microhttpd.h>

#include <algorithm>
#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <netdb.h>
#include <netinet/in.h>
#include <optional>
#include <set>
#include <sys/resource.h>
#include <system_error>
#include <utility>

namespace corvane::service {
namespace {

constexpr std::size_t MostDiscarded = 1024 * 1024; // of a body that is too large
constexpr std::size_t SourceBlock = 16 * 1024;
constexpr std::size_t StackBytes = 256 * 1024;

// Whether an escape of the path stands for a slash or for a text's end: decoded, it would be another path.
bool HidesAnEnd(const std::string& target) {
    const std::string path = SmallLetters(target.substr(0, target.find('?')));
    return path.find("%2f") != std::string::npos || path.find("%00") != std::string::npos;
}

sockaddr_storage SocketAddress(const SListenAddress& address) {
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(address.host.c_str(), std::to_string(address.port).c_str(), &hints, &found) != 0)
        throw CHttpServerError(address.text() + " is no numeric address");
    sockaddr_storage storage{};
    std::memcpy(&storage, found->ai_addr, found->ai_addrlen);
    freeaddrinfo(found);
    return storage;
}

std::string TextOf(const sockaddr* address) {
    char text[INET6_ADDRSTRLEN] = "";
    if (address && address->sa_family == AF_INET)
        inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in*>(address)->sin_addr, text, sizeof text);
    else if (address && address->sa_family == AF_INET6)
        inet_ntop(AF_INET6, &reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr, text, sizeof text);
    return text;
}

MHD_Result CollectQuery(void* request, MHD_ValueKind /*kind*/, const char* name, const char* value) {
    static_cast<SHttpRequest*>(request)->query.emplace(name, value ? value : "");
    return MHD_YES;
}

MHD_Result CollectHeader(void* request, MHD_ValueKind /*kind*/, const char* name, const char* value) {
    auto& itself = *static_cast<SHttpRequest*>(request);
    const bool isNew = itself.headers.emplace(SmallLetters(name), value ? value : "").second;
    itself.isAmbiguous = itself.isAmbiguous || !isNew;
    return MHD_YES;
}

struct SResponseEnd {
    void operator()(MHD_Response* response) const { MHD_destroy_response(response); }
};
using Response = std::unique_ptr<MHD_Response, SResponseEnd>;

} // namespace

std::string SListenAddress::text() const {
    const bool isSix = host.find(':') != std::string::npos;
    return (isSix ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

bool SListenAddress::isLoopback() const {
    return host.compare(0, 4, "127.") == 0 || host == "::1";
}

// One request, from its first line to the end of its answer.
class CHttpServer::CCall : public std::enable_shared_from_this<CCall> {
public:
    explicit CCall(MHD_Connection* connection) : connection_(connection) {}

    SHttpRequest request;
    bool isRead = false; // the header; belongs to the server's thread, as the next four do
    bool isDispatched = false;
    bool isTooLarge = false;
    std::size_t received = 0;
    std::size_t kept = 0; // of the body, in memory

    // Of another thread, or of the server's own.
    void answer(SHttpAnswer answer) {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!connection_ || answer_)
            return;
        answer_ = std::move(answer);
        resume();
    }

    // On the server's thread: what was answered, or nothing, and then the connection sleeps.
    std::optional<SHttpAnswer> takeAnswerOrSleep() {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!answer_ && !isEnded_) {
            MHD_suspend_connection(connection_);
            isAsleep_ = true;
        }
        return std::exchange(answer_, std::nullopt);
    }

    void wake() {
        const std::lock_guard<std::mutex> lock(mutex_);
        isWoken_ = true;
        resume();
    }

    bool isEnded() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return isEnded_;
    }

    // Nothing more is answered.
    void end() {
        const std::lock_guard<std::mutex> lock(mutex_);
        isEnded_ = true;
        resume();
    }

    // MHD has let go of the connection.
    void forget() {
        const std::lock_guard<std::mutex> lock(mutex_);
        connection_ = nullptr;
    }

    ssize_t read(IBodySource& source, char* buffer, std::size_t size) {
        while (!isEnded()) {
            std::size_t count = 0;
            switch (source.read(buffer, size, count)) {
            case IBodySource::Step::Some:
                return static_cast<ssize_t>(count);
            case IBodySource::Step::End:
                return MHD_CONTENT_READER_END_OF_STREAM;
            case IBodySource::Step::Broken:
                return MHD_CONTENT_READER_END_WITH_ERROR;
            case IBodySource::Step::Wait:
                if (sleepUnlessWoken())
                    return 0;
            }
        }
        return MHD_CONTENT_READER_END_WITH_ERROR;
    }

private:
    bool sleepUnlessWoken() {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (std::exchange(isWoken_, false) || isEnded_)
            return false;
        MHD_suspend_connection(connection_);
        isAsleep_ = true;
        return true;
    }

    // REQUIRES: mutex_ held.
    void resume() {
        if (connection_ && std::exchange(isAsleep_, false))
            MHD_resume_connection(connection_);
    }

    mutable std::mutex mutex_;   // guards what follows
    MHD_Connection* connection_; // null when it has gone
    std::optional<SHttpAnswer> answer_;
    bool isAsleep_ = false;
    bool isWoken_ = false; // since the source was read last
    bool isEnded_ = false;
};

// Those that are under way; what MHD calls.
class CHttpServer::CCalls {
public:
    CCalls(Handler handler, const SHttpLimits& limits) : handler_(std::move(handler)), limits_(limits) {}

    static void* begin(void* /*calls*/, const char* target, MHD_Connection* connection) {
        auto call = std::make_shared<CCall>(connection);
        call->request.target = target;
        return new std::shared_ptr<CCall>(std::move(call)); // deleted by completed()
    }

    static MHD_Result take(void* calls, MHD_Connection* connection, const char* path, const char* method,
                           const char* /*version*/, const char* data, std::size_t* size, void** context) {
        return static_cast<CCalls*>(calls)->take(connection, path, method, data, size,
                                                 *static_cast<std::shared_ptr<CCall>*>(*context));
    }

    static void completed(void* calls, MHD_Connection* /*connection*/, void** context,
                          MHD_RequestTerminationCode /*code*/) {
        const std::unique_ptr<std::shared_ptr<CCall>> call(static_cast<std::shared_ptr<CCall>*>(*context));
        if (!call)
            return;
        (*call)->forget();
        static_cast<CCalls*>(calls)->receiving_ -= (*call)->kept;
        static_cast<CCalls*>(calls)->remove(*call);
        *context = nullptr;
    }

    void endAll() {
        const std::lock_guard<std::mutex> lock(mutex_);
        isEnded_ = true;
        for (const std::shared_ptr<CCall>& call : calls_)
            call->end();
    }

private:
    MHD_Result take(MHD_Connection* connection, const char* path, const char* method, const char* data,
                    std::size_t* size, const std::shared_ptr<CCall>& call) {
        if (!std::exchange(call->isRead, true))
            return readHeaders(connection, path, method, *call);
        if (*size > 0)
            return readBody(data, size, *call);
        if (!call->isDispatched) {
            call->isDispatched = true;
            add(call);
            if (call->isTooLarge)
                call->answer(tooLarge(call->request));
            else
                handler_(std::move(call->request),
                         [call](SHttpAnswer answer) { call->answer(std::move(answer)); });
        }
        auto answer = call->takeAnswerOrSleep();
        if (answer)
            return queue(connection, std::move(*answer), call);
        return call->isEnded() ? MHD_NO : MHD_YES;
    }

    static MHD_Result readHeaders(MHD_Connection* connection, const char* path, const char* method,
                                  CCall& call) {
        call.request.method = method;
        call.request.path = HidesAnEnd(call.request.target) ? call.request.target : path;
        MHD_get_connection_values(connection, MHD_GET_ARGUMENT_KIND, &CollectQuery, &call.request);
        MHD_get_connection_values(connection, MHD_HEADER_KIND, &CollectHeader, &call.request);
        const auto* const info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS);
        call.request.remote = info ? TextOf(info->client_addr) : "";
        return MHD_YES;
    }

    MHD_Result readBody(const char* data, std::size_t* size, CCall& call) {
        call.received += *size;
        call.isTooLarge = call.isTooLarge || call.received > limits_.largestBody;
        if (call.isTooLarge) {
            receiving_ -= std::exchange(call.kept, 0);
            std::string().swap(call.request.body);
        } else {
            call.kept += *size;
            if ((receiving_ += *size) > limits_.allBodies)
                return MHD_NO;
            call.request.body.append(data, *size);
        }
        *size = 0;
        return call.received > limits_.largestBody + MostDiscarded ? MHD_NO : MHD_YES;
    }

    SHttpAnswer tooLarge(const SHttpRequest& request) const {
        return CRefusal(MHD_HTTP_CONTENT_TOO_LARGE,
                        "the body is larger than " + std::to_string(limits_.largestBody) + " bytes")
            .answer(AskedOf(request));
    }

    struct SSourceOfCall {
        std::shared_ptr<CCall> call;
        std::unique_ptr<IBodySource> source;
    };

    static ssize_t readSource(void* place, std::uint64_t /*position*/, char* buffer, std::size_t size) {
        auto& one = *static_cast<SSourceOfCall*>(place);
        return one.call->read(*one.source, buffer, size);
    }

    static Response responseOf(SHttpAnswer& answer, const std::shared_ptr<CCall>& call) {
        if (answer.source) {
            auto place = std::make_unique<SSourceOfCall>(SSourceOfCall{call, std::move(answer.source)});
            place->source->setWaker([weak = std::weak_ptr<CCall>(call)] {
                if (const auto woken = weak.lock())
                    woken->wake();
            });
            Response response(MHD_create_response_from_callback(
                MHD_SIZE_UNKNOWN, SourceBlock, &readSource, place.get(),
                [](void* kept) { delete static_cast<SSourceOfCall*>(kept); }));
            if (response)
                (void)place.release(); // deleted with the response
            return response;
        }
        using Body = std::shared_ptr<const std::string>;
        auto body = std::make_unique<Body>(answer.body ? std::move(answer.body)
                                                       : std::make_shared<const std::string>());
        const std::string& text = **body;
        Response response(MHD_create_response_from_buffer_with_free_callback_cls(
            text.size(), const_cast<char*>(text.data()), [](void* kept) { delete static_cast<Body*>(kept); },
            body.get()));
        if (response)
            (void)body.release(); // likewise
        return response;
    }

    static MHD_Result queue(MHD_Connection* connection, SHttpAnswer answer,
                            const std::shared_ptr<CCall>& call) {
        const Response response = responseOf(answer, call);
        if (!response)
            return MHD_NO;
        for (const auto& [name, value] : answer.headers)
            MHD_add_response_header(response.get(), name.c_str(), value.c_str());
        return MHD_queue_response(connection, static_cast<unsigned>(answer.status), response.get());
    }

    void add(const std::shared_ptr<CCall>& call) {
        const std::lock_guard<std::mutex> lock(mutex_);
        calls_.insert(call);
        if (isEnded_)
            call->end();
    }

    void remove(const std::shared_ptr<CCall>& call) {
        const std::lock_guard<std::mutex> lock(mutex_);
        calls_.erase(call);
    }

    const Handler handler_;
    const SHttpLimits limits_;
    std::atomic<std::size_t> receiving_{0}; // bytes of bodies

    std::mutex mutex_; // guards what follows
    std::set<std::shared_ptr<CCall>> calls_;
    bool isEnded_ = false;
};

CHttpServer::CHttpServer(const std::vector<SListenAddress>& addresses, const STlsFiles& tls, Handler handler,
                         SHttpLimits limits)
    : limits_(limits), addresses_(addresses), calls_(std::make_unique<CCalls>(std::move(handler), limits)) {
    for (SListenAddress& address : addresses_)
        listen(address, tls);
}

CHttpServer::~CHttpServer() {
    // A connection that sleeps cannot be ended.
    calls_->endAll();
    for (MHD_Daemon* const daemon : daemons_)
        MHD_stop_daemon(daemon);
}

void CHttpServer::listen(SListenAddress& address, const STlsFiles& tls) {
    const sockaddr_storage storage = SocketAddress(address);
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    const auto half = static_cast<unsigned>(std::min<rlim_t>(files.rlim_cur / 2, limits_.connections));
    const bool isSecure = !tls.certificate.empty();
    std::vector<MHD_OptionItem> options = {
        {MHD_OPTION_SOCK_ADDR, 0, const_cast<sockaddr_storage*>(&storage)},
        {MHD_OPTION_CONNECTION_LIMIT, static_cast<std::intptr_t>(half / addresses_.size()), nullptr},
        {MHD_OPTION_CONNECTION_TIMEOUT, static_cast<std::intptr_t>(limits_.seconds), nullptr},
        {MHD_OPTION_CONNECTION_MEMORY_LIMIT, static_cast<std::intptr_t>(limits_.largestHeader), nullptr},
        {MHD_OPTION_STRICT_FOR_CLIENT, 1, nullptr},
        {MHD_OPTION_THREAD_STACK_SIZE, static_cast<std::intptr_t>(StackBytes), nullptr},
        {MHD_OPTION_URI_LOG_CALLBACK, reinterpret_cast<std::intptr_t>(&CCalls::begin), calls_.get()},
        {MHD_OPTION_NOTIFY_COMPLETED, reinterpret_cast<std::intptr_t>(&CCalls::completed), calls_.get()}};
    if (isSecure) {
        options.push_back({MHD_OPTION_HTTPS_MEM_CERT, 0, const_cast<char*>(tls.certificate.c_str())});
        options.push_back({MHD_OPTION_HTTPS_MEM_KEY, 0, const_cast<char*>(tls.key.c_str())});
        options.push_back(
            {MHD_OPTION_HTTPS_PRIORITIES, 0, const_cast<char*>("NORMAL:-VERS-TLS1.0:-VERS-TLS1.1")});
    }
    options.push_back({MHD_OPTION_END, 0, nullptr});
    unsigned flags = MHD_USE_EPOLL_INTERNAL_THREAD | MHD_ALLOW_SUSPEND_RESUME;
    flags |= storage.ss_family == AF_INET6 ? MHD_USE_IPv6 : 0;
    flags |= isSecure ? MHD_USE_TLS : 0;
    errno = 0;
    MHD_Daemon* const daemon =
        MHD_start_daemon(flags, address.port, nullptr, nullptr, &CCalls::take, calls_.get(), MHD_OPTION_ARRAY,
                         options.data(), MHD_OPTION_END);
    if (!daemon)
        throw CHttpServerError("cannot listen at " + address.text() + ": " +
                               (errno != 0 ? std::generic_category().message(errno)
                                           : "the certificate or the key is of a kind that cannot be used"));
    daemons_.push_back(daemon);
    address.port = MHD_get_daemon_info(daemon, MHD_DAEMON_INFO_BIND_PORT)->port;
}

} // namespace corvane::service
