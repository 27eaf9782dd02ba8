#include "service/kept_camera.h"

#include "refhost/http/connection_probe.h"
#include "site/cameras/site_wish.h"
#include "site/events/event_text.h"
#include "site/session/identification.h"
#include "site/spread.h"
#include "site/streams/stream_setting.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace corvane::service {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using Problem = std::optional<site::SDiagnosis>;

constexpr int AnswerPatience = 4; // seconds
const site::SVideoStreamId FirstStream{0, site::VideoCodec::H264, 0};

// Of a camera with another problem something has answered.
constexpr const char* NotAnswering[] = {"name-not-found", "unreachable", "refused", "no-answer", "slow",
                                        "dropped",        "cut",         "tls",     "restarting"};
constexpr const char* Refusing[] = {"no-credentials", "wrong-password", "authentication-endless",
                                    "forbidden"};

template <std::size_t N>
bool IsOneOf(const char* const (&causes)[N], const Problem& problem) {
    return problem && std::find(std::begin(causes), std::end(causes), problem->cause) != std::end(causes);
}

Health HealthOf(const Problem& problem) {
    return !problem || problem->isWarning   ? Health::Up
           : IsOneOf(NotAnswering, problem) ? Health::Down
                                            : Health::Degraded;
}

Problem Guarded(const std::function<Problem()>& work) {
    try {
        return work();
    } catch (const site::CFailure& failure) {
        return site::DiagnoseOwn(failure);
    } catch (const std::exception& failure) { // short of memory, threads or descriptors
        return site::DiagnoseOwn({site::ExitStatus::NotStarted, failure.what(), site::OwnCause::Limit});
    }
}

// The session, and the entry that it refers to.
struct SOpened {
    CKeptCamera::Entry entry;
    std::unique_ptr<site::CSiteCamera> camera;
};

} // namespace

CKeptCamera::CKeptCamera(Entry entry, Open open, SKeeping& keeping, History history)
    : name_(entry->name),
      open_(std::move(open)),
      keeping_(keeping),
      history_(std::move(history)),
      entry_(std::move(entry)) {
    status_.name = entry_->name;
    status_.address = entry_->address;
    status_.model = entry_->model;
    status_.serialNumber = entry_->serialNumber;
    status_.tags = entry_->tags;
    status_.since = std::chrono::system_clock::now();
    for (const int input : entry_->inputs.value_or(std::vector<int>()))
        addInput(input);
}

void CKeptCamera::start() {
    {
        const std::lock_guard<std::mutex> telling(telling_);
        keeping_.observer.cameraChanged(status(), nullptr);
    }
}

void CKeptCamera::end() {
    {
        const std::lock_guard<std::mutex> telling(telling_);
        const std::lock_guard<std::mutex> lock(mutex_);
        isEnded_ = true;
        ++lookNumber_;
    }
    const std::lock_guard<std::mutex> looking(looking_);
    letGo();
}

CKeptCamera::Entry CKeptCamera::entry() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return entry_;
}

bool CKeptCamera::setEntry(Entry entry) {
    const std::string today = site::UtcToday();
    const std::lock_guard<std::mutex> lock(mutex_);
    const bool isSame = site::WishOf(*entry_) == site::WishOf(*entry) &&
                        site::WishOf(*entry_, today) == site::WishOf(*entry, today);
    status_.tags = entry->tags;
    entry_ = std::move(entry);
    return !isSame;
}

SCameraStatus CKeptCamera::status() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return status_;
}

site::SDiagnosis CKeptCamera::whyUnanswered() const {
    if (const auto problem = status().problem)
        return *problem;
    site::SDiagnosis unknown;
    unknown.problem = "the camera has not been asked yet";
    unknown.advice = "try again in a moment";
    unknown.cause = "no-answer";
    unknown.phase = "site";
    return unknown;
}

CKeptCamera::Session CKeptCamera::session() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return session_;
}

Clock::time_point CKeptCamera::lastHeard() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return lastHeard_;
}

void CKeptCamera::probed(bool isAnswering) {
    bool isNews = false;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isNews = status_.health == Health::Unknown ? lookNumber_ == 0
                                                   : isAnswering == (status_.health == Health::Down);
        isAnswering_ = isAnswering;
        if (isAnswering && !isNews)
            lastHeard_ = Clock::now();
    }
    if (isNews)
        lookSoon();
}

void CKeptCamera::lookSoon() {
    schedule(milliseconds::zero());
}

void CKeptCamera::setDrift(SDrift drift) {
    const std::lock_guard<std::mutex> telling(telling_);
    SCameraStatus status;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (isEnded_)
            return;
        status_.drift = std::move(drift);
        status = status_;
    }
    keeping_.observer.driftChanged(status);
}

// One that is due already stays.
void CKeptCamera::schedule(milliseconds after) {
    std::uint64_t number = 0;
    bool isSuspect = false;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const Clock::time_point due = Clock::now() + after;
        if (isEnded_ || (lookNumber_ > 0 && nextLook_ <= due))
            return;
        nextLook_ = due;
        number = ++lookNumber_;
        isSuspect = !isAnswering_;
    }
    (isSuspect ? keeping_.suspects : keeping_.pool)
        .add(
            [weak = weak_from_this(), number] {
                if (const auto camera = weak.lock())
                    camera->look(number);
            },
            after);
}

