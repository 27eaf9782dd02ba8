#include "service/kept_site.h"

#include "site/base/standard_streams.h"
#include "site/cameras/site_wish.h"
#include "site/session/identification.h"
#include "site/spread.h"
#include "site/text_file.h"

#include <algorithm>
#include <set>
#include <thread>

namespace corvane::service {
namespace {

using std::chrono::milliseconds;

constexpr std::size_t Looks = 64; // at cameras, side by side
constexpr std::size_t SuspectLooks = 64;
constexpr std::size_t Calls = 64;
constexpr std::chrono::seconds LongestStop{5}; // of heads that move when all ends
constexpr milliseconds FirstDriftLook{2'000};  // when a camera has been there for so long
constexpr milliseconds PauseAfterMiss{20'000};

site::CAcceptedValues OpenAccepted(const std::string& file) {
    try {
        return site::CAcceptedValues(file);
    } catch (const site::CFileError& error) {
        throw site::CFailure(site::ExitStatus::WrongUsage, error.what(), site::OwnCause::WrongFile);
    }
}

// A finding's fault is told last by who looks.
void Settle(site::SCameraFinding& finding) {
    if (finding.problem)
        finding.state = site::CameraState::Fault;
}

SDrift DriftOf(const site::SCameraFinding& finding) {
    SDrift drift;
    drift.state = finding.problem               ? DriftState::Fault
                  : finding.differences.empty() ? DriftState::Same
                                                : DriftState::Differs;
    drift.checked = std::chrono::system_clock::now();
    drift.differences = finding.differences;
    drift.ignored = finding.ignored;
    return drift;
}

CProber::STarget TargetOf(const std::shared_ptr<CKeptCamera>& camera) {
    return {camera->entry()->address, [camera](bool isAnswering) { camera->probed(isAnswering); }};
}

} // namespace

CKeptSite::CKeptSite(const site::SOptions& options, std::string file, ISiteObserver& observer,
                     SSiteTimes times)
    : options_(options),
      file_(std::move(file)),
      times_(times),
      recorder_(options),
      accepted_(OpenAccepted(file_)),
      pool_(Looks),
      suspects_(SuspectLooks),
      calls_(Calls),
      clock_(1),
      keeping_{pool_, suspects_, observer, answerTimes_, times.keeping} {
    take(std::make_shared<const site::CSiteSessions>(options_, file_, recorder_));
}

CKeptSite::~CKeptSite() {
    end();
}

SKeptOne CKeptSite::make(const std::shared_ptr<const site::CSiteSessions>& sessions,
                         const site::SSiteCamera& camera, CKeptCamera::History history) {
    const CKeptCamera::Entry entry(sessions, &camera);
    auto kept = std::make_shared<CKeptCamera>(
        entry, [sessions, entry] { return sessions->open(*entry); }, keeping_, std::move(history));
    return {kept, std::make_shared<CCameraHead>(kept, clock_, calls_)};
}

// The cameras of the file; those that are as they were before stay.
void CKeptSite::take(const std::shared_ptr<const site::CSiteSessions>& sessions) {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::map<std::string, SKeptOne> cameras;
    order_.clear();
    for (const site::SSiteCamera& camera : sessions->site().cameras) {
        const auto known = cameras_.find(camera.name);
        const bool isSame = known != cameras_.end() && sessions->reachesAlike(*sessions_, camera.name);
        if (isSame && known->second.camera->setEntry(CKeptCamera::Entry(sessions, &camera)))
            calls_.add([this, weak = std::weak_ptr<CKeptCamera>(known->second.camera)] { checkOnce(weak); });
        // Of the name, since who follows it asks for no more than that.
        const CKeptCamera::History history =
            known != cameras_.end() ? known->second.camera->history() : std::make_shared<CCameraHistory>();
        cameras.emplace(camera.name, isSame ? known->second : make(sessions, camera, history));
        order_.push_back(camera.name);
    }
    cameras_.swap(cameras);
    sessions_ = sessions;
}

void CKeptSite::start() {
    const std::lock_guard<std::mutex> reloading(reloading_);
    for (const auto& camera : cameras()) {
        camera->start();
        calls_.add([this, weak = std::weak_ptr<CKeptCamera>(camera)] { lookForDrift(weak); }, FirstDriftLook);
    }
    prober_ = std::make_unique<CProber>(
        site::FirstRequest(*recorder_.plugin->models()), [this] { return targets(); }, times_.prober);
}

void CKeptSite::end() {
    std::unique_ptr<CProber> prober;
    {
        const std::lock_guard<std::mutex> reloading(reloading_);
        prober.swap(prober_);
    }
    prober.reset();
    std::map<std::string, SKeptOne> cameras;
    decltype(feeds_) feeds;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        cameras.swap(cameras_);
        feeds.swap(feeds_);
    }
    for (const auto& [name, one] : cameras)
        one.head->end();
    for (const auto& [key, feed] : feeds)
        feed->end();
    const auto deadline = std::chrono::steady_clock::now() + LongestStop;
    for (const auto& [name, one] : cameras)
        one.head->awaitStill(deadline);
    pool_.end();
    suspects_.end();
    calls_.end();
    clock_.end();
    for (const auto& [name, one] : cameras)
        one.camera->end();
}

void CKeptSite::reload() {
    const std::lock_guard<std::mutex> reloading(reloading_);
    const auto sessions = std::make_shared<const site::CSiteSessions>(options_, file_, recorder_);
    std::map<std::string, SKeptOne> before;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        before = cameras_;
    }
    take(sessions);
    std::set<std::shared_ptr<CKeptCamera>> known;
    for (const auto& [name, one] : before)
        known.insert(one.camera);
    for (const auto& camera : cameras()) {
        if (known.erase(camera) > 0)
            continue;
        camera->start();
        if (prober_) // else before the start, which asks all, or at the end
            prober_->ask(TargetOf(camera));
        calls_.add([this, weak = std::weak_ptr<CKeptCamera>(camera)] { lookForDrift(weak); }, FirstDriftLook);
    }
    for (const auto& [name, one] : before)
        if (known.count(one.camera) > 0)
            letGo(one);
}

// Of a camera that has left the file, or has another entry now. Its head is stopped before its session goes.
void CKeptSite::letGo(const SKeptOne& one) {
    const std::string& name = one.camera->name();
    if (!find(name))
        keeping_.observer.cameraGone(name);
    one.head->end();
    decltype(feeds_) feeds; // which take their time to end
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        for (auto feed = feeds_.begin(); feed != feeds_.end();) {
            const auto next = std::next(feed);
            if (feed->second->isOf(*one.camera))
                feeds.insert(feeds_.extract(feed));
            feed = next;
        }
    }
    suspects_.add([one, feeds] {
        for (const auto& [key, feed] : feeds)
            feed->end();
        one.camera->end();
    });
}

