// How a camera's settings and its focus let its pictures look.

#include "picture/development.h"

#include <gmock/gmock.h>
#include <gst/video/video.h>

namespace {

using namespace camsim;

struct SLook {
    double light = 0;  // mean of Y
    double detail = 0; // mean difference of Y between neighbours in a row
    double blue = 0;   // mean of U
    double red = 0;    // mean of V
    double colour = 0; // mean distance of U and V from grey
};

class CPictureOf : public CCamera {
public:
    explicit CPictureOf(const char* model) : CCamera(0, LoadEmbeddedModel(model)) {}

    // With these settings in place of the factory's.
    SLook with(const CSettingsStore::Overrides& settings, const HeadPlace& place = {}) {
        restore({settings, {place, {}, {}}});
        return look();
    }

private:
    SLook look() const;
};

// What leaves the balance when a single frame goes the way that those of a stream go.
GstSample* Take(const CCamera& camera) {
    GstElement* bin = gst_parse_launch("videotestsrc name=blank pattern=black num-buffers=1"
                                       " ! video/x-raw,format=I420,width=640,height=480"
                                       " ! videobalance name=balance ! appsink name=out sync=false",
                                       nullptr);
    GstElement* blank = gst_bin_get_by_name(GST_BIN(bin), "blank");
    GstElement* balance = gst_bin_get_by_name(GST_BIN(bin), "balance");
    GstElement* out = gst_bin_get_by_name(GST_BIN(bin), "out");
    DevelopPictures(blank, balance, camera, 0);
    gst_element_set_state(bin, GST_STATE_PLAYING);
    GstSample* sample = nullptr;
    g_signal_emit_by_name(out, "try-pull-sample", GstClockTime(60 * GST_SECOND), &sample);
    gst_element_set_state(bin, GST_STATE_NULL);
    for (GstElement* element : {out, balance, blank, bin})
        gst_object_unref(element);
    return sample;
}

// The mean over a component of a frame, of what `value` makes of a byte and its neighbour to the right.
template <typename Value>
double Mean(const GstVideoFrame& frame, guint component, Value value) {
    const int width = GST_VIDEO_FRAME_COMP_WIDTH(&frame, component) - 1;
    const int height = GST_VIDEO_FRAME_COMP_HEIGHT(&frame, component);
    double sum = 0;
    for (int y = 0; y < height; ++y) {
        const auto* row = static_cast<const uint8_t*>(GST_VIDEO_FRAME_COMP_DATA(&frame, component)) +
                          static_cast<ptrdiff_t>(y) * GST_VIDEO_FRAME_COMP_STRIDE(&frame, component);
        for (int x = 0; x < width; ++x)
            sum += value(row[x], row[x + 1]);
    }
    return sum / width / height;
}

SLook CPictureOf::look() const {
    GstSample* sample = Take(*this);
    if (sample == nullptr)
        throw std::runtime_error("no picture");
    GstVideoInfo form;
    gst_video_info_from_caps(&form, gst_sample_get_caps(sample));
    GstVideoFrame frame;
    gst_video_frame_map(&frame, &form, gst_sample_get_buffer(sample), GST_MAP_READ);
    const auto itself = [](int value, int) { return value; };
    const auto step = [](int value, int next) { return std::abs(value - next); };
    const auto fromGrey = [](int value, int) { return std::abs(value - 128); };
    const SLook look{Mean(frame, GST_VIDEO_COMP_Y, itself), Mean(frame, GST_VIDEO_COMP_Y, step),
                     Mean(frame, GST_VIDEO_COMP_U, itself), Mean(frame, GST_VIDEO_COMP_V, itself),
                     Mean(frame, GST_VIDEO_COMP_U, fromGrey) + Mean(frame, GST_VIDEO_COMP_V, fromGrey)};
    gst_video_frame_unmap(&frame);
    gst_sample_unref(sample);
    return look;
}

class APicture : public testing::TestWithParam<const char*> {
protected:
    APicture() { gst_init(nullptr, nullptr); }

