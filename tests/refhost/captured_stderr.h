#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace corvane::tests {

// What standard error receives while the work runs.
inline std::string CapturedStderr(const std::function<void()>& work) {
    testing::internal::CaptureStderr();
    work();
    return testing::internal::GetCapturedStderr();
}

} // namespace corvane::tests
