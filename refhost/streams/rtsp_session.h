#pragma once

#include "refhost/base/names.h"
#include "refhost/streams/rtsp_source.h"

#include <gio/gio.h>
#include <gst/gst.h>

#include <mutex>
#include <string>

namespace corvane::refhost {

// What becomes of a camera's stream. Called on the session's thread.
class IRtspReceiver {
public:
    IRtspReceiver() = default;
    virtual ~IRtspReceiver() = default;
    IRtspReceiver(const IRtspReceiver&) = delete;
    IRtspReceiver& operator=(const IRtspReceiver&) = delete;

    // One medium of the camera's description, in their order: the caps of its RTP packets, as
    // refhost/rtsp_description.h has them. Whether it is the one to be had; none is asked for behind that.
    virtual bool takes(GstCaps* medium) = 0;
    // Why none was taken.
    virtual CError refusal() const = 0;
    // An RTP packet of the medium; takes ownership. False when no more are wanted.
    virtual bool packetComes(GstBuffer* packet) = 0;
};

// One medium of a stream over RTSP, its packets interleaved in the one connection that there is. No request
// goes to another host or port than the location's: a redirect is told and not followed.
class CRtspSession {
public:
    // The receiver must outlive the session.
    CRtspSession(SRtspSource source, IRtspReceiver& receiver);
    ~CRtspSession();
    CRtspSession(const CRtspSession&) = delete;
    CRtspSession& operator=(const CRtspSession&) = delete;

    // Asks for the stream and hands its packets on until it ends; on the thread that is to be the session's.
    // A success when the camera has ended the stream, or nobody wants more of it; otherwise fails as
    // rtsp_failure has it (refhost/rtsp_pipeline.h). Each answer of the camera is waited for 5 s, all in all.
    CError run();

    // Has run() return at once, now or when it is called later. Callable from any thread.
    void cancel();

    // What the camera was asked last on the way to the stream, as "METHOD URL"; before that what it is to be
    // asked first. Callable from any thread.
    std::string asked() const;

private:
    class CExchange;

    void tellAsked(const std::string& request);

    const SRtspSource source_;
    IRtspReceiver& receiver_;
    GCancellable* const cancellable_;
    mutable std::mutex mutex_;
    std::string asked_; // guarded by mutex_
};

} // namespace corvane::refhost
