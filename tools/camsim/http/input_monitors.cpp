#include "http/input_monitors.h"

#include "net/sockets.h"

#include <algorithm>
#include <cctype>
#include <deque>
#include <sys/socket.h>

namespace camsim {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr size_t ReportBlock = 1024;
constexpr milliseconds OrdinarySplit{100};
constexpr milliseconds OrdinaryAlternation{100};
// How many changes may wait for a client that does not read. Nobody makes as many by hand before the
// connection of such a client runs out of time.
constexpr size_t MostPieces = 500;
// How many changes may wait for the loop's thread: one of every camera at the largest number of cameras.
constexpr size_t MostUntold = 100'000;

bool EndsTheReply(FaultKind kind) {
    return kind == FaultKind::Silence || kind == FaultKind::Close || kind == FaultKind::Cut ||
           kind == FaultKind::Reset;
}

// Puts the levels, and nothing else, into small letters: a reader recognises the terminal but not its level.
std::string WithLevelsSmall(std::string text) {
    const auto small = [](char c) { return c == 'H' || c == 'L' ? static_cast<char>(std::tolower(c)) : c; };
    std::transform(text.begin(), text.end(), text.begin(), small);
    return text;
}

CAlarmInputs::Levels Inverted(CAlarmInputs::Levels levels) {
    for (auto& [terminal, level] : levels)
        level = level == CAlarmInputs::Level::High ? CAlarmInputs::Level::Low : CAlarmInputs::Level::High;
    return levels;
}

milliseconds PeriodOf(const SFault& fault, milliseconds ordinary) {
    if (fault.kind == FaultKind::Flood)
        return milliseconds(0);
    if (fault.kind == FaultKind::Alternate)
        return milliseconds(fault.milliseconds.value_or(OrdinaryAlternation.count()));
    if (fault.kind == FaultKind::Chatter)
        return milliseconds(fault.milliseconds.value_or(ordinary.count()));
    return ordinary;
}

} // namespace

bool BreaksMonitor(const SFault& fault) {
    switch (fault.kind) {
    case FaultKind::Cut:
    case FaultKind::Reset:
        return fault.milliseconds.has_value();
    case FaultKind::Silence:
    case FaultKind::Close:
    case FaultKind::Split:
    case FaultKind::WrongCase:
    case FaultKind::Chatter:
    case FaultKind::Alternate:
    case FaultKind::Flood:
        return true;
    default:
        return false;
    }
}

// One reply: what it still has to write, and when it writes again by itself.
class CInputMonitors::CReply {
public:
    CReply(CInputMonitors& monitors, CCamera& camera, MHD_Connection* connection, int fd,
           const std::optional<SFault>& fault)
        : monitors_(monitors), camera_(camera), connection_(connection), fd_(fd), fault_(fault) {
        if (fault_)
            period_ = PeriodOf(*fault_, period_);
        if (fault_ && EndsTheReply(fault_->kind))
            endsAt_ = Clock::now() + milliseconds(fault_->milliseconds.value_or(0));
        monitors_.replies_[&camera_].insert(this);
        ++camera_.counters.monitors;
    }

    ~CReply() {
        monitors_.replies_[&camera_].erase(this);
        --camera_.counters.monitors;
    }
    CReply(const CReply&) = delete;
    CReply& operator=(const CReply&) = delete;

    MHD_Connection* connection() const { return connection_; }

    // Adds a change to what is to be written.
    void add(const std::string& text) {
        if (endsAt_ && *endsAt_ <= Clock::now())
            return;
        if (pieces_.size() >= MostPieces) {
            shutdown(fd_, SHUT_RDWR);
            return;
        }
        if (has(FaultKind::Chatter) || has(FaultKind::Alternate))
            return;
        if (!has(FaultKind::Split)) {
            pieces_.push_back({Clock::now(), spelled(text)});
            return;
        }
        const milliseconds pause(fault_->milliseconds.value_or(OrdinarySplit.count()));
        pieces_.push_back({Clock::now(), text.substr(0, text.size() / 2)});
        pieces_.push_back({Clock::now() + pause, text.substr(text.size() / 2)});
    }

    static ssize_t read(void* self, uint64_t, char* buffer, size_t room) {
        return static_cast<CReply*>(self)->read(buffer, room);
    }
    static void destroy(void* self) { delete static_cast<CReply*>(self); }

private:
    struct SPiece {
        Clock::time_point due;
        std::string text;
    };

    bool has(FaultKind kind) const { return fault_ && fault_->kind == kind; }

    std::string spelled(const std::string& text) const {
        return has(FaultKind::WrongCase) ? WithLevelsSmall(text) : text;
    }

