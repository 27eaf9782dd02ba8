#pragma once

// The camera's CGI requests: each path, and each fixed query, once.
namespace corvane::panasonic_camera::cgi {

inline constexpr const char* Setdata = "/cgi-bin/setdata";
inline constexpr const char* Getinfo = "/cgi-bin/getinfo";
inline constexpr const char* GetCapability = "/cgi-bin/get_capability";
inline constexpr const char* Initial = "/cgi-bin/initial";

// The bodies of Initial. The camera obeys them only with this token.
inline constexpr const char* InitialReboot = "cmd=reset&Randomnum=5D21A7C03E8F4B69";
inline constexpr const char* InitialFactoryReset = "cmd=all&Randomnum=5D21A7C03E8F4B69";

// How the framework's CGI helpers are asked: any authentication scheme that the camera offers, and the
// characters that end a value in a reply.
inline constexpr const char* AuthScheme = "ANY";
inline constexpr const char* ValueDelimiters = "&\r\n'";

// Seconds for one exchange.
inline constexpr int RequestTimeout = 4;
inline constexpr int SetdataTimeout = 20;

} // namespace corvane::panasonic_camera::cgi
