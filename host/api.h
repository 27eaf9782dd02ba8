#pragma once

// Marks a framework type whose symbols cross the boundary between the framework's library and a plug-in that
// is compiled with hidden visibility.
#define VORN_HOST_API __attribute__((visibility("default")))

// Lets the compiler check the arguments of a printf-style operation. Member functions count `this` as 1.
#define VORN_PRINTF_FORMAT(formatIndex, firstArgument)                                                       \
    __attribute__((format(printf, formatIndex, firstArgument)))