void CKeptCamera::look(std::uint64_t number) {
    Problem problem;
    {
        const std::lock_guard<std::mutex> looking(looking_);
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            if (isEnded_ || number != lookNumber_)
                return;
            nextLook_ = Clock::time_point::max(); // what is asked for from now on is another look
        }
        const Problem known = refusedLately();
        problem = known ? known : Guarded([this] { return examine(); });
        if (!known && IsOneOf(Refusing, problem)) {
            refusal_ = problem;
            refused_ = Clock::now();
        }
        if (HealthOf(problem) == Health::Down || IsOneOf(Refusing, problem))
            letGo();
        tellHealth(problem);
    }
    schedule(pauseAfter(problem));
}

// REQUIRES: looking_ held. What the camera has said to the credentials a moment ago, while somebody is there:
// it is not asked again, however often a probe makes it look as if it were worth it.
Problem CKeptCamera::refusedLately() const {
    if (!refusal_ || Clock::now() - refused_ >= keeping_.times.refused)
        return std::nullopt;
    const auto probed = refhost::ProbeConnection(entry_->address, std::chrono::seconds(AnswerPatience));
    return probed.kind == site::HttpFailure::None ? refusal_ : std::nullopt;
}

Problem CKeptCamera::examine() {
    Problem problem = session() ? askAgain() : open();
    if (!problem)
        problem = session()->work().unreadable();
    if (problem && !problem->isWarning)
        return problem;
    if (auto unwatched = watchInputs())
        return unwatched;
    Problem off = switchedOff();
    if (!off)
        off = withoutPictures();
    return off ? off : session()->session().weakerAuthentication();
}

// What a recorder would not get: of the streams that the site file names, or of the one that is taken first
// where it names none.
Problem CKeptCamera::switchedOff() const {
    const Entry entry = this->entry();
    std::vector<site::SVideoStreamId> wanted;
    for (const site::SStreamWish& wish : entry->streams)
        wanted.push_back(wish.id);
    if (wanted.empty())
        wanted.push_back(FirstStream);
    for (const site::SVideoStreamId& stream : wanted)
        if (Problem off = DiagnoseStreamOff(session()->session(), stream)) {
            off->isWarning = true; // the camera does as it is told
            return off;
        }
    return std::nullopt;
}

// Nobody may look any more, and so find that they come again.
Problem CKeptCamera::withoutPictures() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return Clock::now() - picturesLost_ < keeping_.times.withoutPictures ? lostPictures_ : std::nullopt;
}

void CKeptCamera::picturesAsked(const Problem& problem) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const bool isNews = problem.has_value() != lostPictures_.has_value();
        lostPictures_ = problem;
        picturesLost_ = Clock::now();
        if (problem)
            lostPictures_->isWarning = true; // whatever else is asked of it may be answered
        if (!isNews)
            return;
    }
    lookSoon();
}

Problem CKeptCamera::open() {
    auto opened = std::make_shared<SOpened>(SOpened{entry(), open_()});
    site::CExchangeWatch& exchanges = opened->camera->session().exchanges();
    exchanges.setListener([this](const site::SWatchedExchange& exchange) { noteExchange(exchange); });
    if (auto problem = opened->camera->open()) {
        exchanges.setListener({});
        const std::lock_guard<std::mutex> lock(mutex_);
        status_.requests.failed += exchanges.all().empty() ? 1 : 0; // nobody took the connection
        return problem;
    }
    site::SCameraFinding found;
    opened->camera->describe(found);
    const std::lock_guard<std::mutex> lock(mutex_);
    status_.model = found.model.empty() ? status_.model : found.model;
    status_.firmware = found.firmware;
    status_.serialNumber = found.serialNumber.empty() ? entry_->serialNumber : found.serialNumber;
    session_ = Session(opened, opened->camera.get());
    return std::nullopt;
}

Problem CKeptCamera::askAgain() {
    site::CDeviceSession& device = session()->session();
    const std::string path = device.modelRequest();
    (void)device.ask(path, AnswerPatience);
    const auto exchange = device.exchanges().lastOf(path);
    if (exchange && exchange->isFailed())
        return DiagnoseExchange(*exchange, device.exchanges());
    return std::nullopt;
}

