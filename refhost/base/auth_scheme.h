#pragma once

namespace corvane::refhost {

// How credentials are shown to a device, the weaker way first.
enum class AuthScheme { None, Basic, Digest };

// What stands behind a status of 401 when Basic was the only way, and not to be taken.
inline constexpr const char* BasicRefusedText =
    ": Basic authentication alone is offered, and that is refused";
inline constexpr const char* BasicUnfitText =
    ": Basic authentication alone is offered, and that would cut the user's name at its \":\"";

} // namespace corvane::refhost
