#pragma once

#include "site/base/names.h"

#include <functional>
#include <memory>
#include <stdexcept>

namespace corvane::site {

// Why a stream of events cannot be had.
class CEventStreamError : public std::runtime_error {
public:
    explicit CEventStreamError(const CError& error) : std::runtime_error(error.getText()), error_(error) {}

    const CError& error() const { return error_; }

private:
    CError error_;
};

// What a stream tells; both are called on the stream's threads and must return at once.
struct SEventStreamObserver {
    // Each event; never two calls at the same time.
    std::function<void(const SStreamEvent&)> event;
    // The stream has ended by itself, after its end-of-stream event (success) or by a failure. May be called
    // again.
    std::function<void(const CError&)> ended;
};

// The events of one alarm input, from its pipeline's start until this is destroyed, which must happen before
// the camera ends.
class CEventStream {
public:
    // `input` from 0. Whether events come is not waited for. Throws CEventStreamError, also for an input that
    // the camera does not have.
    CEventStream(CVornCamera& camera, int input, SEventStreamObserver observer);
    // Once it returns, the observer is not called any more.
    ~CEventStream();
    CEventStream(const CEventStream&) = delete;
    CEventStream& operator=(const CEventStream&) = delete;

    // Throws CEventStreamError when the camera has no such input.
    static void requireInput(CVornCamera& camera, int input);

private:
    void takeEvent(const SStreamEvent& event) const;
    void takeEnd() const;

    const SEventStreamObserver observer_;
    std::unique_ptr<CEventStreamController> controller_;
};

} // namespace corvane::site
