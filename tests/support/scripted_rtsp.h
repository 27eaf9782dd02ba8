#pragma once

#include "tests/support/scripted_server.h"

#include <cstdint>
#include <string>

namespace corvane::tests {

// What a scripted RTSP camera sends, whatever path it is asked for.
struct SRtspStream {
    std::string media;             // of the description: lines, each with its line end
    std::string packets;           // at once when it plays
    std::string status = "200 OK"; // of the description
};

inline std::string BigEndian(std::uint32_t number, int bytes) {
    std::string text;
    while (bytes-- > 0)
        text += static_cast<char>(number >> (8 * bytes) & 0xFF);
    return text;
}

// An RTP packet as it goes through the RTSP connection; the last one of its frame.
inline std::string RtpPacket(unsigned payloadType, std::uint32_t number, std::uint32_t time,
                             const std::string& payload) {
    const std::string packet = BigEndian(0x8080 | payloadType, 2) + BigEndian(number, 2) +
                               BigEndian(time, 4) + BigEndian(1, 4) + payload;
    return '$' + BigEndian(0, 1) + BigEndian(static_cast<std::uint32_t>(packet.size()), 2) + packet;
}

inline CScriptedServer::Script RtspCamera(const SRtspStream& stream) {
    return [stream](const SSentRequest& request) {
        const bool describes = request.method == "DESCRIBE";
        const std::string body =
            describes ? "v=0\r\no=- 0 0 IN IP4 0\r\ns=-\r\nt=0 0\r\n" + stream.media : "";
        return SScriptedReply{
            "RTSP/1.0 " + (describes ? stream.status : "200 OK") + "\r\nCSeq: " + request.header("CSeq") +
            "\r\nSession: 1\r\nTransport: RTP/AVP/TCP;unicast;interleaved=0-1" +
            "\r\nContent-Type: application/sdp\r\nContent-Length: " + std::to_string(body.size()) +
            "\r\n\r\n" + body + (request.method == "PLAY" ? stream.packets : "")};
    };
}

} // namespace corvane::tests
