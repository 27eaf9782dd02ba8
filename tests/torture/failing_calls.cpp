// A library in front of the C library: a program that is linked to it first gets these in place of the
// system's.

#include "tests/torture/failing_calls.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <link.h>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>
#include <unwind.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
}

namespace corvane::torture {
namespace {

std::atomic<bool> isCounting{false};
std::atomic<Resource> countedResource{};
std::atomic<std::size_t> counted{0};
std::atomic<std::size_t> failing{0};
std::atomic<int> trace{-1};
// Looking at who calls must not count itself.
thread_local bool isLooking __attribute__((tls_model("initial-exec"))) = false;

constexpr const char* Ours[] = {"libpanasonic_handler", "librefhost"};
// What is called on somebody's behalf; the first name is this file's own.
constexpr const char* OnBehalf[] = {"libfailing_calls", "libstdc++",  "libgcc_s",  "libboost_",
                                    "libcurl",          "libsqlite3", "libspdlog", "libfmt"};

template <std::size_t Size>
bool IsOneOf(const char* file, const char* const (&names)[Size]) {
    for (const char* name : names)
        if (std::strstr(file, name))
            return true;
    return false;
}

_Unwind_Reason_Code LookAtFrame(_Unwind_Context* context, void* isOurs) {
    dl_find_object object{};
    void* const place = reinterpret_cast<void*>(_Unwind_GetIP(context));
    if (_dl_find_object(place, &object) != 0)
        return _URC_END_OF_STACK;
    const char* const file = object.dlfo_link_map->l_name;
    *static_cast<bool*>(isOurs) = IsOneOf(file, Ours);
    return IsOneOf(file, OnBehalf) ? _URC_NO_REASON : _URC_END_OF_STACK;
}

bool IsMadeForUs() {
    bool isOurs = false;
    _Unwind_Backtrace(LookAtFrame, &isOurs);
    return isOurs;
}

void TraceFailure() {
    constexpr int MostFrames = 40;
    void* frames[MostFrames];
    backtrace_symbols_fd(frames, backtrace(frames, MostFrames), trace);
}

bool Fails(Resource resource) {
    if (!isCounting || countedResource != resource || isLooking)
        return false;
    isLooking = true;
    const bool fails = IsMadeForUs() && ++counted == failing;
    if (fails)
        TraceFailure();
    isLooking = false;
    return fails;
}

template <class Function>
Function* Next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

bool FailsWithoutDescriptor() {
    if (!Fails(Resource::Descriptor))
        return false;
    errno = EMFILE;
    return true;
}

bool FailsWithoutMemory() {
    if (!Fails(Resource::Memory))
        return false;
    errno = ENOMEM;
    return true;
}

} // namespace

void FailCall(Resource resource, std::size_t number, int traceTo) {
    void* warmUp[1];
    backtrace(warmUp, 1); // loads what it needs
    countedResource = resource;
    counted = 0;
    failing = number;
    trace = traceTo;
    isCounting = true;
}

std::size_t CountedCalls() {
    isCounting = false;
    return counted;
}

} // namespace corvane::torture

using corvane::torture::Fails;
using corvane::torture::FailsWithoutDescriptor;
using corvane::torture::FailsWithoutMemory;
using corvane::torture::Next;
using corvane::torture::Resource;

extern "C" {

void* malloc(std::size_t size) noexcept {
    return FailsWithoutMemory() ? nullptr : __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) noexcept {
    return FailsWithoutMemory() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) noexcept {
    return FailsWithoutMemory() ? nullptr : __libc_realloc(block, size);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                   void* argument) noexcept {
    static auto* const real = Next<decltype(pthread_create)>("pthread_create");
    return Fails(Resource::Thread) ? EAGAIN : real(thread, attributes, run, argument);
}

// Calls that return a new descriptor.
#define VORN_DESCRIPTOR(NAME, PARAMETERS, ARGUMENTS)                                                         \
    int NAME PARAMETERS {                                                                                    \
        static auto* const real = Next<int PARAMETERS>(#NAME);                                               \
        return FailsWithoutDescriptor() ? -1 : real ARGUMENTS;                                               \
    }
VORN_DESCRIPTOR(socket, (int family, int type, int protocol) noexcept, (family, type, protocol))
VORN_DESCRIPTOR(socketpair, (int family, int type, int protocol, int ends[2]) noexcept,
                (family, type, protocol, ends))
VORN_DESCRIPTOR(accept, (int socket, sockaddr* address, socklen_t* size), (socket, address, size))
VORN_DESCRIPTOR(accept4, (int socket, sockaddr* address, socklen_t* size, int flags),
                (socket, address, size, flags))
VORN_DESCRIPTOR(eventfd, (unsigned count, int flags) noexcept, (count, flags))
VORN_DESCRIPTOR(epoll_create1, (int flags) noexcept, (flags))
VORN_DESCRIPTOR(pipe, (int ends[2]) noexcept, (ends))
VORN_DESCRIPTOR(pipe2, (int ends[2], int flags) noexcept, (ends, flags))
VORN_DESCRIPTOR(dup, (int descriptor) noexcept, (descriptor))
#undef VORN_DESCRIPTOR

#define VORN_OPEN(NAME)                                                                                      \
    int NAME(const char* path, int flags, ...) {                                                             \
        static auto* const real = Next<int(const char*, int, ...)>(#NAME);                                   \
        va_list rest;                                                                                        \
        va_start(rest, flags);                                                                               \
        const unsigned mode = (flags & (O_CREAT | __O_TMPFILE)) != 0 ? va_arg(rest, unsigned) : 0;           \
        va_end(rest);                                                                                        \
        return FailsWithoutDescriptor() ? -1 : real(path, flags, mode);                                      \
    }
VORN_OPEN(open)
VORN_OPEN(open64)
#undef VORN_OPEN

#define VORN_FILE(NAME)                                                                                      \
    FILE* NAME(const char* path, const char* mode) {                                                         \
        static auto* const real = Next<FILE*(const char*, const char*)>(#NAME);                              \
        return FailsWithoutDescriptor() ? nullptr : real(path, mode);                                        \
    }
VORN_FILE(fopen)
VORN_FILE(fopen64)
#undef VORN_FILE
}

void* operator new(std::size_t size) {
    void* const block = Fails(Resource::Memory) ? nullptr : __libc_malloc(size);
    return block ? block : throw std::bad_alloc();
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

// Not counted: the plug-in's handler ends the process where it gets none of this, as an assertion of the
// host.
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return __libc_malloc(size);
}
