#include "service/state_directory.h"

#include "site/base/exit_status.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <map>

namespace corvane::service {
namespace {

using test_support::CTemporaryFolder;

TEST(StateDirectory, IsTheFirstThatTheEnvironmentNames) {
    const struct {
        std::map<const char*, const char*> set;
        const char* directory;
    } cases[] = {
        {{{"STATE_DIRECTORY", "/s/yard"}, {"XDG_STATE_HOME", "/x"}, {"HOME", "/h"}}, "/s/yard"},
        {{{"STATE_DIRECTORY", "/s/yard:/s/more"}}, "/s/yard"},
        {{{"STATE_DIRECTORY", ""}, {"XDG_STATE_HOME", "/x"}, {"HOME", "/h"}}, "/x/vornhost"},
        {{{"XDG_STATE_HOME", "x"}, {"HOME", "/h"}}, "/h/.local/state/vornhost"},
        {{{"HOME", "/h"}}, "/h/.local/state/vornhost"},
    };
    const auto clear = [] {
        for (const char* name : {"STATE_DIRECTORY", "XDG_STATE_HOME", "HOME"})
            ::unsetenv(name);
    };
    for (const auto& one : cases) {
        clear();
        for (const auto& [name, value] : one.set)
            ::setenv(name, value, 1);
        EXPECT_EQ(UsualStateDirectory(), one.directory);
    }
    clear();
    EXPECT_THROW((void)UsualStateDirectory(), site::CFailure);
    EXPECT_EQ(TokenFileIn("/s/yard"), "/s/yard/tokens.json");
}

TEST(StateDirectory, IsMadeForItsOwnerAlone) {
    const CTemporaryFolder folder;
    for (const char* name : {"a/b", "c/", "d"}) {
        const std::string directory = folder.file(name);
        MakeStateDirectory(directory);
        EXPECT_EQ(std::filesystem::status(directory).permissions(), std::filesystem::perms::owner_all)
            << name;
        EXPECT_NO_THROW(MakeStateDirectory(directory));
    }
    const std::string file = folder.file("file", "");
    for (const std::string& unfit : {file, file + "/state", std::string("/proc/state")})
        EXPECT_THROW(MakeStateDirectory(unfit), site::CFailure) << unfit;
}

} // namespace
} // namespace corvane::service
