#include "service/picture_source.h"

#include <algorithm>
#include <cstring>

namespace corvane::service {
namespace {

constexpr std::chrono::seconds Patience{10};

} // namespace

CPictureSource::CPictureSource(std::shared_ptr<CPictureFeed> feed, std::chrono::milliseconds period)
    : feed_(std::move(feed)), period_(period) {}

CPictureSource::~CPictureSource() {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    state_->wake = nullptr;
}

void CPictureSource::setWaker(std::function<void()> wake) {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    state_->wake = std::move(wake);
}

void CPictureSource::ask() {
    feed_->next(number_, Patience, [state = state_](CPictureFeed::SOutcome outcome) {
        std::function<void()> wake;
        {
            const std::lock_guard<std::mutex> lock(state->mutex);
            state->outcome = std::move(outcome);
            wake = state->wake;
        }
        if (wake)
            wake();
    });
}

// The next picture, or what there is instead.
IBodySource::Step CPictureSource::fetch() {
    std::optional<CPictureFeed::SOutcome> outcome;
    bool isAsked = false;
    {
        const std::lock_guard<std::mutex> lock(state_->mutex);
        outcome.swap(state_->outcome);
        isAsked = state_->isAsked && !outcome;
        state_->isAsked = true;
    }
    if (isAsked)
        return Step::Wait;
    if (outcome && outcome->problem)
        return Step::End;
    const bool isNew = outcome && outcome->picture && outcome->picture->time - time_ >= period_;
    if (outcome && outcome->picture)
        number_ = outcome->picture->number;
    if (!isNew) {
        ask();
        return Step::Wait;
    }
    {
        const std::lock_guard<std::mutex> lock(state_->mutex);
        state_->isAsked = false;
    }
    time_ = outcome->picture->time;
    picture_ = outcome->picture->jpeg;
    sent_ = 0;
    head_ = std::string("--") + PictureBoundary +
            "\r\nContent-Type: image/jpeg\r\nContent-Length: " + std::to_string(picture_->size()) +
            "\r\n\r\n";
    return Step::Some;
}

IBodySource::Step CPictureSource::read(char* buffer, std::size_t size, std::size_t& count) {
    if (head_.empty() && (!picture_ || sent_ == picture_->size()))
        if (const Step step = fetch(); step != Step::Some)
            return step;
    if (!head_.empty()) {
        count = std::min(size, head_.size());
        std::memcpy(buffer, head_.data(), count);
        head_.erase(0, count);
        return Step::Some;
    }
    count = std::min(size, picture_->size() - sent_);
    std::memcpy(buffer, picture_->data() + sent_, count);
    sent_ += count;
    if (sent_ == picture_->size())
        head_ = "\r\n";
    return Step::Some;
}

} // namespace corvane::service
