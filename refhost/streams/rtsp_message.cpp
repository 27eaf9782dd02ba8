#include "refhost/streams/rtsp_message.h"

#include <strings.h>

#include <algorithm>
#include <charconv>
#include <string_view>

namespace corvane::refhost {
namespace {

constexpr char PacketMark = '$';
constexpr std::size_t PacketHead = 4; // the mark, the channel, the length in two bytes
constexpr std::string_view Version = "RTSP/1.0";
constexpr std::string_view LineEnd = "\r\n";
constexpr std::string_view HeaderEnd = "\r\n\r\n";

std::string_view Trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    return text.substr(0, text.find_last_not_of(" \t") + 1);
}

// The text up to the next blank, which is taken away with it.
std::string_view WordOf(std::string_view& text) {
    const std::size_t end = std::min(text.find(' '), text.size());
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return word;
}

bool ParseFirstLine(std::string_view line, SRtspMessage& message) {
    std::string_view rest = line;
    const std::string_view first = WordOf(rest);
    if (first == Version) {
        const std::string_view status = WordOf(rest);
        const auto read = std::from_chars(status.data(), status.data() + status.size(), message.status);
        message.reason = rest;
        return read.ec == std::errc() && read.ptr == status.data() + status.size() && message.status >= 100;
    }
    message.method = first;
    WordOf(rest); // the location
    return !first.empty() && rest == Version;
}

bool ParseHeader(std::string_view header, SRtspMessage& message) {
    message = {};
    const std::size_t firstEnd = std::min(header.find(LineEnd), header.size());
    if (!ParseFirstLine(header.substr(0, firstEnd), message))
        return false;
    for (std::size_t begin = firstEnd + LineEnd.size(); begin < header.size();) {
        const std::size_t end = std::min(header.find(LineEnd, begin), header.size());
        const std::string_view line = header.substr(begin, end - begin);
        const std::size_t colon = line.find(':');
        const bool isText = std::none_of(line.begin(), line.end(), [](char c) {
            return (static_cast<unsigned char>(c) < ' ' && c != '\t') || c == '\x7F';
        });
        if (colon == std::string_view::npos || !isText) // what is said back must stay one line
            return false;
        message.headers.emplace_back(Trimmed(line.substr(0, colon)), Trimmed(line.substr(colon + 1)));
        begin = end + LineEnd.size();
    }
    return true;
}

} // namespace

std::string SRtspMessage::header(const std::string& name) const {
    for (const auto& [key, value] : headers)
        if (strcasecmp(key.c_str(), name.c_str()) == 0)
            return value;
    return {};
}

bool CRtspReader::isForeign() const {
    const std::string_view begun = std::string_view(pending_).substr(begin_, Version.size());
    return !hasSpoken_ && begun != Version.substr(0, begun.size());
}

CRtspReader::Item CRtspReader::next() {
    if (begin_ == pending_.size() || begin_ > LargestBody) { // else each packet would move all the rest
        pending_.erase(0, begin_);
        begin_ = 0;
    }
    if (size() == 0)
        return Item::None;
    return pending_[begin_] == PacketMark ? nextPacket() : nextMessage();
}

CRtspReader::Item CRtspReader::nextPacket() {
    if (size() < PacketHead)
        return Item::None;
    const auto* const head = reinterpret_cast<const unsigned char*>(pending_.data()) + begin_;
    const std::size_t length = head[2] << 8U | head[3];
    if (size() < PacketHead + length)
        return Item::None;
    channel_ = head[1];
    packet_.assign(pending_, begin_ + PacketHead, length);
    drop(PacketHead + length);
    return Item::Packet;
}

CRtspReader::Item CRtspReader::nextMessage() {
    const std::string_view pending = std::string_view(pending_).substr(begin_);
    if (pending.front() < 'A' ||
        pending.front() > 'Z') // which a message begins with; it is not waited for more
        return Item::NotRtsp;
    const std::size_t end = pending.substr(0, LargestHeader).find(HeaderEnd);
    if (end == std::string_view::npos) {
        SRtspMessage first;
        const std::size_t lineEnd = pending.find(LineEnd);
        if (lineEnd != std::string_view::npos && !ParseFirstLine(pending.substr(0, lineEnd), first))
            return Item::NotRtsp;
        return pending.size() >= LargestHeader ? Item::TooLarge : Item::None;
    }
    if (!ParseHeader(pending.substr(0, end), message_))
        return Item::NotRtsp;
    const std::string length = message_.header("Content-Length");
    std::size_t bodySize = 0;
    if (!length.empty()) {
        const auto read = std::from_chars(length.data(), length.data() + length.size(), bodySize);
        if (read.ec == std::errc::result_out_of_range || bodySize > LargestBody)
            return Item::TooLarge;
        if (read.ec != std::errc() || read.ptr != length.data() + length.size())
            return Item::NotRtsp;
    }
    const std::size_t bodyBegin = end + HeaderEnd.size();
    if (pending.size() < bodyBegin + bodySize)
        return Item::None;
    message_.body = pending.substr(bodyBegin, bodySize);
    drop(bodyBegin + bodySize);
    hasSpoken_ = true;
    return Item::Message;
}

} // namespace corvane::refhost
