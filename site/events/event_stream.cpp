#include "site/events/event_stream.h"

#include <charconv>
#include <utility>

namespace corvane::site {
namespace {

void RequireSuccess(const CError& error) {
    if (error)
        throw CEventStreamError(error);
}

} // namespace

void CEventStream::requireInput(CVornCamera& camera, int input) {
    CString text;
    RequireSuccess(camera.getDryContactInputCount(text));
    const std::string digits = text.str();
    int count = 0;
    (void)std::from_chars(digits.data(), digits.data() + digits.size(), count);
    if (input < 0 || input >= count)
        RequireSuccess({RtnCode::OutOfRange, Origin::General,
                        "the camera has no alarm input " + std::to_string(input) + "; it has " + digits +
                            ", counted from 0"});
}

CEventStream::CEventStream(CVornCamera& camera, int input, SEventStreamObserver observer)
    : observer_(std::move(observer)) {
    requireInput(camera, input);
    IStreamController* made = nullptr;
    RequireSuccess(camera.createEventStreamPipeline(made, input));
    std::unique_ptr<IStreamController> owner(made);
    auto* const events = dynamic_cast<CEventStreamController*>(made);
    if (!events)
        RequireSuccess({RtnCode::OperationFailed, Origin::Handler, "the plug-in's stream has no events"});
    (void)owner.release();
    controller_.reset(events);
    controller_->setEventObserver([this](const SStreamEvent& event) { takeEvent(event); });
    controller_->setEndObserver([this] { takeEnd(); });
    RequireSuccess(controller_->start());
}

CEventStream::~CEventStream() = default;

void CEventStream::takeEvent(const SStreamEvent& event) const {
    observer_.event(event);
    if (event.kind == SStreamEvent::Kind::EndOfStream)
        observer_.ended(CError::Success());
}

void CEventStream::takeEnd() const {
    const auto end = controller_->waitForEnd(std::chrono::milliseconds::zero());
    if (end && end->cause != SStreamEnd::Cause::Stopped)
        observer_.ended(end->error);
}

} // namespace corvane::site
