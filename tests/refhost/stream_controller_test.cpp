// What becomes of a pipeline's start, and where a stream is.

#include "host/gst_object.h"
#include "host/stream_controller.h"
#include "refhost/streams/stream_location.h"

#include <gst/gst.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace corvane::refhost {
namespace {

using namespace device_handler::v1_0;
using vorn_gst::v1_0::CGstRef;
using vorn_stream_controller::v1_0::CSimpleStreamController;

// What the start of a pipeline with an element "source" tells.
std::string StartOf(const std::string& description) {
    gst_init(nullptr, nullptr);
    const CGstRef<GstElement> pipeline(
        vorn_gst::v1_0::TakeFloating(gst_parse_launch(description.c_str(), nullptr)));
    const CGstRef<GstElement> source(gst_bin_get_by_name(GST_BIN(pipeline.get()), "source"));
    const CGstRef<GstPad> pad(gst_element_get_static_pad(source.get(), "src"));
    const CGstRef<GstBus> bus(gst_element_get_bus(pipeline.get()));
    CSimpleStreamController controller(pipeline.get(), bus.get(), pad.get());
    const CError error = controller.start();
    const auto end = controller.waitForEnd(std::chrono::milliseconds::zero());
    EXPECT_EQ(end && end->cause == SStreamEnd::Cause::Failure, !!error);
    EXPECT_EQ(controller.start().getText(), "a stream can be started only once");
    return std::to_string(error.getCode()) + " " + std::to_string(error.getOrigin()) + " " +
           error.getText().substr(0, 12);
}

TEST(StreamController, AStartThatAnElementRefusesFailsAsTheStreamEnds) {
    EXPECT_EQ(StartOf("fakesrc is-live=true name=source ! fakesink"), "1 0 ");
    EXPECT_EQ(StartOf("filesrc location=/nowhere/x name=source ! fakesink"), "2 4 Resource not");
    EXPECT_EQ(StartOf("fakesrc is-live=true name=source ! filesink location=/nowhere/x"), "2 0 Could not op");
}

TEST(StreamLocation, CredentialsArePercentEncodedAndTakenOutInEitherForm) {
    const SStreamUrl url{"rtsp", "8554", "video", {{"a", "1"}, {"b", "2"}}};
    const std::string address = "10.0.0.1:8080", plain = "rtsp://10.0.0.1:8554/video?a=1&b=2";
    EXPECT_EQ(StreamLocation(url, address), plain);
    EXPECT_EQ(StreamLocationWithCredentials(url, address, {}), plain);
    const CAuthentication credentials("azAZ09-._~", "@:/?#[]!$&'()*+,;=% \xC3\xA9");
    const std::string encoded = StreamLocationWithCredentials(url, address, credentials);
    EXPECT_EQ(encoded, "rtsp://azAZ09-._~:%40%3A%2F%3F%23%5B%5D%21%24%26%27%28%29%2A%2B%2C%3B%3D%25%20%C3%A9@"
                       "10.0.0.1:8554/video?a=1&b=2");
    const std::string asTheyAre =
        "rtsp://" + credentials.getUsername() + ":" + credentials.getPassword() + "@" + plain.substr(7);
    for (const std::string& location : {encoded, asTheyAre, plain})
        EXPECT_EQ(WithoutCredentials(location, credentials), plain);
    for (const std::string& other : {encoded, asTheyAre, std::string("no location")})
        EXPECT_EQ(WithoutCredentials(other, {"azAZ09-._~", "another"}), other);
}

} // namespace
} // namespace corvane::refhost
