#include "refhost/streams/rtsp_connection.h"

#include "operations/whole_number.h"
#include "refhost/base/address.h"
#include "refhost/streams/rtsp_errors.h"
#include "refhost/streams/rtsp_pipeline.h"

#include <algorithm>

namespace corvane::refhost {
namespace {

constexpr std::size_t ReadSize = std::size_t{16} << 10;
constexpr int StandardPort = 554;

// The caller's is taken.
CError ConnectionFailure(GError* error) {
    std::string text = std::string(rtsp_failure::NotConnected) + ": " + error->message;
    if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CONNECTION_CLOSED)) // reset as soon as it was taken
        text = rtsp_failure::Closed;
    if (error->domain == G_RESOLVER_ERROR)
        text = rtsp_failure::HostNotFound;
    else if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CONNECTION_REFUSED))
        text = rtsp_failure::Refused;
    else if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT))
        text = rtsp_failure::TimedOut;
    g_error_free(error);
    return NotAccessible(text);
}

// Otherwise the camera has closed the connection. The caller's is taken.
bool WouldBlock(GError* error) {
    const bool wouldBlock = g_error_matches(error, G_IO_ERROR, G_IO_ERROR_WOULD_BLOCK);
    const bool isClosed = g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CONNECTION_CLOSED) ||
                          g_error_matches(error, G_IO_ERROR, G_IO_ERROR_BROKEN_PIPE);
    if (!wouldBlock && !isClosed)
        throw ConnectionFailure(error);
    g_error_free(error);
    return wouldBlock;
}

} // namespace

void CRtspConnection::open(const std::string& url) {
    const std::string authority =
        url.compare(0, RtspScheme.size(), RtspScheme) == 0 ? url.substr(RtspScheme.size()) : std::string();
    const auto address = ParseAddress(authority.substr(0, authority.find_first_of("/?")));
    if (!address)
        throw CError(RtnCode::NotSupported, Origin::General, "\"" + url + "\" is no location for RTSP");
    close();
    std::string host = address->host;
    if (host.front() == '[')
        host = host.substr(1, host.size() - 2);
    const int port =
        address->port.empty() ? StandardPort : operations::ReadWholeNumber<int>(address->port).value_or(0);
    GSocketConnectable* const target = g_network_address_new(host.c_str(), static_cast<guint16>(port));
    GSocketClient* const client = g_socket_client_new();
    g_socket_client_set_timeout(client, static_cast<guint>(AnswerTime.count()));
    g_socket_client_set_enable_proxy(client, FALSE);
    GError* error = nullptr;
    connection_ = g_socket_client_connect(client, target, cancellable_, &error);
    g_object_unref(client);
    g_object_unref(target);
    if (!connection_)
        throw ConnectionFailure(error);
    socket_ = g_socket_connection_get_socket(connection_);
    g_socket_set_blocking(socket_, FALSE);
    g_socket_set_timeout(socket_, 0);
}

CRtspReader::Item CRtspConnection::nextItem(Clock::time_point deadline) {
    for (;;) {
        const CRtspReader::Item item = reader_.next();
        if (item == CRtspReader::Item::TooLarge)
            throw Unusable(rtsp_failure::TooLarge);
        if (item == CRtspReader::Item::NotRtsp)
            throw Unusable(rtsp_failure::NotRtsp);
        if (item != CRtspReader::Item::None || !read(deadline))
            return item;
    }
}

bool CRtspConnection::read(Clock::time_point deadline) {
    if (!waitFor(G_IO_IN, deadline))
        return false;
    GError* error = nullptr;
    const gssize count = receive(&error);
    if (count == 0)
        endWith(SClosed{});
    if (count < 0 && !WouldBlock(error))
        endWith(SClosed{true});
    return true;
}

gssize CRtspConnection::receive(GError** error) {
    char bytes[ReadSize];
    const gssize count = g_socket_receive(socket_, bytes, sizeof bytes, cancellable_, error);
    if (count > 0)
        reader_.add(bytes, static_cast<std::size_t>(count));
    return count;
}

// What came before the end says who it was that has closed.
void CRtspConnection::endWith(SClosed closed) {
    while (receive(nullptr) > 0)
        if (reader_.next() != CRtspReader::Item::None)
            break;
    if (reader_.isForeign())
        throw Unusable(rtsp_failure::NotRtsp);
    throw closed;
}

void CRtspConnection::write(const std::string& text) {
    const Clock::time_point deadline = Clock::now() + AnswerTime;
    for (std::size_t sent = 0; sent < text.size();) {
        GError* error = nullptr;
        const gssize count =
            g_socket_send(socket_, text.data() + sent, text.size() - sent, cancellable_, &error);
        if (count >= 0) {
            sent += static_cast<std::size_t>(count);
            continue;
        }
        if (!WouldBlock(error))
            endWith(SClosed{true});
        if (!waitFor(G_IO_OUT, deadline))
            throw NotAccessible(rtsp_failure::TimedOut);
    }
}

bool CRtspConnection::waitFor(GIOCondition condition, Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::microseconds>(deadline - Clock::now()).count();
    GError* error = nullptr;
    if (g_socket_condition_timed_wait(socket_, condition, std::max<gint64>(left, 0), cancellable_, &error))
        return true;
    const bool isLate = g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT);
    if (!isLate)
        throw ConnectionFailure(error);
    g_error_free(error);
    return false;
}

void CRtspConnection::close() {
    g_clear_object(&connection_);
    socket_ = nullptr;
    reader_ = {};
}

void CRtspConnection::writeWithoutWaiting(const std::string& text) {
    if (socket_)
        g_socket_send(socket_, text.data(), text.size(), nullptr, nullptr);
}

} // namespace corvane::refhost
