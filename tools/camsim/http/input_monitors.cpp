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

constexpr size_t readerBlock = 1024;
constexpr milliseconds ordinarySplit{100};
/// Changes that a client has not read: more than hands can make of all inputs in the time after which its
/// connection is ended for it.
constexpr size_t mostPieces = 500;
/// Changes that come faster than they are told: one of each camera that there may be.
constexpr size_t mostUntold = 100'000;

bool endsTheReply(FaultKind kind) {
    return kind == FaultKind::Silence || kind == FaultKind::Close || kind == FaultKind::Cut ||
           kind == FaultKind::Reset;
}

/// The levels in small letters, and nothing else, so that a reader finds the terminal and not its level.
std::string withLevelsSmall(std::string text) {
    const auto small = [](char c) { return c == 'H' || c == 'L' ? static_cast<char>(std::tolower(c)) : c; };
    std::transform(text.begin(), text.end(), text.begin(), small);
    return text;
}

} // namespace

bool breaksMonitor(const Fault& fault) {
    const bool afterATime = fault.kind == FaultKind::Cut || fault.kind == FaultKind::Reset;
    return afterATime ? fault.milliseconds.has_value()
                      : endsTheReply(fault.kind) || fault.kind == FaultKind::Split ||
                            fault.kind == FaultKind::WrongCase;
}

/// One reply: what it still has to write, and when it writes again by itself.
class InputMonitors::Reply {
public:
    Reply(InputMonitors& monitors, Camera& camera, MHD_Connection* connection, int fd,
          const std::optional<Fault>& fault)
        : monitors_(monitors), camera_(camera), connection_(connection), fd_(fd), fault_(fault) {
        if (fault_ && endsTheReply(fault_->kind))
            endsAt_ = Clock::now() + milliseconds(fault_->milliseconds.value_or(0));
        monitors_.replies_[&camera_].insert(this);
        ++camera_.counters.monitors;
    }

    ~Reply() {
        monitors_.replies_[&camera_].erase(this);
        --camera_.counters.monitors;
    }
    Reply(const Reply&) = delete;
    Reply& operator=(const Reply&) = delete;

    MHD_Connection* connection() const { return connection_; }

    /// Adds a change to what is to be written.
    void add(const std::string& text) {
        if (endsAt_ && *endsAt_ <= Clock::now())
            return;
        if (pieces_.size() >= mostPieces) {
            shutdown(fd_, SHUT_RDWR);
            return;
        }
        const bool split = fault_ && fault_->kind == FaultKind::Split;
        if (!split) {
            pieces_.push_back({Clock::now(), spelled(text)});
            return;
        }
        const milliseconds pause(fault_->milliseconds.value_or(ordinarySplit.count()));
        pieces_.push_back({Clock::now(), text.substr(0, text.size() / 2)});
        pieces_.push_back({Clock::now() + pause, text.substr(text.size() / 2)});
    }

    static ssize_t read(void* self, uint64_t, char* buffer, size_t room) {
        return static_cast<Reply*>(self)->read(buffer, room);
    }
    static void destroy(void* self) { delete static_cast<Reply*>(self); }

private:
    struct Piece {
        Clock::time_point due;
        std::string text;
    };

    std::string spelled(const std::string& text) const {
        return fault_ && fault_->kind == FaultKind::WrongCase ? withLevelsSmall(text) : text;
    }

    ssize_t read(char* buffer, size_t room) {
        if (waited_ == ParkedConnections::Outcome::Stopped)
            return MHD_CONTENT_READER_END_WITH_ERROR;
        // The daemon notices a client that is gone by a write that fails.
        if (waited_ == ParkedConnections::Outcome::HungUp) {
            shutdown(fd_, SHUT_RDWR);
            return write(".", buffer, room);
        }
        const Clock::time_point now = Clock::now();
        if (endsAt_ && *endsAt_ <= now)
            return end();
        if (!pieces_.empty() && pieces_.front().due <= now)
            return writeNext(buffer, room, now);
        if (pieces_.empty() && reportDue_ <= now) {
            reportDue_ = now + monitors_.period_;
            return write(spelled(AlarmInputs::monitorReport(camera_.alarmInputs().levels())), buffer, room);
        }
        return wait(std::min({pieces_.empty() ? reportDue_ : pieces_.front().due,
                              endsAt_.value_or(Clock::time_point::max())}) -
                    now);
    }

    ssize_t writeNext(char* buffer, size_t room, Clock::time_point now) {
        const std::string text = std::move(pieces_.front().text);
        pieces_.pop_front();
        reportDue_ = now + monitors_.period_;
        return write(text, buffer, room);
    }

    /// What does not fit is written with the next turn.
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
            resetSocket(fd_);
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

    InputMonitors& monitors_;
    Camera& camera_;
    MHD_Connection* const connection_;
    const int fd_;
    const std::optional<Fault> fault_;
    std::deque<Piece> pieces_;
    Clock::time_point
        reportDue_{}; ///< when the levels are written though nothing has changed; at first at once
    std::optional<Clock::time_point> endsAt_;
    ParkedConnections::Outcome waited_ = ParkedConnections::Outcome::TimePassed;
};

InputMonitors::InputMonitors(EventLoop& loop, ParkedConnections& parked, milliseconds period)
    : loop_(loop), parked_(parked), period_(period) {}

void InputMonitors::follow(Camera& camera) {
    camera.onInputChange([this, &camera](const AlarmInputs::Levels& changes) {
        if (untold_ >= mostUntold)
            return; // what the levels are is told with the next report
        ++untold_;
        loop_.after(milliseconds(0), [this, &camera, changes] { tell(camera, changes); });
    });
}

MHD_Result InputMonitors::open(Camera& camera, MHD_Connection* connection, int fd,
                               const std::optional<Fault>& fault) {
    auto* reply = new Reply(*this, camera, connection, fd, fault);
    MHD_Response* response = MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, readerBlock, &Reply::read,
                                                               reply, &Reply::destroy);
    if (response == nullptr) {
        Reply::destroy(reply);
        return MHD_NO;
    }
    MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, "text/plain");
    const MHD_Result queued = MHD_queue_response(connection, MHD_HTTP_OK, response);
    MHD_destroy_response(response);
    return queued;
}

void InputMonitors::tell(const Camera& camera, const AlarmInputs::Levels& changes) {
    --untold_;
    const std::string text = AlarmInputs::monitorReport(changes);
    std::vector<MHD_Connection*> connections;
    for (Reply* reply : replies_[&camera]) {
        reply->add(text);
        connections.push_back(reply->connection());
    }
    parked_.wake(connections);
}

} // namespace camsim
