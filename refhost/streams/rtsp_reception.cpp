#include "refhost/streams/rtsp_reception.h"

#include "host/stream_controller.h"
#include "refhost/streams/rtsp_pipeline.h"

#include <system_error>
#include <utility>

namespace corvane::refhost {
namespace {

using vorn_gst::v1_0::CGstRef;

constexpr unsigned ReorderMilliseconds = 100; // TCP keeps the order; this evens out the camera's pace
// What waits to be made frames of; the camera is held up by more.
constexpr guint64 WaitingBytes = 1U << 20;
constexpr guint64 WaitingPackets = 2'048;
// What a packet takes besides its bytes.
constexpr std::size_t PacketCost = 512;
// A camera's largest picture has a few MiB; a recording begins with the first key frame, which may be seconds
// away.
constexpr std::size_t LargestFrame = std::size_t{24} << 20;

GstElement* MakeElement(const char* factory, CError& error) {
    GstElement* const element = gst_element_factory_make(factory, nullptr);
    if (!element)
        error = CError(RtnCode::OperationFailed, Origin::General,
                       device_handler::v1_0::NoElementText + std::string(factory));
    return element;
}

} // namespace

CRtspReception::CRtspReception(const SRtspMedia& wanted, SRtspSource source)
    : wanted_(wanted), choice_(wanted), session_(std::move(source), *this) {}

CRtspReception::~CRtspReception() = default;

CError CRtspReception::addTo(GstBin* bin, const char* padName) {
    CGstRef<GstElement> chain;
    if (CError error = MakeMediaChain(wanted_, chain))
        return error;
    CError error = CError::Success();
    source_ = MakeElement("appsrc", error);
    buffer_ = MakeElement("rtpjitterbuffer", error);
    if (error) {
        g_clear_object(&source_);
        g_clear_object(&buffer_);
        return error;
    }
    chain_ = chain.get();
    g_object_set(source_, "is-live", TRUE, "do-timestamp", TRUE, "format", GST_FORMAT_TIME, "block", TRUE,
                 "max-bytes", WaitingBytes, "max-buffers", WaitingPackets, nullptr);
    g_object_set(buffer_, "latency", ReorderMilliseconds, nullptr);
    gst_bin_add_many(bin, source_, buffer_, chain_, nullptr);
    gst_element_link_many(source_, buffer_, chain_, nullptr);
    const CGstRef<GstPad> frames(gst_element_get_static_pad(chain_, "src"));
    gst_pad_add_probe(frames.get(), GST_PAD_PROBE_TYPE_BUFFER, frameComes, this, nullptr);
    gst_element_add_pad(GST_ELEMENT(bin), gst_ghost_pad_new(padName, frames.get()));
    return CError::Success();
}

void CRtspReception::setTiming(const char* mode) {
    gst_util_set_object_arg(G_OBJECT(buffer_), "mode", mode);
}

CError CRtspReception::start() {
    try {
        thread_ = std::thread([this] { receive(); });
        return CError::Success();
    } catch (const std::system_error& error) {
        return {RtnCode::OperationFailed, Origin::General,
                device_handler::v1_0::NoThreadText + std::string(": ") + error.code().message()};
    }
}

void CRtspReception::join() {
    if (thread_.joinable())
        thread_.join();
}

bool CRtspReception::holds(GstObject* element) const {
    for (GstElement* const own : {source_, buffer_, chain_})
        if (gst_object_has_as_ancestor(element, GST_OBJECT(own)))
            return true;
    return false;
}

CError CRtspReception::failure() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return failure_;
}

void CRtspReception::receive() {
    CError end = session_.run();
    if (isFinished_) {
        gst_app_src_end_of_stream(GST_APP_SRC(source_));
        return;
    }
    if (!end && sinceFrame_ > LargestFrame)
        end = CError(RtnCode::OperationFailed, Origin::Device, rtsp_failure::TooLarge);
    if (!end) {
        gst_app_src_end_of_stream(GST_APP_SRC(source_));
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        failure_ = end;
    }
    GST_ELEMENT_ERROR(source_, RESOURCE, FAILED, ("%s", end.getText().c_str()), (nullptr));
}

bool CRtspReception::takes(GstCaps* medium) {
    if (!choice_.takes(medium))
        return false;
    DescribeToChain(chain_, medium);
    gst_app_src_set_caps(GST_APP_SRC(source_), medium);
    return true;
}

bool CRtspReception::packetComes(GstBuffer* packet) {
    const std::size_t size = gst_buffer_get_size(packet) + PacketCost;
    if (sinceFrame_.fetch_add(size) + size > LargestFrame) {
        gst_buffer_unref(packet);
        return false;
    }
    return gst_app_src_push_buffer(GST_APP_SRC(source_), packet) == GST_FLOW_OK;
}

GstPadProbeReturn CRtspReception::frameComes(GstPad* /*pad*/, GstPadProbeInfo* /*info*/, gpointer reception) {
    static_cast<CRtspReception*>(reception)->sinceFrame_ = 0;
    return GST_PAD_PROBE_OK;
}

} // namespace corvane::refhost
