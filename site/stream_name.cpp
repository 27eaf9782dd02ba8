#include "site/stream_name.h"

#include "operations/operations.h"

namespace corvane::site {

using device_handler::v1_0::COperationError;
using device_handler::v1_0::FindCodecName;
using device_handler::v1_0::SArgumentReader;

handler_impl::SVideoStreamId ReadStreamName(const std::string& text) {
    const auto id = SArgumentReader::readVideoStreamId(text);
    if (!FindCodecName(id.codec))
        throw COperationError("CHANNEL,CODEC,STREAM with the codec mjpeg, mpeg4 or h264 (0, 1 or 2)");
    return id;
}

std::string StreamName(const handler_impl::SVideoStreamId& id) {
    return std::to_string(id.channel) + "," + FindCodecName(id.codec)->name + "," + std::to_string(id.stream);
}

} // namespace corvane::site
