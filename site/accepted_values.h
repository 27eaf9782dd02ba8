#pragma once

#include <mutex>
#include <set>
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
    // In place of what was known of the field. The file has it when it is saved.
    void take(const SAcceptedValue& value);
    // Puts what was taken into the file, among what others have put there meanwhile, and leaves out what is
    // of none of the cameras. Throws CFileError; the file is then as it was.
    void save(const std::set<std::string>& cameras);

private:
    const std::string siteFile_;
    const std::string file_;
    mutable std::mutex mutex_;           // guards what follows
    std::vector<SAcceptedValue> values_; // few: what a camera has as it is wanted is none of them
    std::vector<SAcceptedValue> taken_;  // that are not in the file yet
};

} // namespace corvane::site
