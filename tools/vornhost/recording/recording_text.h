#pragma once

#include "tools/vornhost/console/status_line.h"
#include "tools/vornhost/recording/recording.h"
#include "tools/vornhost/recording/snapshot.h"

#include <optional>
#include <string>

namespace corvane::vornhost {

// What has been recorded, for programs and for eyes (a line with its end).
ordered_json RecordedJson(const std::string& file, VideoCodec codec, const SRecorded& recorded);
std::string RecordedText(const std::string& file, VideoCodec codec, const SRecorded& recorded);

// Likewise a picture.
ordered_json PictureJson(const std::string& file, VideoCodec codec, const SPicture& picture);
std::string PictureText(const std::string& file, VideoCodec codec, const SPicture& picture);

// How far a recording is, on the status line. Belongs to one thread.
class CProgressLine {
public:
    // `seconds`: how much there is to record, if that is limited.
    explicit CProgressLine(std::optional<double> seconds);

    // What shows the progress; empty where there is no terminal. Must not outlive this.
    CRecording::Progress writer();
    // Takes the line away.
    void clear() { line_.clear(); }

private:
    void show(const SRecorded& recorded);

    const std::optional<double> seconds_;
    CStatusLine line_{true};
};

} // namespace corvane::vornhost
