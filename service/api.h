#pragma once

#include "service/access.h"
#include "service/api_call.h"
#include "service/event_hub.h"
#include "service/http_server.h"
#include "service/kept_site.h"
#include "service/metrics.h"
#include "service/page_files.h"

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace corvane::service {

// What the interface has to do with.
struct SApiParts {
    CKeptSite& site;
    CEventHub& hub;
    CAccess& access;
    const CPageFiles& files;
    std::string service; // its name
    std::string version;
    std::string stateDirectory;
    std::vector<std::string> doctor; // words of a command line before the camera's name
    std::function<std::optional<SMetricsInput::SMqtt>()> mqtt; // null without a broker
    std::function<void()> reload;                              // the site file has been changed
};

// Answers the requests of the HTTP interface: who may ask, and which piece answers.
class CApi {
public:
    explicit CApi(SApiParts parts);

    // See CHttpServer::Handler.
    void handle(SHttpRequest request, const CHttpServer::Answer& answer);

private:
    using Answer = CHttpServer::Answer;
    // Answers later, or at once.
    using Handler = void (CApi::*)(const SApiCall& call, const Answer& answer);

    enum class On { Server, Pool }; // where a handler runs: one that asks a camera must not hold up others
    struct SRoute {
        const char* method;
        const char* pattern; // "{}" stands for a name
        std::optional<Role> role;
        On on;
        Handler handler;
    };
    static const std::vector<SRoute>& routes();

    void route(const std::shared_ptr<SHttpRequest>& request, const Answer& answer);
    void run(const SRoute& route, const std::shared_ptr<SHttpRequest>& request, SApiCall call,
             const Answer& answer);
    SKeptOne camera(const SApiCall& call) const;
    // Runs what asks a camera: of one camera a few at a time, so that one that is silent holds up only its
    // own. Throws CRefusal when too many wait.
    void queue(const std::string& camera, std::function<void()> task);
    void runQueued(const std::string& camera, const std::function<void()>& task);

    // api_site.cpp
    void logIn(const SApiCall& call, const Answer& answer);
    void tellSession(const SApiCall& call, const Answer& answer);
    void logOut(const SApiCall& call, const Answer& answer);
    void tellSite(const SApiCall& call, const Answer& answer);
    void tellOperations(const SApiCall& call, const Answer& answer);
    void tellHealth(const SApiCall& call, const Answer& answer);
    void tellReadiness(const SApiCall& call, const Answer& answer);
    void tellMetrics(const SApiCall& call, const Answer& answer);
    void tellDocument(const SApiCall& call, const Answer& answer);

    // api_cameras.cpp
    void tellCameras(const SApiCall& call, const Answer& answer);
    void tellCamera(const SApiCall& call, const Answer& answer);
    void tellRequests(const SApiCall& call, const Answer& answer);
    void tellHistory(const SApiCall& call, const Answer& answer);
    void check(const SApiCall& call, const Answer& answer);
    void sync(const SApiCall& call, const Answer& answer);
    void examine(const SApiCall& call, const Answer& answer);
    void tellBundle(const SApiCall& call, const Answer& answer);

    // api_changes.cpp
    void callOperation(const SApiCall& call, const Answer& answer);
    void patchAdjustments(const SApiCall& call, const Answer& answer);
    void patchStream(const SApiCall& call, const Answer& answer);
    void patchWish(const SApiCall& call, const Answer& answer);

    // api_live.cpp
    void move(const SApiCall& call, const Answer& answer);
    void stopMove(const SApiCall& call, const Answer& answer);
    void tellEvents(const SApiCall& call, const Answer& answer);
    void tellPicture(const SApiCall& call, const Answer& answer);
    void tellPictures(const SApiCall& call, const Answer& answer);
    std::shared_ptr<CPictureFeed> feed(const SApiCall& call) const;

    SApiParts parts_;
    std::atomic<int> examinations_{0};
    std::mutex writingFile_; // held while the site file is changed

    struct SCalls {
        int running = 0;
        std::deque<std::function<void()>> waiting;
    };
    std::mutex mutex_;                    // guards what follows
    std::map<std::string, SCalls> calls_; // of each camera
    std::size_t allCalls_ = 0;
};

// Who of a token's holders asks: a tab of a browser names itself (X-Client).
SHeadClient HeadClientOf(const SApiCall& call);

// The camera's session. Throws CRefusal, with the camera's problem, while there is none.
CKeptCamera::Session SessionOf(const CKeptCamera& camera);

// Whether an operation may change something at the camera.
bool IsWriting(const std::string& operation);
// Why an operation cannot be called here: it would ask somebody else, or disturb what others do on the same
// session. Null for one that can.
const char* WhyNotOffered(const site::SOperation& operation);

// Answers to {"operation","arguments"} as `vornhost script` does; nothing is sent for an operation that the
// role does not reach. Throws CRefusal.
SHttpAnswer AnswerCall(const SKeptOne& one, const nlohmann::ordered_json& body, Role role,
                       const SHeadClient& client);

} // namespace corvane::service
