// What a recording takes of the pictures and the sound that come to it.

#include "tools/vornhost/recording/recording.h"

#include "tests/support/temporary_folder.h"
#include "tests/support/wait_until.h"
#include "tests/vornhost/recorded_packets.h"

#include <atomic>
#include <fstream>
#include <future>
#include <gmock/gmock.h>

namespace corvane::vornhost {
namespace {

using namespace vornhost_test;
using testing::ElementsAre;

constexpr GstClockTime Untimed = GST_CLOCK_TIME_NONE;

// A recording into a file, of what the test lets come.
class CMadeRecording {
public:
    explicit CMadeRecording(std::chrono::milliseconds silence = std::chrono::minutes(1), double seconds = 1)
        : controller_(pipeline_.get(), bus_.get(), pictures_.get()),
          recording_(controller_, output_, {seconds, silence}, sound_.get()) {
        gst_pad_add_probe(sound_.get(), GST_PAD_PROBE_TYPE_BUFFER, countSound, this, nullptr);
        end_ = std::async(std::launch::async, [this] { return recording_.run({}); });
    }

    void pictureComes(GstClockTime time, bool isKey = true) {
        push("pictures", time, isKey ? GstBufferFlags(0) : GST_BUFFER_FLAG_DELTA_UNIT);
    }
    void soundComes(GstClockTime time) {
        push("sound", time, GstBufferFlags(0));
        ++pushed_;
        EXPECT_TRUE(test_support::WaitUntil([this] { return came_ == pushed_; }));
    }

    // From here on nothing more gets into the file.
    void holdFile() {
        EXPECT_TRUE(test_support::WaitUntil([this] { return recorded().frames > 0; }));
        GstIterator* const sinks = gst_bin_iterate_sinks(GST_BIN(pipeline_.get()));
        const auto hold = [](const GValue* sink, gpointer) {
            const CGstRef<GstPad> pad(
                gst_element_get_static_pad(GST_ELEMENT(g_value_get_object(sink)), "sink"));
            const auto stay = [](GstPad*, GstPadProbeInfo*, gpointer) { return GST_PAD_PROBE_OK; };
            gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BLOCK_DOWNSTREAM, stay, nullptr, nullptr);
        };
        gst_iterator_foreach(sinks, hold, nullptr);
        gst_iterator_free(sinks);
    }
    void interrupt() { recording_.interrupt(); }
    bool endsWithin(std::chrono::seconds limit) const {
        return end_.wait_for(limit) == std::future_status::ready;
    }

