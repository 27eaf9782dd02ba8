#pragma once

#include <chrono>
#include <string>

namespace camsim_test {

// A TCP connection to the simulator of whose every byte the test decides. Whatever waits throws
// std::runtime_error after a minute.
class CRawConnection {
public:
    // `receiveBuffer`: how many bytes the system keeps for it unread, 0 for the usual.
    explicit CRawConnection(const std::string& address, int receiveBuffer = 0);
    ~CRawConnection();
    CRawConnection(CRawConnection&& other) noexcept;
    CRawConnection(const CRawConnection&) = delete;
    CRawConnection& operator=(const CRawConnection&) = delete;

    // False when the other side has ended the connection.
    bool send(const std::string& bytes);
    void finishSending(); // and goes on receiving

    // What comes until the other side ends the connection, or until the text has come.
    std::string receive(const std::string& text = "");
    // What comes until nothing has come for so long, or the other side ends the connection.
    std::string receiveUntilQuiet(std::chrono::milliseconds quiet);
    // Whether the other side ends the connection while one more of these bytes goes out now and then.
    bool endsWhileSending(const std::string& bytes);

private:
    int fd_;
};

} // namespace camsim_test
