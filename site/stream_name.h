#pragma once

#include "host/stream_id.h"

#include <string>

namespace corvane::site {

// Reads CHANNEL,CODEC,STREAM of a stream that a recorder can want: unlike a call's argument, of a codec that
// has a name. Throws COperationError.
handler_impl::SVideoStreamId ReadStreamName(const std::string& text);

// With the codec by its name, which it must have.
std::string StreamName(const handler_impl::SVideoStreamId& id);

} // namespace corvane::site
