// What a camera sends on its RTSP connection, answers and packets, through the framework's client.
//
// Input: what the camera sends on each connection.

#include "fuzz/harness.h"
#include "fuzz/one_reply_server.h"
#include "refhost/streams/rtsp_session.h"

using namespace corvane;

namespace {

// Takes the first medium that there is, and every packet.
class CReceiver : public refhost::IRtspReceiver {
public:
    std::size_t bytes = 0;

private:
    bool takes(GstCaps* medium) override { return gst_caps_get_size(medium) == 1; }
    device_handler::v1_0::CError refusal() const override {
        return {device_handler::v1_0::RtnCode::NotSupported, device_handler::v1_0::Origin::Device, "nothing"};
    }
    bool packetComes(GstBuffer* packet) override {
        bytes += gst_buffer_get_size(packet);
        gst_buffer_unref(packet);
        return true;
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::COneReplyServer& camera = *new fuzz::COneReplyServer;
    if (!gst_is_initialized())
        gst_init(nullptr, nullptr);
    camera.answerWith(fuzz::InputText(data, size));
    CReceiver receiver;
    const device_handler::v1_0::CError end =
        refhost::CRtspSession(
            {"rtsp://" + camera.address() + "/stream", camera.address(), {"admin", "12345"}}, receiver)
            .run();
    fuzz::Require(!end || !end.getText().empty(), "a failure says why");
    fuzz::Require(receiver.bytes <= size, "no more comes out than was sent");
    return 0;
}
