#include "benchmarks/event_stream.h"

namespace corvane::bench {

namespace {

using device_handler::v1_0::CError;
using device_handler::v1_0::DryContactState;
using device_handler::v1_0::IStreamController;
using device_handler::v1_0::SStreamEvent;
using vorn_event_stream_controller::v1_0::CEventStreamController;

constexpr std::chrono::seconds Patience{30};
constexpr std::uint64_t EventPeriod = 100'000'000; // nanoseconds

} // namespace

CEventStream::CEventStream(vorn_camera_base::v1_0::CVornCamera& camera, int input) {
    IStreamController* made = nullptr;
    if (const CError error = camera.createEventStreamPipeline(made, input))
        throw CFailure("no event stream: " + error.getText());
    controller_.reset(dynamic_cast<CEventStreamController*>(made));
    controller_->setEventObserver([this](const SStreamEvent& event) { take(event); });
    controller_->setEndObserver([this] {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (++ends_ > 1)
            disorder_ = "an event stream ended twice";
    });
    if (const CError error = controller_->start())
        throw CFailure("no event stream: " + error.getText());
}

CEventStream::~CEventStream() {
    controller_->stop();
}

void CEventStream::waitFor(DryContactState state) {
    std::unique_lock<std::mutex> lock(mutex_);
    if (!changed_.wait_for(lock, Patience, [&] { return states_ > 0 && state_ == state; }))
        throw CFailure("no event came of a changed alarm input");
}

void CEventStream::waitForAny() {
    std::unique_lock<std::mutex> lock(mutex_);
    if (!changed_.wait_for(lock, Patience, [&] { return states_ > 0; }))
        throw CFailure("no event came");
}

void CEventStream::waitForMore(std::uint64_t states) {
    std::unique_lock<std::mutex> lock(mutex_);
    const std::uint64_t enough = states_ + states;
    if (!changed_.wait_for(lock, Patience, [&] { return states_ >= enough; }))
        throw CFailure("no more events came");
}

bool CEventStream::hasEnded() {
    return controller_->waitForEnd(std::chrono::milliseconds::zero()).has_value();
}

std::chrono::steady_clock::duration CEventStream::silence() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return std::chrono::steady_clock::now() - lastCame_;
}

std::uint64_t CEventStream::states() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return states_;
}

std::uint64_t CEventStream::late() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return late_;
}

std::uint64_t CEventStream::changes() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return changes_;
}

std::string CEventStream::disorder() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return disorder_;
}

void CEventStream::take(const SStreamEvent& event) {
    if (event.kind != SStreamEvent::Kind::DryContactState)
        return;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (states_ == 0)
        first_ = event.time;
    if (event.time > first_ + (states_ + 1) * EventPeriod)
        ++late_;
    if (event.time < lastTime_)
        disorder_ = "an event is older than the one before it";
    lastTime_ = event.time;
    lastCame_ = std::chrono::steady_clock::now();
    if (states_ > 0 && event.state != state_)
        ++changes_;
    ++states_;
    state_ = event.state;
    changed_.notify_all();
}

} // namespace corvane::bench
