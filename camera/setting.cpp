#include "camera/setting.h"

#include "camera/camera_url.h"
#include "camera/cgi_paths.h"
#include "camera/setdata_parser.h"
#include "camera/setting_keys.h"

#include "host/cgi.h"

#include <boost/chrono/duration.hpp>
#include <boost/make_shared.hpp>

#include <atomic>
#include <exception>
#include <utility>

namespace corvane::panasonic_camera {

using vorn_utility::v1_0::CVornCgiLib;

namespace {

boost::chrono::milliseconds BoostTime(std::chrono::milliseconds time) {
    return boost::chrono::milliseconds(time.count());
}

// Every reader of a busy recorder takes the lock, each for some 30 ns: one that finds it taken does better to
// look again than to sleep, which takes a hundred times as long.
boost::unique_lock<boost::mutex> LockForAMoment(boost::mutex& mutex) {
    constexpr int Looks = 100;
    for (int look = 0; look < Looks; ++look) {
        if (mutex.try_lock())
            return {mutex, boost::adopt_lock};
        __builtin_ia32_pause();
    }
    return boost::unique_lock<boost::mutex>(mutex);
}

} // namespace

CPanasonicSetting::CPanasonicSetting(const std::string& cameraAddress,
                                     boost::shared_ptr<IDeviceContext> context,
                                     const std::vector<std::string>& furtherKeys, SSettingTimes settingTimes)
    : ipAddress(cameraAddress),
      deviceContext(std::move(context)),
      lastFetchTime(settingTimes.now()),
      times_(std::move(settingTimes)) {
    for (const char* key : SettingKeys)
        settingCache[DumpKey(key)];
    for (const std::string& key : furtherKeys)
        settingCache[DumpKey(key)];
    for (const char* key : InfoKeys)
        infoCache[key];
    reloadThread = boost::make_shared<boost::thread>([this] { threadRun(); });
}

CPanasonicSetting::~CPanasonicSetting() {
    {
        const boost::lock_guard<boost::mutex> guard(lock);
        running = false;
        wakeup.notify_one();
    }
    reloadThread->join();
}

void CPanasonicSetting::threadRun() {
    boost::unique_lock<boost::mutex> guard(lock);
    while (running) {
        const std::uint64_t request = reloadRequests_;
        guard.unlock();
        int result = 0;
        try {
            result = getDetailsFromSetdata();
        } catch (const std::exception&) {
            result = -1; // short of memory: a failed fetch to the readers, and not the end of the recorder
        }
        guard.lock();
        lastFetchTime = times_.now();
        lastResult = result;
        refreshWanted_ = false;
        loadedRequests_ = request; // after a failure too, so that readers stop waiting
        loaded.notify_all();
        wakeup.wait_for(guard, BoostTime(times_.refreshPeriod),
                        [&] { return !running || refreshWanted_ || reloadRequests_ != request; });
    }
}

int CPanasonicSetting::getDetailsFromSetdata() {
    std::string reply;
    if (CameraHttpGet(cgi::Setdata, reply, cgi::SetdataTimeout))
        return -1;
    const boost::lock_guard<boost::mutex> guard(lock);
    ParseSetdata(reply, settingCache);
    return 0;
}

std::string CPanasonicSetting::GetCameraSetting(const std::string& key) {
    const std::string cacheKey = DumpKey(key);
    boost::unique_lock<boost::mutex> guard = LockForAMoment(lock);
    const std::uint64_t request = reloadRequests_;
    while (loadedRequests_ < request)
        loaded.wait_for(guard, BoostTime(times_.readerPoll));
    if (times_.now() - lastFetchTime > static_cast<std::uint64_t>(times_.staleAfter.count())) {
        refreshWanted_ = true;
        wakeup.notify_one();
    }
    if (lastResult != 0)
        return {};
    return settingCache[cacheKey]; // a key that is new here is filled by every fetch from now on
}

CError CPanasonicSetting::SetCameraSetting(const std::string& path, const std::string& query) {
    CError result = SetCameraSettingNoReload(path, query);
    ReloadSetting();
    return result;
}

CError CPanasonicSetting::SetCameraSettingNoReload(const std::string& path, const std::string& query) {
    std::string reply;
    CError result = query.empty() ? CameraHttpGet(path, reply, cgi::RequestTimeout)
                                  : CameraHttpPost(path, query, reply, cgi::RequestTimeout);
    const boost::lock_guard<boost::mutex> guard(lock);
    changed = true;
    return result;
}

int CPanasonicSetting::ReloadSetting() {
    const boost::lock_guard<boost::mutex> guard(lock);
    if (changed) {
        changed = false;
        ++reloadRequests_;
        wakeup.notify_one();
    }
    return 0;
}

std::string CPanasonicSetting::GetCameraInfo(const std::string& key) {
    static boost::mutex fetchMutex; // one fetch at a time in the process
    static std::atomic<bool> infoFetched{false};
    if (!infoFetched) {
        // Not looked at again: cameras that come up side by side each fetch their own.
        const boost::lock_guard<boost::mutex> fetching(fetchMutex);
        const CAuthentication authentication = currentAuthentication();
        if (!authentication.isSet() || !fetchInfo(authentication))
            return {};
        infoFetched = true;
    }
    const boost::lock_guard<boost::mutex> guard(lock);
    const auto found = infoCache.find(key);
    return found == infoCache.end() ? std::string() : found->second;
}

bool CPanasonicSetting::fetchInfo(const CAuthentication& authentication) {
    SVornUrl url = CameraUrl(cgi::Getinfo);
    url.parameters = {{"FILE", "1"}, {"page", "12345"}};
    std::vector<std::string> values; // the keys going in
    for (const auto& [key, value] : infoCache)
        values.push_back(key + "=");
    if (CVornCgiLib::vornCgiGetQueryResult(url, ipAddress, authentication.getUsername(),
                                           authentication.getPassword(), values, cgi::RequestTimeout,
                                           cgi::ValueDelimiters, cgi::AuthScheme))
        return false;
    const boost::lock_guard<boost::mutex> guard(lock);
    auto value = values.begin();
    for (auto& [key, cached] : infoCache)
        if (value != values.end())
            cached = *value++;
    return true;
}

} // namespace corvane::panasonic_camera
