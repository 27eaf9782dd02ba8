#pragma once

#include "site/base/names.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/recording/output_file.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

namespace corvane::vornhost {

struct SRecordingLimits {
    std::optional<double> seconds;     // of recorded data; absent: until it is interrupted or the stream ends
    std::chrono::milliseconds silence; // without a frame, after which the camera is given up
};

// What has been recorded so far.
struct SRecorded {
    long long frames = 0;
    long long bytes = 0;
    double seconds = 0;
    std::string resolution; // "WIDTHxHEIGHT"; empty before the first frame
    long long sounds = 0;   // packets of audio
};

// One recording of a stream into a Matroska file. Whatever ends it, the file plays to its last frame. Belongs
// to one thread, save interrupt().
class CRecording {
public:
    using Progress = std::function<void(const SRecorded&)>;

    // Links the file behind the stream. Both are kept and must outlive the recording; `controller` has not
    // been started. `audio` is where the stream's sound comes out, which goes into the same file; null
    // without.
    CRecording(IStreamController& controller, COutputFile& file, SRecordingLimits limits,
               GstPad* audio = nullptr);
    // Stops the stream.
    ~CRecording();
    CRecording(const CRecording&) = delete;
    CRecording& operator=(const CRecording&) = delete;

    // Records until a limit is reached, it is interrupted (both a success), or the stream ends by itself. An
    // empty `progress` is not called, any other one several times a second.
    CError run(const Progress& progress);

    // Ends run(), within a second: what is not in the file by then is left out. Callable from any thread.
    void interrupt();

    // Once run() has returned: all there is.
    SRecorded recorded() const;

private:
    using Clock = std::chrono::steady_clock;

    static GstPadProbeReturn frameComes(GstPad* pad, GstPadProbeInfo* info, gpointer recording);
    static GstPadProbeReturn soundComes(GstPad* pad, GstPadProbeInfo* info, gpointer recording);
    static GstPadProbeReturn soundGoes(GstPad* pad, GstPadProbeInfo* info, gpointer recording);
    GstPadProbeReturn takeFrame(GstPad* pad, GstPadProbeInfo* info);
    GstClockTime timeOfFrame(GstPadProbeInfo* info) const; // mutex_ is held
    GstPadProbeReturn takeSound();
    GstPadProbeReturn takeSoundEvent(GstEvent* event);
    GstPadProbeReturn recordSound(GstBuffer* sound);
    void letSoundGo();
    void fitIndex();
    CError link();
    // The pad that gives the stream to the file; null when it cannot.
    CGstRef<GstPad> linkInput(GstPad* stream, GstElement* muxer, const char* input);
    void observeSound();
    bool goesOn(GstClockTime time, gsize size); // mutex_ is held
    void giveUp(const CError& failure);         // likewise
    std::optional<CError> silence() const;      // mutex_ is held
    CError awaitEnd(const Progress& progress);
    CError cannotBeWritten(const std::string& reason) const;
    static CError ofAudio(const std::string& failure);
    void completeFile();
    void awaitCompletion();
    void streamEnded();
    SRecorded recordedLocked() const; // mutex_ is held

    IStreamController& controller_;
    COutputFile& file_;
    const SRecordingLimits limits_;
    GstPad* const audio_; // null without sound
    CGstRef<GstElement> muxer_;
    CGstRef<GstPad> pictureOut_;
    CGstRef<GstPad> soundOut_;
    gulong soundBlock_ = 0; // while sound is held back; belongs to the thread that brings the pictures

    mutable std::mutex mutex_; // guards what follows; no other is taken while it is held
    std::condition_variable changed_;
    bool enough_ = false; // a limit is reached, or it was interrupted: later frames are left out
    bool interrupted_ = false;
    bool ended_ = false; // the stream has ended
    bool soundEnded_ = false;
    int fileError_ = 0;             // the error number of the file's beginning
    std::optional<CError> failure_; // why the stream was given up
    gsize standing_ = 0;            // bytes that have come since the time went on
    long long frames_ = 0;
    GstClockTime first_ = 0; // the first frame's time and the last one's, in ns
    GstClockTime last_ = 0;
    GstClockTime limit_ = GST_CLOCK_TIME_NONE; // from which on nothing is recorded; NONE is the greatest
    Clock::time_point lastCame_;               // when the last frame came, or the start
    Clock::time_point lastSoundCame_;          // likewise
    long long sounds_ = 0;
    std::string resolution_;
};

} // namespace corvane::vornhost
