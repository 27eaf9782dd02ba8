#pragma once

#include "refhost/base/names.h"
#include "refhost/streams/rtsp_message.h"

#include <gio/gio.h>

#include <chrono>
#include <stdexcept>
#include <string>

namespace corvane::refhost {

// A connection to a camera's RTSP port. Used on one thread; every wait ends when `cancellable`, which is
// borrowed, is cancelled. What goes wrong is thrown as the CError that rtsp_failure
// (refhost/rtsp_pipeline.h) has the text for.
class CRtspConnection {
public:
    using Clock = std::chrono::steady_clock;

    struct SClosed {              // thrown when the camera has closed the connection
        bool isBrokenOff = false; // and not ended
    };

    // The time for one answer, all in all, and for the connection.
    static constexpr std::chrono::seconds AnswerTime{5};

    explicit CRtspConnection(GCancellable* cancellable) : cancellable_(cancellable) {}
    ~CRtspConnection() { close(); }
    CRtspConnection(const CRtspConnection&) = delete;
    CRtspConnection& operator=(const CRtspConnection&) = delete;

    // To the host and port of an "rtsp://" location, anew if there is a connection.
    void open(const std::string& url);
    void close();

    void write(const std::string& text);
    // What can be written at once, and be lost; without a connection nothing.
    void writeWithoutWaiting(const std::string& text);
    // What the camera has sent next; None when that is not whole by then.
    CRtspReader::Item nextItem(Clock::time_point deadline);
    // The item, until the next one.
    CRtspReader& item() { return reader_; }

private:
    bool read(Clock::time_point deadline);
    gssize receive(GError** error);
    [[noreturn]] void endWith(SClosed closed);
    bool waitFor(GIOCondition condition, Clock::time_point deadline);

    GCancellable* const cancellable_;
    GSocketConnection* connection_ = nullptr;
    GSocket* socket_ = nullptr; // the connection's
    CRtspReader reader_;
};

} // namespace corvane::refhost
