#pragma once

#include "http/fault_replies.h"
#include "net/connection_bounds.h"
#include "net/event_loop.h"
#include "net/notice.h"

#include <chrono>
#include <microhttpd.h>
#include <netinet/in.h>
#include <string>
#include <unordered_map>

namespace camsim {

// libmicrohttpd on an event loop, with bounds on what clients can take: a connection that takes too long for
// a request or has been closed by its client is ended, and so is, once there are as many as there may be,
// the one that would first have run out of time. A longer body than allowed is answered 413. Once the loop
// is to stop, requests are no longer answered. Everything runs on the loop's thread.
class CHttpDaemon {
public:
    struct SLimits {
        SConnectionTimes times;
        size_t connections;
        size_t body;           // of a request, in bytes
        size_t header;         // of a request, in bytes; a longer one is answered 431
        size_t unread;         // bytes of answers, after which answersPileUp()
        std::string whoServes; // for notices on standard error
    };
    // What libmicrohttpd calls, each with `self`. `connection` and `target` may be null.
    struct SCallbacks {
        void* self;
        MHD_AccessHandlerCallback request;
        MHD_RequestCompletedCallback completed;
        MHD_NotifyConnectionCallback connection;
        void* (*target)(void* self, const char* target, MHD_Connection* connection);
    };

    CHttpDaemon(CEventLoop& loop, SLimits limits, SCallbacks callbacks);
    ~CHttpDaemon() { stop(); }
    CHttpDaemon(const CHttpDaemon&) = delete;
    CHttpDaemon& operator=(const CHttpDaemon&) = delete;

    // To be called before the loop is started. Throws std::runtime_error.
    void start();
    // Closes every connection. To be called once the loop has stopped and nothing is suspended; may be
    // called twice.
    void stop();

    // Whether another connection can be added; ends one that has nothing to do when that helps.
    bool hasRoom();
    // Takes over the descriptor; false when it was closed instead.
    bool add(int fd, const sockaddr_in& peer);

    // Whether clients have not read so much of earlier answers that another of this size should not be
    // given.
    bool answersPileUp(size_t size) const;
    MHD_Result answer(MHD_Connection* connection, const SHttpReply& reply);

    // Lets the daemon do what is due.
    void run();

    static int descriptorOf(MHD_Connection* connection);

private:
    using Clock = std::chrono::steady_clock;
    enum class Phase { Header, Body, Answer, Ended };
    struct SConnection {
        Phase phase;
        Clock::time_point since;    // when the phase began
        Clock::time_point deadline; // when it must be over; has no meaning in Answer and Ended
        size_t bodySize = 0;        // of the present request, so far
        size_t answerSize = 0;      // of the answer that goes out
    };
    using Connections = std::unordered_map<int, SConnection>;

    static MHD_Result onRequest(void* self, MHD_Connection* connection, const char* url, const char* method,
                                const char* version, const char* upload, size_t* uploadSize, void** context);
    static void onCompleted(void* self, MHD_Connection* connection, void** context,
                            MHD_RequestTerminationCode reason);
    static void onConnection(void* self, MHD_Connection* connection, void** context,
                             MHD_ConnectionNotificationCode what);

    static bool waitsForItsClient(const SConnection& connection);
    void enter(SConnection& connection, Phase phase, std::chrono::milliseconds longest);
    bool announcesTooMuch(MHD_Connection* connection) const;
    void endOverdue();
    void end(Connections::value_type& connection);

    CEventLoop& loop_;
    const SLimits limits_;
    const SCallbacks callbacks_;
    const std::chrono::milliseconds lookPeriod_; // how often overdue connections are looked for
    const std::string tooLong_;                  // the text that answers too long a body
    CNotice full_;
    Connections connections_; // by descriptor
    size_t unread_ = 0;       // of all answers that go out, in bytes
    MHD_Daemon* daemon_ = nullptr;
    bool runIsDue_ = false;
};

} // namespace camsim