std::optional<SKeptOne> CKeptSite::find(const std::string& name) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = cameras_.find(name);
    return found == cameras_.end() ? std::nullopt : std::optional(found->second);
}

std::vector<std::shared_ptr<CKeptCamera>> CKeptSite::cameras() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::shared_ptr<CKeptCamera>> all;
    for (const std::string& name : order_)
        if (const auto found = cameras_.find(name); found != cameras_.end())
            all.push_back(found->second.camera);
    return all;
}

std::vector<SCameraStatus> CKeptSite::statuses() const {
    std::vector<SCameraStatus> all;
    for (const auto& camera : cameras())
        all.push_back(camera->status());
    return all;
}

// Those that nobody has heard for a while. One that refuses the credentials is left in peace.
std::vector<CProber::STarget> CKeptSite::targets() const {
    const auto now = std::chrono::steady_clock::now();
    std::vector<CProber::STarget> all;
    for (const auto& camera : cameras())
        if (now - camera->lastHeard() >= times_.prober.period / 2)
            all.push_back(TargetOf(camera));
    return all;
}

SSiteLook CKeptSite::check(const std::shared_ptr<CKeptCamera>& camera, Settings settings) {
    SSiteLook look{camera->entry(), {}};
    look.finding.camera = look.entry.get();
    if (const CKeptCamera::Session session = camera->session()) {
        site::CWishWork work(session->session(), *look.entry);
        if (settings == Settings::Anew)
            look.finding.problem = work.readAnew();
        if (!look.finding.problem)
            work.compare(look.finding, {site::UtcToday(), &accepted_});
        Settle(look.finding);
        camera->setDrift(DriftOf(look.finding));
        return look;
    }
    look.finding.problem = camera->whyUnanswered();
    Settle(look.finding);
    return look;
}

