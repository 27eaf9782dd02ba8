#pragma once

#include "model/camera.h"
#include "model/stream_profile.h"

#include <gst/rtsp-server/rtsp-server.h>

namespace camsim {

// Begins GStreamer, and loads what encodes the streams: where its libraries come from a slow disk that takes
// seconds, for which no client of a camera is to wait.
void LoadElements();

// A factory of media that show what the camera sees, and its sound, as the camera's settings want it encoded
// when the media is made, or as a fault of the client wants it. Each client gets a media of its own: in a
// shared one, those who take only the picture and those who take only the sound hold each other up. `role`
// may use it. The caller owns it. The camera must outlive it and its media. All of it belongs to the thread
// that serves RTSP. Nobody gets a media while there are as many as a camera may serve, or no descriptors for
// another.
GstRTSPMediaFactory* NewMediaFactory(CCamera& camera, SVideoStream stream, const char* role);

// The stream that a factory made by NewMediaFactory() serves.
const SVideoStream& StreamOf(GstRTSPMediaFactory* factory);

// Whether a media made by such a factory is what the camera's settings say now: it is served, and encoded
// so.
bool IsCurrent(const CCamera& camera, GstRTSPMedia* media);

} // namespace camsim