    // Cameras have the newer or the older of two keys.
    const char* keyOf(const char* newer, const char* older) const {
        return camera.setting(newer) ? newer : older;
    }

    CPictureOf camera{GetParam()};
    const char* const sharpness = keyOf("SHARPNESS", "APERTURE");
    const char* const whiteBalance = keyOf("WHITEBALANCE", "WHITEBAL");
};

INSTANTIATE_TEST_SUITE_P(Of, APicture, testing::Values("F320", "D850"),
                         [](const auto& test) { return std::string(test.param); });

TEST_P(APicture, FollowsBrightnessAndChroma) {
    const SLook plain = camera.with({});
    EXPECT_LT(camera.with({{"BRIGHTNESS", "0"}}).light, plain.light - 50);
    EXPECT_GT(camera.with({{"BRIGHTNESS", "255"}}).light, plain.light + 50);
    EXPECT_LT(camera.with({{"CHROMA", "0"}}).colour, 1);
    EXPECT_GT(camera.with({{"CHROMA", "255"}}).colour, plain.colour * 1.5);
}

TEST_P(APicture, FollowsWhiteBalance) {
    const SLook plain = camera.with({});
    const SLook warm = camera.with({{whiteBalance, "atw2"}});
    const SLook cold = camera.with({{whiteBalance, "awc"}});
    EXPECT_LT(warm.blue, plain.blue - 5);
    EXPECT_GT(warm.red, plain.red + 5);
    EXPECT_GT(cold.blue, plain.blue + 5);
    EXPECT_LT(cold.red, plain.red - 5);
}

TEST_P(APicture, FollowsSharpnessUnlessItIsOutOfFocus) {
    const double plain = camera.with({}).detail;
    EXPECT_LT(camera.with({{sharpness, "0"}}).detail, plain * 0.8);
    EXPECT_GT(camera.with({{sharpness, "15"}}).detail, plain * 1.5);
    for (const double away : {-1, 1}) {
        const double near = camera.with({}, {{"focus", 128 + 10 * away}}).detail;
        const double far = camera.with({}, {{"focus", 128 + 100 * away}}).detail;
        EXPECT_LT(near, plain * 0.8) << away;
        EXPECT_LT(far, near * 0.8) << away;
        const double sharpened = camera.with({{sharpness, "15"}}, {{"focus", 128 + 100 * away}}).detail;
        EXPECT_NEAR(sharpened, far, far * 0.2) << away;
    }
}

TEST_P(APicture, IsMadeOfSettingsThatNoCameraTakes) {
    std::string complaints;
    const GLogFunc former = g_log_set_default_handler(
        [](const gchar*, GLogLevelFlags, const gchar* message, gpointer text) {
            static_cast<std::string*>(text)->append(message).append("\n");
        },
        &complaints);
    for (const auto& [key, ordinary, highest] :
         {std::tuple("BRIGHTNESS", "128", "255"), {"CHROMA", "128", "255"}, {sharpness, "8", "15"}})
        for (const auto& [odd, like] : {std::pair("-1", "0"),
                                        {"-1e300", "0"},
                                        {"100000000", highest},
                                        {"1e300", highest},
                                        {"nan", ordinary},
                                        {"inf", ordinary},
                                        {"-inf", ordinary},
                                        {"", ordinary},
                                        {"5 ", ordinary}}) {
            const SLook made = camera.with({{key, odd}});
            const SLook expected = camera.with({{key, like}});
            EXPECT_NEAR(made.light, expected.light, 1) << key << odd;
            EXPECT_NEAR(made.detail, expected.detail, 0.3) << key << odd;
            EXPECT_NEAR(made.colour, expected.colour, 1) << key << odd;
        }
    g_log_set_default_handler(former, nullptr);
    EXPECT_EQ(complaints, "");
}

} // namespace
