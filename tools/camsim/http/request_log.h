#pragma once

#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace camsim {

// One request that a camera had.
struct SLoggedRequest {
    uint64_t id = 0;
    size_t camera = 0;
    std::string method;
    std::string target; // the path with its query
    std::string body;   // its beginning, when the log cut it
    bool bodyIsCut = false;
    std::optional<unsigned> status; // none while it is unanswered, and for good when it got no HTTP answer
    std::string authorization;      // as SAuthVerdict tells it
    std::string fault;              // the kinds that hit it, joined by "+"
    int64_t milliseconds = 0;       // since the epoch, when it had come in whole
    size_t cost = 0; // set by the log: the most bytes that it takes there, or escaped in an answer
};

// The last requests of all cameras, in the order in which they came in, as far as there is room. Every
// operation may be called on any thread.
class CRequestLog {
public:
    struct SCapacity {
        static constexpr size_t OrdinaryExcerpt = 4 * 1024 * 1024;
        size_t requests;
        size_t bytes = 64 * 1024 * 1024;  // of all requests together, each as large as it is in an answer
        size_t body = 64 * 1024;          // bytes of one request's body that are kept
        size_t excerpt = OrdinaryExcerpt; // bytes that are read in one go, counted likewise
    };
    explicit CRequestLog(const SCapacity& capacity) : capacity_(capacity) {}

    // Answers the request's id; ids count up from 1 and are never given again.
    uint64_t add(SLoggedRequest request);
    void answered(uint64_t id, unsigned status);

    struct SExcerpt {
        std::vector<SLoggedRequest> requests;
        uint64_t last;    // id of the newest request ever logged; 0 when there was none
        uint64_t dropped; // how many were forgotten since the log was cleared, for want of room
        bool more;        // whether it ends before the last request because it would become too large
    };
    // Requests with an id above `after`, of one camera or of all.
    SExcerpt read(std::optional<size_t> camera, uint64_t after) const;

    void clear();

private:
    const SCapacity capacity_;
    mutable std::mutex mutex_;
    std::deque<SLoggedRequest> requests_; // guarded by mutex_; consecutive ids
    size_t bytes_ = 0;                    // guarded by mutex_; of requests_
    uint64_t last_ = 0;                   // guarded by mutex_
    uint64_t dropped_ = 0;                // guarded by mutex_
};

} // namespace camsim
