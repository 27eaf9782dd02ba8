#pragma once

#include "refhost/streams/rtsp_media.h"
#include "refhost/streams/rtsp_session.h"

#include <gst/app/gstappsrc.h>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>

namespace corvane::refhost {

// One stream on its way from a camera into a pipeline, which owns the elements: on a thread of its own it
// asks for the stream, and puts packets in at one end of a chain whose other end frames come out of.
class CRtspReception : private IRtspReceiver {
public:
    CRtspReception(const SRtspMedia& wanted, SRtspSource source);
    ~CRtspReception() override; // stop() has been

    // Adds the chain to `bin`, with a pad of that name where the frames come out. Fails with
    // (OperationFailed, General) when an element is not installed.
    CError addTo(GstBin* bin, const char* padName);
    // How the frames' times are made; "slave" or "synced", as GStreamer has it.
    void setTiming(const char* mode);

    // Starts the thread; fails with (OperationFailed, General) when there is none to be had.
    CError start();
    // Ends the exchange with the camera, at once; join() waits for the thread, once nobody holds up its
    // packets any more.
    void cancel() { session_.cancel(); }
    // Likewise, and an end-of-stream follows what has come.
    void finish() {
        isFinished_ = true;
        cancel();
    }
    void join();

    bool holds(GstObject* element) const;
    std::string asked() const { return session_.asked(); }
    // Why the stream has ended; a success while it has not failed.
    CError failure() const;

private:
    bool takes(GstCaps* medium) override;
    CError refusal() const override { return choice_.refusal(); }
    bool packetComes(GstBuffer* packet) override;

    void receive();
    static GstPadProbeReturn frameComes(GstPad* pad, GstPadProbeInfo* info, gpointer reception);

    const SRtspMedia& wanted_;
    CRtspChoice choice_;
    CRtspSession session_;
    GstElement* source_ = nullptr;
    GstElement* buffer_ = nullptr;
    GstElement* chain_ = nullptr;
    std::thread thread_;
    std::atomic<bool> isFinished_{false};
    std::atomic<std::size_t> sinceFrame_{0}; // bytes that have come since a frame was whole
    mutable std::mutex mutex_;
    CError failure_ = CError::Success(); // guarded by mutex_
};

} // namespace corvane::refhost
