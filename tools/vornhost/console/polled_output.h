#pragma once

#include <string>

namespace corvane::vornhost {

// Lines for standard output that are written as the reader takes them, for a thread that may neither wait for
// the reader nor end with it: WriteOutput does both. Belongs to one thread.
class CPolledOutput {
public:
    void add(const std::string& line) { waiting_ += line; }
    // Whether write() is to be called when standard output takes something.
    bool isWaiting() const { return !waiting_.empty() && !isBroken_; }
    // Writes one piece; false when standard output cannot be written, for good.
    bool write();
    // Writes the rest as WriteOutput does.
    void finish();

private:
    std::string waiting_;
    bool isBroken_ = false;
};

} // namespace corvane::vornhost
