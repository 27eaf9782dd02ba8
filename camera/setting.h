#pragma once

#include "camera/setdata_parser.h"
#include "camera/time.h"
#include "host/authentication.h"
#include "host/device_context.h"
#include "host/error.h"
#include "host/url.h"

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace corvane::panasonic_camera {

using device_handler::v1_0::CAuthentication;
using device_handler::v1_0::CError;
using device_handler::v1_0::IDeviceContext;
using device_handler::v1_0::SVornUrl;

// The clock and the periods of a settings cache.
struct SSettingTimes {
    boost::function<std::uint64_t()> now = get_time;                       // wall clock, milliseconds
    std::chrono::milliseconds refreshPeriod = std::chrono::seconds(300);   // between two fetches when idle
    std::chrono::milliseconds staleAfter = std::chrono::seconds(60);       // a reader then asks for a fetch
    std::chrono::milliseconds readerPoll = std::chrono::milliseconds(100); // a waiting reader looks again
};

// One camera's CGI transport and settings cache. A thread of its own fetches the camera's whole settings dump
// ("/cgi-bin/setdata") at once, then every 300 seconds, when a reader finds the data older than 60 seconds,
// and after a write. Every operation may be called from any thread; the destructor must not run beside one.
//
// The credentials are read from the device context at each request and never kept.
class CPanasonicSetting {
public:
    // `cameraAddress` is a host name or dotted address, with ":PORT" where the camera's web port is not 80;
    // `context` must not be empty; `furtherKeys` are settings, without their comma, that are looked for from
    // the first dump on beside those that every camera is asked for (camera/setting_keys.h). Throws
    // boost::thread_resource_error when the thread cannot be started.
    CPanasonicSetting(const std::string& cameraAddress, boost::shared_ptr<IDeviceContext> context,
                      const std::vector<std::string>& furtherKeys = {}, SSettingTimes settingTimes = {});
    // Ends and joins the thread: at once when it waits, after a fetch under way (20 seconds at most)
    // otherwise.
    ~CPanasonicSetting();
    CPanasonicSetting(const CPanasonicSetting&) = delete;
    CPanasonicSetting& operator=(const CPanasonicSetting&) = delete;

    // --- Transport. Without credentials each fails with (16, 3, "Authentication is not set !") and sends
    // nothing; otherwise it fails as the exchange does (host/cgi.h). A failure leaves the outputs unchanged.

    // GET of `path`, which may carry a query; the reply's whole body in `response`. `timeoutSeconds` is for
    // the whole exchange.
    CError CameraHttpGet(const std::string& path, std::string& response, int timeoutSeconds);

    // POST of `body` to `path`, or to the absolute URL that `path` is when it begins with "http:". Only
    // status 200 is success; any failure is "CGI request failed !!" with code 7 (no status), 10 (401) or 2
    // (any other) and clears `response`. The reply's body is never returned, and the time-out is the
    // framework's.
    CError CameraHttpPost(const std::string& path, const std::string& body, std::string& response,
                          int timeoutSeconds);

    // GET of `path` with `keys` ("PAN=") as query parameters; in `values` one value a key, in order, empty
    // for one that the reply does not hold. Takes 4 seconds at most.
    CError GetDetailsFromUrl(const std::string& path, const std::vector<std::string>& keys,
                             std::vector<std::string>& values);

    // GET of `path` and the value behind the first `key` in the reply, up to a line end or "&". Empty when
    // the request fails or the key is absent; a key at the very first character of the reply is not found.
    std::string GetDetailsFromUrl(const std::string& path, const std::string& key);

    // --- Settings.

    // The cached value of a setting, named without its comma ("CAMTITLE"). Waits until a fetch has ended that
    // began after the last reload asked for before this call: for the fetch under way and one more at most,
    // however many are asked for meanwhile. Empty when the last fetch failed or the camera does not report
    // the setting.
    std::string GetCameraSetting(const std::string& key);

    // Sends `query` to `path` as a POST, or with an empty `query` `path` as a GET, and returns the
    // transport's result. From then on the cache counts as changed, whether or not the request succeeded; the
    // first form also asks for the reload, so that the next reader sees a dump taken after the write.
    CError SetCameraSetting(const std::string& path, const std::string& query);
    CError SetCameraSettingNoReload(const std::string& path, const std::string& query);

    // If anything was written since the last call: the next readers wait for a dump taken after this. Always
    // 0.
    int ReloadSetting();

    // The identity value "MAC", "VERSION" or "NAME", from "/cgi-bin/getinfo"; empty for any other name,
    // without credentials and when the request fails. Once a request has succeeded
    // in the process, nobody asks any more: an object that has not asked by then answers empty texts.
    std::string GetCameraInfo(const std::string& key);

    // One fetch of the settings dump into the cache: 0, or -1 when it failed and the cache is unchanged. A
    // setting that the camera does not report is emptied.
    int getDetailsFromSetdata();

private:
    void threadRun();
    bool fetchInfo(const CAuthentication& authentication);
    CAuthentication currentAuthentication() const;

    // NOLINTBEGIN(readability-identifier-naming): as the interface names them
    SettingMap settingCache;                      // guarded by lock
    std::map<std::string, std::string> infoCache; // its values are guarded by lock; its keys never change
    boost::shared_ptr<boost::thread> reloadThread;
    boost::condition_variable wakeup; // the reload thread has something to do; with lock
    boost::mutex lock;
    bool running = true;  // guarded by lock
    bool changed = false; // guarded by lock; a setting was written since the last reload request
    const std::string ipAddress;
    const boost::shared_ptr<IDeviceContext> deviceContext;
    int lastResult = -1;              // guarded by lock; of the last fetch: 0 or -1
    std::uint64_t lastFetchTime;      // guarded by lock; when the last fetch ended
    boost::condition_variable loaded; // loadedRequests_ has grown; with lock
    // NOLINTEND(readability-identifier-naming)

    const SSettingTimes times_;
    std::uint64_t reloadRequests_ = 1; // guarded by lock; how often it was asked for: first by the start
    std::uint64_t loadedRequests_ = 0; // guarded by lock; how many of them a fetch that has ended came after
    bool refreshWanted_ = false;       // guarded by lock; a reader found the data stale
};

} // namespace corvane::panasonic_camera
