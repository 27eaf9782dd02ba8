#include "service/prober.h"

#include <curl/curl.h>

#include <algorithm>
#include <deque>
#include <iterator>
#include <map>
#include <utility>

namespace corvane::service {
namespace {

constexpr std::size_t MostAtATime = 512;              // silent ones take as long as the patience
constexpr std::chrono::milliseconds ShortestWait{50}; // where a round waits for the one before

// Nothing of a reply is read but its beginning.
std::size_t Refuse(char* /*data*/, std::size_t /*size*/, std::size_t /*count*/, void* /*unused*/) {
    return 0;
}

using Request = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;

Request MakeRequest(const std::string& address, const std::string& path, std::chrono::milliseconds patience) {
    Request request(curl_easy_init(), curl_easy_cleanup);
    if (!request)
        throw std::bad_alloc();
    CURL* const curl = request.get();
    curl_easy_setopt(curl, CURLOPT_URL, ("http://" + address + path).c_str());
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_PROXY, "");
    curl_easy_setopt(curl, CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, 1L);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(patience.count()));
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &Refuse);
    return request;
}

} // namespace

// Those under way, and those that wait for their turn.
class CProber::CRequests {
public:
    CRequests(std::string path, std::chrono::milliseconds patience)
        : path_(std::move(path)), patience_(patience), multi_(curl_multi_init(), curl_multi_cleanup) {
        if (!multi_)
            throw std::bad_alloc();
    }
    ~CRequests() {
        for (const auto& [curl, running] : running_)
            curl_multi_remove_handle(multi_.get(), curl);
    }
    CRequests(const CRequests&) = delete;
    CRequests& operator=(const CRequests&) = delete;

    bool isIdle() const { return running_.empty() && waiting_.empty(); }

    void add(std::vector<STarget> targets) {
        std::move(targets.begin(), targets.end(), std::back_inserter(waiting_));
    }

    // Goes on with all of them, and waits for news of any.
    void step(std::chrono::milliseconds longest) {
        while (running_.size() < MostAtATime && !waiting_.empty())
            begin();
        int left = 0;
        curl_multi_perform(multi_.get(), &left);
        int queued = 0;
        while (const CURLMsg* const message = curl_multi_info_read(multi_.get(), &queued))
            if (message->msg == CURLMSG_DONE)
                take(message->easy_handle);
        if (running_.empty() && !waiting_.empty())
            return;
        curl_multi_poll(multi_.get(), nullptr, 0, static_cast<int>(longest.count()), nullptr);
    }

    // Ends the waiting of step(). Callable from any thread.
    void wake() { curl_multi_wakeup(multi_.get()); }

private:
    struct SRunning {
        Request request;
        STarget target;
    };

    // Where there is no memory it goes on waiting.
    void begin() {
        SRunning running{MakeRequest(waiting_.front().address, path_, patience_), waiting_.front()};
        CURL* const curl = running.request.get();
        const auto one = running_.emplace(curl, std::move(running)).first;
        if (curl_multi_add_handle(multi_.get(), curl) != CURLM_OK) {
            running_.erase(one);
            throw std::bad_alloc();
        }
        waiting_.pop_front();
    }

    void take(CURL* curl) {
        long status = 0;
        curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
        const auto asked = running_.extract(curl);
        curl_multi_remove_handle(multi_.get(), curl);
        asked.mapped().target.told(status != 0);
    }

    const std::string path_;
    const std::chrono::milliseconds patience_;
    const std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)> multi_;
    std::map<CURL*, SRunning> running_;
    std::deque<STarget> waiting_;
};

CProber::CProber(std::string path, Targets targets, SProberTimes times)
    : targets_(std::move(targets)),
      times_(times),
      requests_(std::make_unique<CRequests>(std::move(path), times.patience)),
      thread_([this] { run(); }) {}

CProber::~CProber() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isEnded_ = true;
    }
    requests_->wake();
    thread_.join();
}

void CProber::ask(STarget target) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        asked_.push_back(std::move(target));
    }
    requests_->wake();
}

// A round waits for the end of the one before.
void CProber::run() {
    using Clock = std::chrono::steady_clock;
    using std::chrono::milliseconds;
    auto next = Clock::now();
    for (;;) {
        try {
            {
                const std::lock_guard<std::mutex> lock(mutex_);
                if (isEnded_)
                    return;
                requests_->add(std::exchange(asked_, {}));
            }
            const auto now = Clock::now();
            if (now >= next && requests_->isIdle()) {
                next = now + times_.period;
                requests_->add(targets_());
            }
            const auto wait = std::chrono::ceil<milliseconds>(next - now);
            requests_->step(std::clamp(wait, ShortestWait, times_.period));
        } catch (const std::bad_alloc&) { // the next round may have memory
        }
    }
}

} // namespace corvane::service