SSiteLook CKeptSite::sync(const std::shared_ptr<CKeptCamera>& camera) {
    const std::lock_guard<std::mutex> writing(camera->writing());
    SSiteLook look = check(camera);
    site::SCameraFinding& finding = look.finding;
    const CKeptCamera::Session session = camera->session();
    if (!session || finding.problem || finding.differences.empty())
        return look;
    site::CWishWork(session->session(), *look.entry).set(finding, {site::UtcToday(), &accepted_});
    Settle(finding);
    keepAccepted();
    if (finding.state == site::CameraState::Changed) {
        // A camera says nothing when a setting jumps back, so there is nothing to wait for but the time.
        std::this_thread::sleep_for(site::LongestToJumpBack);
        const SSiteLook last = check(camera);
        finding.problem = last.finding.problem;
        finding.differences = last.finding.differences;
        if (last.finding.state != site::CameraState::Same)
            finding.state = finding.problem ? site::CameraState::Fault : site::CameraState::NotAccepted;
    }
    return look;
}

void CKeptSite::keepAccepted() {
    std::set<std::string> names;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        names.insert(order_.begin(), order_.end());
    }
    try {
        accepted_.save(names);
    } catch (const site::CFileError& error) {
        site::WriteMessage(std::string("vornhost: serve: ") + error.what() +
                           "; what cameras have rounded will be set once more\n");
    }
}

// False for a camera that cannot be asked now.
bool CKeptSite::checkOnce(const std::weak_ptr<CKeptCamera>& camera) {
    const auto kept = camera.lock();
    if (!kept || !kept->session())
        return false;
    try {
        (void)check(kept);
    } catch (const std::exception&) { // short of memory or descriptors: the next look may have them
        return false;
    }
    return true;
}

void CKeptSite::lookForDrift(const std::weak_ptr<CKeptCamera>& camera) {
    const bool isDone = checkOnce(camera);
    if (camera.expired())
        return;
    const milliseconds period = site::Spread(times_.drift);
    const milliseconds next = isDone ? period : std::min(period, PauseAfterMiss);
    calls_.add([this, camera] { lookForDrift(camera); }, next);
}

std::shared_ptr<CPictureFeed> CKeptSite::feed(const std::string& name, const site::SVideoStreamId& id) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto one = cameras_.find(name);
    if (one == cameras_.end())
        return nullptr;
    std::shared_ptr<CPictureFeed>& feed = feeds_[{name, id}];
    if (!feed)
        feed = std::make_shared<CPictureFeed>(one->second.camera, id, calls_);
    return feed;
}

void CKeptSite::tick() {
    std::vector<std::shared_ptr<CPictureFeed>> all;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        for (auto feed = feeds_.begin(); feed != feeds_.end();) {
            all.push_back(feed->second);
            feed = feed->second->isForgotten() ? feeds_.erase(feed) : std::next(feed);
        }
    }
    for (const auto& feed : all)
        feed->tick();
}

} // namespace corvane::service
