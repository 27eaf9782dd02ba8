#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace corvane::refhost {

// One message of a camera's over RTSP: a response, or a request of its own.
struct SRtspMessage {
    int status = 0; // of a response; 0 for a request
    std::string reason;
    std::string method; // of a request
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;

    // The value of the first header of that name, whatever its case; empty when there is none.
    std::string header(const std::string& name) const;
};

// Takes apart what a camera sends on an RTSP connection: messages, and RTP packets between them. It keeps no
// more than one of them at a time, and none of any size: a message's header is bounded at 16 KiB, and so is
// its body, a stream's description; a packet's length has 16 bits.
class CRtspReader {
public:
    enum class Item {
        None, // more bytes are needed
        Message,
        Packet,
        TooLarge, // the connection is of no use from here on, as behind the next
        NotRtsp,
    };

    static constexpr std::size_t LargestHeader = std::size_t{16} << 10;
    static constexpr std::size_t LargestBody = std::size_t{16} << 10;

    void add(const char* bytes, std::size_t size) { pending_.append(bytes, size); }

    // Whether what has come so far, before any message was whole, is the beginning of no response.
    bool isForeign() const;

    // The next item; what it is is told by the two below until the next call.
    Item next();
    SRtspMessage& message() { return message_; }
    int channel() const { return channel_; }
    std::string& packet() { return packet_; }

private:
    Item nextPacket();
    Item nextMessage();
    void drop(std::size_t size) { begin_ += size; }
    std::size_t size() const { return pending_.size() - begin_; }

    std::string pending_;
    bool hasSpoken_ = false; // a message was whole
    std::size_t begin_ = 0;  // of what is not taken yet
    SRtspMessage message_;
    int channel_ = 0;
    std::string packet_;
};

} // namespace corvane::refhost
