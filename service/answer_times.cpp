#include "service/answer_times.h"

#include <algorithm>

namespace corvane::service {

void CAnswerTimes::note(const std::string& operation, double seconds) {
    const auto bound = std::lower_bound(Bounds.begin(), Bounds.end(), seconds);
    const std::lock_guard<std::mutex> lock(mutex_);
    const bool isKnown = histograms_.size() < MostOperations || histograms_.count(operation) > 0;
    SHistogram& histogram = histograms_[isKnown ? operation : "other"];
    ++histogram.counts[static_cast<std::size_t>(bound - Bounds.begin())];
    histogram.sum += seconds;
}

std::map<std::string, CAnswerTimes::SHistogram> CAnswerTimes::all() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return histograms_;
}

} // namespace corvane::service
