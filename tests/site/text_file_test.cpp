#include "site/text_file.h"

#include "tests/site/file_error.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <sys/stat.h>

namespace corvane::site {
namespace {

using std::filesystem::perms;
using test_support::CTemporaryFolder;

TEST(TextFile, HasTheNewTextOrKeepsTheOld) {
    const CTemporaryFolder folder;
    const std::string file = folder.file("site");
    ReplaceFile(file, "the old text");
    EXPECT_EQ(std::filesystem::status(file).permissions(), perms::owner_read | perms::owner_write);
    ReplaceFile(file, "older");
    EXPECT_EQ(FileErrorOnFullDiskOf([&] { ReplaceFile(file, "the new text"); }),
              file + ": cannot be written: File too large");
    EXPECT_EQ(folder.contents(), "older"); // and nothing of the new one beside it
    std::filesystem::create_directory(folder.file("folder"));
    for (const auto& [name, reason] : {std::pair("folder", "something else than a file has the name"),
                                       std::pair("no/site", "No such file or directory")})
        EXPECT_EQ(FileErrorOf([&, other = folder.file(name)] { ReplaceFile(other, "the new text"); }),
                  folder.file(name) + ": cannot be written: " + reason);
}

TEST(TextFile, IsNotWrittenInPlaceOfWhatIsNone) {
    const CTemporaryFolder folder;
    const std::string precious = folder.file("precious", "precious");
    const std::string link = folder.file("link");
    std::filesystem::create_symlink(precious, link);
    const std::string pipe = folder.file("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), S_IRUSR | S_IWUSR), 0);
    for (const std::string& file : {link, pipe})
        EXPECT_EQ(FileErrorOf([&] { ReplaceFile(file, "new"); }),
                  file + ": cannot be written: something else than a file has the name");
    EXPECT_EQ(ReadTextFile(precious), "precious");
    EXPECT_TRUE(std::filesystem::is_symlink(link));
}

TEST(TextFile, ThatIsTooLargeOrCannotBeReadToItsEndIsRefused) {
    const CTemporaryFolder folder;
    EXPECT_EQ(FileErrorOf([] { (void)ReadTextFile("/proc/self/mem"); }), // whose beginning nobody may read
              "/proc/self/mem: cannot be read: Input/output error");
    const std::string file = folder.file("site", "");
    std::filesystem::resize_file(file, 64U << 20);
    EXPECT_EQ(ReadTextFile(file).size(), 64U << 20);
    std::filesystem::resize_file(file, (64U << 20) + 1);
    for (const std::string& large : {file, std::string("/dev/zero")})
        EXPECT_EQ(FileErrorOf([&] { (void)ReadTextFile(large); }), large + ": is larger than 64 MiB");
}

} // namespace
} // namespace corvane::site
