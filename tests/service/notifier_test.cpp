#include "service/notifier.h"

#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

namespace corvane::service {
namespace {

using namespace std::chrono_literals;

// In the service manager's place.
class Notifier : public testing::Test {
public:
    Notifier() : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::string file = folder_.file("notify");
        std::strncpy(address.sun_path, file.c_str(), sizeof address.sun_path - 1);
        EXPECT_EQ(::bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        ::setenv("NOTIFY_SOCKET", file.c_str(), 1);
    }
    ~Notifier() override {
        ::close(socket_);
        for (const char* name : {"NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID"})
            ::unsetenv(name);
    }

    // What it was told last; empty for nothing.
    std::string told() const {
        char text[1024];
        const ::ssize_t size = ::recv(socket_, text, sizeof text, 0);
        return size < 0 ? "" : std::string(text, static_cast<std::size_t>(size));
    }

    const CNotifier notifier{};

private:
    const test_support::CTemporaryFolder folder_;
    const int socket_;
};

TEST_F(Notifier, TellsHowFarTheServiceIs) {
    notifier.ready("997 of 1000 cameras\nare up");
    EXPECT_EQ(told(), "READY=1\nSTATUS=997 of 1000 cameras are up");
    notifier.status("1000 of 1000");
    EXPECT_EQ(told(), "STATUS=1000 of 1000");
    notifier.alive();
    EXPECT_EQ(told(), "WATCHDOG=1");
    notifier.stopping();
    EXPECT_EQ(told(), "STOPPING=1");
    EXPECT_EQ(told(), "");
}

// The manager takes a reload for done only by a time of its own clock.
TEST_F(Notifier, AReloadHasTheTimeAtWhichItBegan) {
    const auto now = [] {
        timespec time{};
        ::clock_gettime(CLOCK_MONOTONIC, &time);
        return time.tv_sec * 1'000'000LL + time.tv_nsec / 1000;
    };
    const long long before = now();
    notifier.reloading();
    const std::string text = told();
    const std::string beginning = "RELOADING=1\nMONOTONIC_USEC=";
    ASSERT_EQ(text.substr(0, beginning.size()), beginning);
    const long long time = std::stoll(text.substr(beginning.size()));
    EXPECT_GE(time, before);
    EXPECT_LE(time, now());
}

TEST_F(Notifier, IsAliveTwiceAsOftenAsTheManagerWants) {
    EXPECT_FALSE(notifier.alivePeriod());
    ::setenv("WATCHDOG_USEC", "30000000", 1);
    EXPECT_EQ(notifier.alivePeriod(), 15s);
    ::setenv("WATCHDOG_PID", std::to_string(::getpid()).c_str(), 1);
    EXPECT_EQ(notifier.alivePeriod(), 15s);
    ::setenv("WATCHDOG_PID", "1", 1); // another process is meant
    EXPECT_FALSE(notifier.alivePeriod());
}

TEST_F(Notifier, WithoutAManagerNobodyIsTold) {
    ::unsetenv("NOTIFY_SOCKET");
    notifier.ready("");
    notifier.stopping();
    EXPECT_EQ(told(), "");
}

} // namespace
} // namespace corvane::service
