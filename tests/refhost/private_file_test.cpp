#include "refhost/base/private_file.h"

#include "refhost/base/device_db.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

namespace corvane::refhost {
namespace {

using test_support::CTemporaryFolder;

mode_t RightsOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 0777;
}

// What opening for writing ends in: "" or the failure.
std::string Opening(const std::string& path) {
    const SOpenedFile opened = OpenPrivateFile(path, O_WRONLY | O_CREAT);
    if (opened.descriptor >= 0)
        ::close(opened.descriptor);
    return opened.failure;
}

TEST(PrivateFile, IsItsOwnersAloneAndNothingThatAStrangerCouldHavePutThere) {
    const CTemporaryFolder folder;
    const mode_t before = ::umask(0);
    EXPECT_EQ(Opening(folder.file("new")), "");
    ::umask(before);
    EXPECT_EQ(RightsOf(folder.file("new")), 0600U);
    EXPECT_EQ(Opening(folder.file("no/such/folder")), "No such file or directory");
    EXPECT_EQ(Opening(folder.file("")), "Is a directory");
    std::filesystem::create_directory(folder.file("own"));

    for (const mode_t rights : {0777U, 0770U, 01777U, 0755U}) {
        const std::string shared = folder.file("folder" + std::to_string(rights)) + "/";
        std::filesystem::create_directory(shared);
        std::filesystem::create_symlink(folder.file("new"), shared + "link");
        std::filesystem::create_symlink(folder.file("own"), shared + "linked");
        EXPECT_EQ(Opening(shared + "everybodys"), "");
        ::chmod((shared + "everybodys").c_str(), 0666);
        EXPECT_EQ(Opening(shared + "secondName"), "");
        std::filesystem::create_hard_link(shared + "secondName", shared + "firstName");
        ::chmod(shared.c_str(), rights);
        const bool isOwn = rights == 0755;
        const std::string refused = " in a directory that others can write to";
        EXPECT_EQ(Opening(shared + "link"), isOwn ? "" : "\"link\" is a symbolic link" + refused) << rights;
        EXPECT_EQ(Opening(shared + "linked/file"), isOwn ? "" : "\"linked\" is a symbolic link" + refused);
        for (const char* name : {"everybodys", "firstName"})
            EXPECT_EQ(Opening(shared + name), isOwn ? "" : "it is not this user's alone," + refused) << name;
        for (int time = 0; time < 2; ++time)
            EXPECT_EQ(Opening(shared + "file"), "") << rights;
    }
}

TEST(PrivateFile, OfAnotherUserIsRefusedWhereOthersCanWrite) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can give a file to somebody else";
    const CTemporaryFolder folder;
    EXPECT_EQ(Opening(folder.file("theirs")), "");
    ASSERT_EQ(::chown(folder.file("theirs").c_str(), 1, 1), 0);
    EXPECT_EQ(Opening(folder.file("theirs")), "");
    ::chmod(folder.file("").c_str(), 01777);
    EXPECT_EQ(Opening(folder.file("theirs")),
              "it is not this user's alone, in a directory that others can write to");
}

TEST(PrivateFile, ADatabaseIsOne) {
    const CTemporaryFolder folder;
    const std::string file = folder.file("devices.db");
    const auto database = CDeviceDb::open(file);
    EXPECT_EQ(RightsOf(file), 0600U);
    ::chmod(folder.file("").c_str(), 0777);
    std::filesystem::create_symlink(file, folder.file("link.db"));
    try {
        CDeviceDb::open(folder.file("link.db"));
        ADD_FAILURE() << "opened";
    } catch (const CDeviceDbError& error) {
        EXPECT_THAT(error.what(),
                    testing::HasSubstr("symbolic link in a directory that others can write to"));
    }
}

TEST(PrivateFile, ADatabaseThatCannotBeWrittenIsToldBeforeItIs) {
    const CTemporaryFolder folder;
    const auto database = CDeviceDb::open(folder.file("devices.db"));
    database->registerDevice("a", "Dome", "1");
    EXPECT_NO_THROW(database->requireWritable());

    rlimit size{};
    getrlimit(RLIMIT_FSIZE, &size);
    const rlimit full{0, size.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &full); // as on a disk that is full
    EXPECT_THROW(database->requireWritable(), CDeviceDbError);
    setrlimit(RLIMIT_FSIZE, &size);
    EXPECT_NO_THROW(database->requireWritable());
    device_handler::v1_0::CString value;
    EXPECT_EQ(database->proxy("")->readValue("", value).getCode(), 16); // and nothing was kept
    EXPECT_EQ(database->familyAt("a").value_or(""), "Dome");
}

} // namespace
} // namespace corvane::refhost
