#pragma once

namespace corvane::site {}

namespace corvane::vornhost {

// The program is what people and scripts have of the sessions, calls and diagnoses there.
using namespace site; // NOLINT(google-build-using-namespace): one namespace for its readers

} // namespace corvane::vornhost