    // What is told though nothing has changed.
    std::string report() {
        if (has(FaultKind::Chatter))
            return *fault_->body;
        CAlarmInputs::Levels levels = camera_.alarmInputs().levels();
        if (has(FaultKind::Alternate)) {
            inverted_ = !inverted_;
            levels = inverted_ ? levels : Inverted(levels);
        }
        return spelled(CAlarmInputs::monitorReport(levels));
    }

    ssize_t read(char* buffer, size_t room) {
        if (waited_ == CParkedConnections::Outcome::Stopped)
            return MHD_CONTENT_READER_END_WITH_ERROR;
        // libmicrohttpd notices that a client is gone only when a write fails, so something is written.
        if (waited_ == CParkedConnections::Outcome::HungUp) {
            shutdown(fd_, SHUT_RDWR);
            return write(".", buffer, room);
        }
        const Clock::time_point now = Clock::now();
        if (endsAt_ && *endsAt_ <= now)
            return end();
        if (!pieces_.empty() && pieces_.front().due <= now)
            return writeNext(buffer, room, now);
        if (pieces_.empty() && reportDue_ <= now) {
            reportDue_ = now + period_;
            return write(report(), buffer, room);
        }
        return wait(std::min({pieces_.empty() ? reportDue_ : pieces_.front().due,
                              endsAt_.value_or(Clock::time_point::max())}) -
                    now);
    }

    ssize_t writeNext(char* buffer, size_t room, Clock::time_point now) {
        const std::string text = std::move(pieces_.front().text);
        pieces_.pop_front();
        reportDue_ = now + period_;
        return write(text, buffer, room);
    }

    // What does not fit is written when libmicrohttpd calls again.
    ssize_t write(const std::string& text, char* buffer, size_t room) {
        const size_t size = text.copy(buffer, room);
        if (size < text.size())
            pieces_.push_front({Clock::now(), text.substr(size)});
        return static_cast<ssize_t>(size);
    }

    ssize_t end() {
        if (fault_->kind == FaultKind::Silence)
            return wait(std::nullopt);
        if (fault_->kind == FaultKind::Close)
            return MHD_CONTENT_READER_END_OF_STREAM;
        if (fault_->kind == FaultKind::Reset)
            ResetSocket(fd_);
        return MHD_CONTENT_READER_END_WITH_ERROR;
    }

    ssize_t wait(std::optional<Clock::duration> duration) {
        std::optional<milliseconds> rounded;
        if (duration)
            rounded = std::chrono::ceil<milliseconds>(*duration);
        return monitors_.parked_.park(connection_, fd_, rounded, &waited_)
                   ? 0
                   : MHD_CONTENT_READER_END_WITH_ERROR;
    }

    CInputMonitors& monitors_;
    CCamera& camera_;
    MHD_Connection* const connection_;
    const int fd_;
    const std::optional<SFault> fault_;
    milliseconds period_{monitors_.period_}; // how often the levels are written though nothing has changed
    bool inverted_ = false;
    std::deque<SPiece> pieces_;
    Clock::time_point
        reportDue_{}; // when the levels are written though nothing has changed; at first at once
    std::optional<Clock::time_point> endsAt_;
    CParkedConnections::Outcome waited_ = CParkedConnections::Outcome::TimePassed;
};

CInputMonitors::CInputMonitors(CEventLoop& loop, CParkedConnections& parked, milliseconds period)
    : loop_(loop), parked_(parked), period_(period) {}

void CInputMonitors::follow(CCamera& camera) {
    camera.onInputChange([this, &camera](const CAlarmInputs::Levels& changes) {
        if (untold_ >= MostUntold)
            return; // nothing is lost: the next report tells all levels
        ++untold_;
        loop_.after(milliseconds(0), [this, &camera, changes] { tell(camera, changes); });
    });
}

MHD_Result CInputMonitors::open(CCamera& camera, MHD_Connection* connection, int fd,
                                const std::optional<SFault>& fault) {
    auto* reply = new CReply(*this, camera, connection, fd, fault);
    MHD_Response* response = MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, ReportBlock, &CReply::read,
                                                               reply, &CReply::destroy);
    if (response == nullptr) {
        CReply::destroy(reply);
        return MHD_NO;
    }
    MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, "text/plain");
    const MHD_Result queued = MHD_queue_response(connection, MHD_HTTP_OK, response);
    MHD_destroy_response(response);
    return queued;
}

void CInputMonitors::tell(const CCamera& camera, const CAlarmInputs::Levels& changes) {
    --untold_;
    const std::string text = CAlarmInputs::monitorReport(changes);
    std::vector<MHD_Connection*> connections;
    for (CReply* reply : replies_[&camera]) {
        reply->add(text);
        connections.push_back(reply->connection());
    }
    parked_.wake(connections);
}

} // namespace camsim
