#pragma once

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

namespace corvane::bench {

// Stands between a client and a camera, and notes when the first byte of the client's latest request came.
// One client at a time; every byte is passed on at once.
class CArrivalRelay {
public:
    using Clock = std::chrono::steady_clock;

    // Throws CFailure. `camera` is HOST:PORT.
    explicit CArrivalRelay(const std::string& camera);
    ~CArrivalRelay();
    CArrivalRelay(const CArrivalRelay&) = delete;
    CArrivalRelay& operator=(const CArrivalRelay&) = delete;

    const std::string& address() const { return address_; }
    Clock::time_point latestArrival() const { return Clock::time_point(Clock::duration(latestArrival_)); }

private:
    void serve();
    void relay(int client);
    int connectToCamera() const;

    const std::string camera_;
    int listener_ = -1;
    int stopReader_ = -1; // readable once the relay ends
    int stopWriter_ = -1;
    std::string address_;
    std::atomic<Clock::duration::rep> latestArrival_{0};
    std::thread thread_;
};

} // namespace corvane::bench
