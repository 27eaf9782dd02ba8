#pragma once

namespace corvane::refhost {

// How credentials are shown to a device, the weaker way first.
enum class AuthScheme { None, Basic, Digest };

} // namespace corvane::refhost
