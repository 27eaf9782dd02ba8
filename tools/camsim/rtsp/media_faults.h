#pragma once

#include "model/faults.h"
#include "model/stream_profile.h"

#include <gst/rtsp-server/rtsp-server.h>
#include <optional>

namespace camsim {

// What goes wrong with a stream that is made for a client. All on the RTSP thread.

// From now on streams are made for this client with this fault, or with none.
void SetMediaFault(GstRTSPClient* client, const std::optional<SFault>& fault);
// The fault of the client whose request is being answered; null when it has none.
const SFault* MediaFault();

// As the stream is encoded instead.
SStreamProfile Misencoded(SStreamProfile profile, const SFault& fault);

// Lets no data out of the media, or only for a time, once it is prepared.
void Silence(GstRTSPMedia* media, const SFault& fault);

} // namespace camsim
