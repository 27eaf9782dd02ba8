#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace corvane::site {

// A value that a camera has made of another one when it was set.
struct SAcceptedValue {
    std::string camera;  // its name in the site file
    std::string address; // where it was
    std::string of;      // "adjustments" or "streams.CHANNEL,CODEC,STREAM"
    std::string field;
    std::string wanted;
    std::string accepted;
};

bool operator==(const SAcceptedValue& a, const SAcceptedValue& b);

// What the cameras of a site have accepted in place of what was wanted, in the file SITE.accepted beside the
// site file. What a camera was asked for once counts as the same for as long as the wish and the camera's
// value are those of then. Its operations may be called from any thread.
class CAcceptedValues {
public:
    // Of no file: there are none. Throws CFileError for a file that cannot be read.
    explicit CAcceptedValues(const std::string& siteFile);

    bool has(const SAcceptedValue& value) const;
    // In place of what was known of the field; the file has it when this returns, or what it had before.
    // Throws CFileError.
    void take(const SAcceptedValue& value);

private:
    void write(const std::vector<SAcceptedValue>& values) const;

    const std::string file_;
    mutable std::mutex mutex_;           // guards what follows, and the writing of the file
    std::vector<SAcceptedValue> values_; // few: what a camera has as it is wanted is none of them
};

} // namespace corvane::site
