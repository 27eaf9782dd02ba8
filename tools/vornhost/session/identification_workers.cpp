#include "tools/vornhost/session/identification_workers.h"

#include "site/base/exit_status.h"
#include "tools/vornhost/names.h"

#include <gio/gio.h>

#include <memory>
#include <utility>

namespace corvane::vornhost {
namespace {

struct SUnref {
    void operator()(void* object) const { g_object_unref(object); }
};
template <class Object>
using CRef = std::unique_ptr<Object, SUnref>;

// A process that answers each line with a line.
class CWorker {
public:
    explicit CWorker(const std::vector<std::string>& command) {
        std::vector<const char*> words;
        words.reserve(command.size() + 1);
        for (const std::string& word : command)
            words.push_back(word.c_str());
        words.push_back(nullptr);
        GError* error = nullptr;
        process_.reset(g_subprocess_newv(
            words.data(),
            static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDIN_PIPE | G_SUBPROCESS_FLAGS_STDOUT_PIPE),
            &error));
        if (!process_) {
            const std::string reason = error->message;
            g_error_free(error);
            throw CFailure(ExitStatus::NotStarted, "a worker could not be started: " + reason,
                           OwnCause::Limit);
        }
        answers_.reset(g_data_input_stream_new(g_subprocess_get_stdout_pipe(process_.get())));
    }
    ~CWorker() {
        if (process_)
            g_output_stream_close(g_subprocess_get_stdin_pipe(process_.get()), nullptr, nullptr);
        if (process_)
            g_subprocess_wait(process_.get(), nullptr, nullptr);
    }
    CWorker(const CWorker&) = delete;
    CWorker& operator=(const CWorker&) = delete;

    // Empty when it has ended.
    std::string answerTo(std::string line) {
        line += '\n';
        if (!g_output_stream_write_all(g_subprocess_get_stdin_pipe(process_.get()), line.data(), line.size(),
                                       nullptr, nullptr, nullptr))
            return {};
        const std::unique_ptr<char, decltype(&g_free)> answer(
            g_data_input_stream_read_line(answers_.get(), nullptr, nullptr, nullptr), g_free);
        return answer ? answer.get() : "";
    }

private:
    CRef<GSubprocess> process_;
    CRef<GDataInputStream> answers_;
};

std::vector<std::string> CommandOf(SOptions options) {
    options.json = true;
    std::vector<std::string> command{"/proc/self/exe"};
    const std::vector<std::string> words = options.arguments();
    command.insert(command.end(), words.begin(), words.end());
    command.insert(command.end(), {"identify", "-"});
    return command;
}

} // namespace

CIdentificationWorkers::CIdentificationWorkers(const SOptions& options, Told told)
    : command_(CommandOf(options)), told_(std::move(told)) {}

CIdentificationWorkers::~CIdentificationWorkers() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        tasks_.clear();
    }
    end();
}

void CIdentificationWorkers::add(std::size_t place, const std::string& address) {
    bool isBusy = false;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        tasks_.push_back({place, address});
        isBusy = idle_ < tasks_.size();
    }
    if (isBusy && threads_.size() < Most)
        threads_.emplace_back([this] { work(); });
    changed_.notify_one();
}

void CIdentificationWorkers::finish() {
    end();
    if (!failure_.empty())
        throw CFailure(ExitStatus::NotStarted, failure_, OwnCause::Limit);
}

void CIdentificationWorkers::end() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isComplete_ = true;
    }
    changed_.notify_all();
    for (std::thread& thread : std::exchange(threads_, {}))
        thread.join();
}

bool CIdentificationWorkers::take(STask& task) {
    std::unique_lock<std::mutex> lock(mutex_);
    ++idle_;
    changed_.wait(lock, [this] { return !tasks_.empty() || isComplete_; });
    --idle_;
    if (tasks_.empty())
        return false;
    task = std::move(tasks_.front());
    tasks_.pop_front();
    return true;
}

void CIdentificationWorkers::work() {
    try {
        CWorker worker(command_);
        for (STask task; take(task);)
            told_(task.place, worker.answerTo(task.address));
    } catch (const CFailure& failure) {
        const std::lock_guard<std::mutex> lock(mutex_);
        failure_ = failure.what();
        tasks_.clear();
    }
}

} // namespace corvane::vornhost
