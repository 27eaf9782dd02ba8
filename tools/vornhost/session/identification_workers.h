#pragma once

#include "site/session/options.h"
#include "tools/vornhost/names.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace corvane::vornhost {

// Identifies many addresses side by side. The plug-in asks one address after another in a process (an answer
// ends every query that is under way), so each worker is a process of this program, which takes addresses on
// its standard input and tells failures on the standard error of this one.
class CIdentificationWorkers {
public:
    // Learns the JSON line of an address by its place, on a worker's thread; empty where the worker has ended
    // without an answer.
    using Told = std::function<void(std::size_t place, const std::string& line)>;

    // `told` must outlive the workers.
    CIdentificationWorkers(const SOptions& options, Told told);
    // Leaves out what no worker has begun with.
    ~CIdentificationWorkers();
    CIdentificationWorkers(const CIdentificationWorkers&) = delete;
    CIdentificationWorkers& operator=(const CIdentificationWorkers&) = delete;

    void add(std::size_t place, const std::string& address);
    // Returns when all are told. Throws CFailure where a worker could not be started.
    void finish();

private:
    static constexpr std::size_t Most = 32;

    struct STask {
        std::size_t place;
        std::string address;
    };

    void end();
    void work();
    bool take(STask& task);

    std::vector<std::string> command_;
    const Told told_;
    std::vector<std::thread> threads_;

    std::mutex mutex_; // guards what follows
    std::condition_variable changed_;
    std::deque<STask> tasks_;
    std::size_t idle_ = 0;
    bool isComplete_ = false;
    std::string failure_; // why a worker could not be started
};

} // namespace corvane::vornhost