    CError end() { return end_.get(); }
    // In the file's index: each a CuePoint whose size has eight bytes, and whose CueTime comes first.
    int indexEntries() const {
        constexpr std::size_t ToTime = 9;
        std::ifstream file(output_.path(), std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        int count = 0;
        for (std::size_t at = std::min(bytes.rfind("\x1C\x53\xBB\x6B"), bytes.size());
             at + ToTime < bytes.size(); ++at)
            count += bytes[at] == '\xBB' && bytes[at + ToTime] == '\xB3';
        return count;
    }
    SRecorded recorded() const { return recording_.recorded(); }
    std::vector<int> times(const std::string& kind) const { return TimesIn(output_.path(), kind); }

private:
    static GstElement* makePipeline() {
        gst_init(nullptr, nullptr);
        return gst_parse_launch(
            "appsrc name=pictures format=time caps=image/jpeg,width=(int)64,height=(int)48"
            " appsrc name=sound format=time caps=audio/x-adpcm,layout=(string)g726,channels=(int)1,"
            "rate=(int)8000,bitrate=(int)32000,block_align=(int)4",
            nullptr);
    }
    CGstRef<GstElement> element(const char* name) const {
        return CGstRef<GstElement>(gst_bin_get_by_name(GST_BIN(pipeline_.get()), name));
    }
    CGstRef<GstPad> padOf(const char* name) const {
        return CGstRef<GstPad>(gst_element_get_static_pad(element(name).get(), "src"));
    }
    void push(const char* name, GstClockTime time, GstBufferFlags flags) const {
        GstBuffer* const buffer = gst_buffer_new_allocate(nullptr, 80, nullptr);
        gst_buffer_memset(buffer, 0, 'x', 80);
        GST_BUFFER_PTS(buffer) = time == Untimed ? time : time * GST_MSECOND;
        GST_BUFFER_FLAG_SET(buffer, flags);
        const auto source = element(name);
        EXPECT_TRUE(test_support::WaitUntil([&] { // the pipeline has started
            GstFlowReturn result = GST_FLOW_OK;
            g_signal_emit_by_name(source.get(), "push-buffer", buffer, &result);
            return result == GST_FLOW_OK;
        }));
        gst_buffer_unref(buffer);
    }
    static GstPadProbeReturn countSound(GstPad*, GstPadProbeInfo*, gpointer recording) {
        ++static_cast<CMadeRecording*>(recording)->came_;
        return GST_PAD_PROBE_OK;
    }

    const test_support::CTemporaryFolder folder_;
    const CGstRef<GstElement> pipeline_{vorn_gst::v1_0::TakeFloating(makePipeline())};
    const CGstRef<GstBus> bus_{gst_element_get_bus(pipeline_.get())};
    const CGstRef<GstPad> pictures_{padOf("pictures")};
    const CGstRef<GstPad> sound_{padOf("sound")};
    vorn_stream_controller::v1_0::CSimpleStreamController controller_;
    COutputFile output_{folder_.file("made.mkv")};
    CRecording recording_;
    std::atomic<int> came_{0};
    int pushed_ = 0;
    std::future<CError> end_;
};

// A parser may tell a picture only when the next one comes.
TEST(Recording, SoundIsNotLostThatComesBeforeThePictureOfItsTime) {
    CMadeRecording recording;
    for (const GstClockTime time : {4900, 5000, 5100, 5900, 6000, 6100})
        recording.soundComes(time);
    recording.pictureComes(5000);
    recording.pictureComes(5500);
    recording.pictureComes(6000);
    EXPECT_FALSE(recording.end());
    EXPECT_THAT(recording.times("video"), ElementsAre(0, 500));
    EXPECT_THAT(recording.times("audio"), ElementsAre(0, 100, 900));
    EXPECT_EQ(recording.recorded().sounds, 3);
}

TEST(Recording, FramesBehindTheFirstKeyFrameAreTakenThoughTheyHaveNoTime) {
    CMadeRecording recording;
    recording.soundComes(7000);
    recording.pictureComes(6900, false);
    recording.pictureComes(7000);
    recording.pictureComes(Untimed, false);
    recording.pictureComes(7300, false);
    recording.pictureComes(Untimed, false);
    recording.pictureComes(8000);
    EXPECT_FALSE(recording.end());
    EXPECT_THAT(recording.times("video"), ElementsAre(0, 0, 300, 300));
    EXPECT_EQ(recording.recorded().frames, 4);
}

// It stays in memory until the end, and is written while whoever interrupts waits.
TEST(Recording, TheIndexOfManyKeyFramesStaysSmall) {
    const struct {
        int count;
        GstClockTime distance; // ms
        int leastEntries, mostEntries;
    } cases[] = {{3'000, 1, 2, 4}, {25'000, 100'000, 5'000, 20'000}};
    for (const auto& c : cases) {
        const GstClockTime last = (c.count - 1) * c.distance;
        CMadeRecording recording(std::chrono::minutes(1), static_cast<double>(last) / 1000);
        recording.soundComes(last - 1); // for which the file waits with no picture
        for (int number = 0; number < c.count; ++number)
            recording.pictureComes(number * c.distance);
        EXPECT_FALSE(recording.end());
        EXPECT_EQ(recording.recorded().frames, c.count - 1);
        EXPECT_GE(recording.indexEntries(), c.leastEntries);
        EXPECT_LE(recording.indexEntries(), c.mostEntries);
    }
}

TEST(Recording, AnInterruptionWaitsForNoFileThatIsHeldUp) {
    constexpr std::chrono::seconds Patience{6}; // less than a file has that nobody waits for
    CMadeRecording recording;
    recording.soundComes(1000);
    recording.pictureComes(1000);
    recording.holdFile();
    recording.pictureComes(1100);
    recording.interrupt();
    EXPECT_TRUE(recording.endsWithin(Patience));
    EXPECT_FALSE(recording.end());
}

TEST(Recording, ItEndsWhileItHoldsSoundBackForPicturesThatDoNotCome) {
    CMadeRecording recording(std::chrono::milliseconds(500));
    recording.soundComes(1000);
    EXPECT_EQ(recording.end().getText(), "no data within 0.5 s");
}

} // namespace
} // namespace corvane::vornhost
