// What stands in the folder of the state file while it is written.

#include "tests/support/camsim_process.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/wait_until.h"

#include <gmock/gmock.h>

namespace {

namespace fs = std::filesystem;
using corvane::test_support::CCamsim;
using corvane::test_support::CTemporaryFolder;
using corvane::test_support::WaitUntil;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

class StateFile : public testing::Test {
protected:
    static std::string read(const std::string& path) {
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }
    std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder_.file("")))
            names.push_back(entry.path().filename());
        return names;
    }

    const CTemporaryFolder folder_;
    const std::string path_ = folder_.file("state");
};

TEST_F(StateFile, FollowsNoLinkThatWaitsForItsTemporaryFile) {
    const std::string other = folder_.file("other", "precious");
    fs::create_symlink(other, path_ + ".new");
    {
        const CCamsim camsim({"--no-rtsp", "--state", path_});
        camsim.patch("/cameras/0/settings", {{"CAMTITLE", "Back door"}});
        EXPECT_TRUE(WaitUntil([&] { return fs::exists(path_); }));
    }
    EXPECT_THAT(read(path_), HasSubstr("Back door"));
    EXPECT_EQ(fs::status(path_).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(read(other), "precious");
    EXPECT_THAT(names(), UnorderedElementsAre("state", "state.new", "other"));
}

TEST_F(StateFile, LeavesNothingBehindWhenItCannotBeWritten) {
    CCamsim camsim({"--no-rtsp", "--state", path_});
    fs::create_directory(path_);
    camsim.patch("/cameras/0/settings", {{"CAMTITLE", "Garage"}});
    camsim.waitForMessage("camsim: the state is not saved: " + path_);
    EXPECT_THAT(names(), UnorderedElementsAre("state"));
    fs::remove(path_); // it is saved with the end
}

} // namespace
