#include "service/prober.h"

#include <curl/curl.h>

#include <memory>
#include <set>
#include <utility>

namespace corvane::service {
namespace {

constexpr std::size_t MostAtATime = 128;
constexpr int LongestWait = 200; // ms, for an end to be noticed

using Multi = std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)>;

// Nothing of a reply is read but its beginning.
std::size_t Refuse(char* /*data*/, std::size_t /*size*/, std::size_t /*count*/, void* /*unused*/) {
    return 0;
}

CURL* MakeRequest(const std::string& address, const std::string& path, std::chrono::milliseconds patience,
                  std::size_t& place) {
    CURL* const curl = curl_easy_init();
    if (!curl)
        throw std::bad_alloc();
    curl_easy_setopt(curl, CURLOPT_URL, ("http://" + address + path).c_str());
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_PROXY, "");
    curl_easy_setopt(curl, CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, 1L);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(patience.count()));
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &Refuse);
    curl_easy_setopt(curl, CURLOPT_PRIVATE, &place);
    return curl;
}

// The requests of one round.
class CRound {
public:
    CRound(const std::vector<CProber::STarget>& targets, const std::string& path,
           std::chrono::milliseconds patience)
        : targets_(targets), path_(path), patience_(patience), multi_(curl_multi_init(), curl_multi_cleanup) {
        if (!multi_)
            throw std::bad_alloc();
        for (std::size_t i = 0; i < targets.size(); ++i)
            places_.push_back(i);
    }
    ~CRound() {
        for (CURL* const curl : running_)
            end(curl);
    }
    CRound(const CRound&) = delete;
    CRound& operator=(const CRound&) = delete;

    // Whether there is more to do.
    bool step() {
        while (running_.size() < MostAtATime && next_ < targets_.size())
            begin();
        int left = 0;
        curl_multi_perform(multi_.get(), &left);
        int queued = 0;
        while (const CURLMsg* const message = curl_multi_info_read(multi_.get(), &queued))
            if (message->msg == CURLMSG_DONE)
                take(message->easy_handle);
        if (!running_.empty())
            curl_multi_poll(multi_.get(), nullptr, 0, LongestWait, nullptr);
        return !running_.empty() || next_ < targets_.size();
    }

private:
    void begin() {
        CURL* const curl = MakeRequest(targets_[next_].address, path_, patience_, places_[next_]);
        ++next_;
        running_.insert(curl);
        curl_multi_add_handle(multi_.get(), curl);
    }

    void take(CURL* curl) {
        long status = 0;
        std::size_t* place = nullptr;
        curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
        curl_easy_getinfo(curl, CURLINFO_PRIVATE, &place);
        targets_[*place].told(status != 0);
        running_.erase(curl);
        end(curl);
    }

    void end(CURL* curl) {
        curl_multi_remove_handle(multi_.get(), curl);
        curl_easy_cleanup(curl);
    }

    const std::vector<CProber::STarget>& targets_;
    const std::string& path_;
    const std::chrono::milliseconds patience_;
    const Multi multi_;
    std::vector<std::size_t> places_; // requests point into it
    std::set<CURL*> running_;
    std::size_t next_ = 0;
};

} // namespace

CProber::CProber(std::string path, Targets targets, SProberTimes times)
    : path_(std::move(path)), targets_(std::move(targets)), times_(times), thread_([this] { run(); }) {}

CProber::~CProber() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isEnded_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

bool CProber::isEnded() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return isEnded_;
}

void CProber::run() {
    auto next = std::chrono::steady_clock::now() + times_.period;
    for (;;) {
        {
            std::unique_lock<std::mutex> lock(mutex_);
            if (changed_.wait_until(lock, next, [this] { return isEnded_; }))
                return;
        }
        next = std::chrono::steady_clock::now() + times_.period;
        try {
            askAll(targets_());
        } catch (const std::bad_alloc&) { // the next round may have memory
        }
    }
}

void CProber::askAll(const std::vector<STarget>& targets) {
    CRound round(targets, path_, times_.patience);
    while (!isEnded() && round.step()) {
    }
}

} // namespace corvane::service