Problem CKeptCamera::watchInputs() {
    const Entry entry = this->entry();
    if (entry->inputs && entry->inputs->empty())
        return std::nullopt;
    Problem problem = watch_ ? whyUnwatched() : std::nullopt;
    if (watch_ && !problem)
        return std::nullopt;
    if (watch_) {
        watch_.reset();
        forgetLevels();
    }
    site::CInputWatch::SObserver observer;
    observer.event = [this](int input, const site::SStreamEvent& event) { takeEvent(input, event); };
    observer.lost = [this] {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            isWatchLost_ = true;
        }
        lookSoon();
    };
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isWatchLost_ = false;
        watchBegin_ = Clock::now();
    }
    watched_ = entry;
    watch_ = std::make_unique<site::CInputWatch>(*watched_, session()->session(), std::move(observer));
    if (auto refused = watch_->start()) {
        watch_.reset();
        return refused;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const int input : watch_->inputs())
        if (std::none_of(status_.inputs.begin(), status_.inputs.end(),
                         [input](const SInputLevel& one) { return one.input == input; }))
            addInput(input);
    return std::nullopt;
}

// A monitor that has ended, or that never says a word.
Problem CKeptCamera::whyUnwatched() {
    bool isUnheard = false;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isUnheard = !watch_->isHeard() && !watch_->inputs().empty() &&
                    Clock::now() - watchBegin_ > keeping_.times.unheard;
        if (!isWatchLost_ && !isUnheard)
            return std::nullopt;
    }
    return isUnheard ? watch_->whyUnheard() : watch_->whyLost();
}

// REQUIRES: looking_ held. A session that somebody still uses goes later.
void CKeptCamera::letGo() {
    watch_.reset();
    forgetLevels();
    Session session;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        session = std::exchange(session_, nullptr);
    }
    if (session)
        session->session().exchanges().setListener({});
}

void CKeptCamera::noteExchange(const site::SWatchedExchange& exchange) {
    history_->note(exchange);
    if (history_->isFollowed())
        keeping_.observer.exchangeNoted();
    keeping_.answerTimes.note(exchange.path.substr(0, exchange.path.find('?')), exchange.milliseconds / 1000);
    const bool isOfSettings = exchange.method == "GET" && exchange.path == site::SettingsRequest;
    bool isNews = false;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (isOfSettings)
            isNews = std::exchange(areSettingsLost_, exchange.isFailed()) != exchange.isFailed() &&
                     status_.health != Health::Down;
        if (exchange.isFailed()) {
            ++status_.requests.failed;
        } else {
            ++status_.requests.succeeded;
            status_.lastSuccess = exchange.ended;
            lastHeard_ = Clock::now();
            if (isOfSettings)
                status_.settings = exchange.ended;
        }
    }
    if (isNews)
        lookSoon();
}

void CKeptCamera::takeEvent(int input, const site::SStreamEvent& event) {
    const auto now = std::chrono::system_clock::now();
    const std::lock_guard<std::mutex> telling(telling_);
    SCameraStatus status;
    SInputLevel level;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (isEnded_ || event.kind != site::SStreamEvent::Kind::DryContactState)
            return;
        auto known = std::find_if(status_.inputs.begin(), status_.inputs.end(),
                                  [input](const SInputLevel& one) { return one.input == input; });
        if (known == status_.inputs.end())
            known = status_.inputs.insert(known, {input, std::nullopt, now, 0});
        const bool isActive = event.state == site::DryContactActive;
        if (known->isActive == isActive)
            return;
        *known = {input, isActive, now, known->changes + (known->isActive ? 1U : 0U)};
        level = *known;
        status = status_;
    }
    history_->noteInput(level, now);
    site::ordered_json line{{"name", name_}};
    line.update(site::EventJson(event, now, input));
    keeping_.observer.inputChanged(status, level, line);
}

// REQUIRES: mutex_ held, where other threads know the camera.
void CKeptCamera::addInput(int input) {
    status_.inputs.push_back({input, std::nullopt, status_.since, 0});
    history_->noteInput(status_.inputs.back(), status_.since);
}

void CKeptCamera::forgetLevels() {
    const auto now = std::chrono::system_clock::now();
    const std::lock_guard<std::mutex> lock(mutex_);
    for (SInputLevel& one : status_.inputs)
        if (std::exchange(one.isActive, std::nullopt))
            history_->noteInput(one, now);
}

void CKeptCamera::tellHealth(const Problem& problem) {
    const auto now = std::chrono::system_clock::now();
    const Health health = HealthOf(problem);
    const std::lock_guard<std::mutex> telling(telling_);
    SCameraStatus status;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (isEnded_)
            return;
        isAnswering_ = health != Health::Down;
        const bool isSame = status_.health == health && (problem ? problem->cause : "") ==
                                                            (status_.problem ? status_.problem->cause : "");
        if (isSame)
            return;
        status_.health = health;
        status_.problem = problem;
        status_.since = now;
        status = status_;
    }
    history_->noteState(health, problem, now);
    keeping_.observer.cameraChanged(status, site::CameraEventJson(name_, NameOf(health), problem, now));
}

milliseconds CKeptCamera::pauseAfter(const Problem& problem) const {
    const SKeepingTimes& times = keeping_.times;
    if (IsOneOf(Refusing, problem))
        return std::max(times.refused, site::Spread(times.refused));
    switch (HealthOf(problem)) {
    case Health::Down:
        return site::Spread(times.down);
    case Health::Degraded:
        return site::Spread(times.degraded);
    default:
        return site::Spread(times.answering);
    }
}

} // namespace corvane::service
