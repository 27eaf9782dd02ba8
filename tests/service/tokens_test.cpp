#include "service/tokens.h"

#include "site/text_file.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include <filesystem>
#include <set>
#include <thread>
#include <unistd.h>

namespace corvane::service {
namespace {

using test_support::CTemporaryFolder;
using testing::HasSubstr;
using testing::Not;

// Of "abc" and of nothing, as FIPS 180 and everybody's sha256sum have them.
constexpr const char* OfAbc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
constexpr const char* OfNothing = "E3B0C44298FC1C149AFBF4C8996FB92427AE41E4649B934CA495991B7852B855";

std::string WholeFile() {
    return std::string("{\"tokens\": [\n") +
           "  {\"name\": \"front desk\", \"role\": \"operate\", \"sha256\": \"" + OfAbc + "\"},\n" +
           "  {\"name\": \"wall\", \"role\": \"view\", \"sha256\": \"" + OfNothing + "\"}]}";
}

template <class Error, class Use>
std::string TextOf(const Use& use) {
    try {
        use();
    } catch (const Error& error) {
        return error.what();
    }
    return "";
}

TEST(TokenFile, KnowsATokenByItsHash) {
    const CTemporaryFolder folder;
    const auto entries = ReadTokenFile(folder.file("tokens.json", WholeFile()));
    ASSERT_EQ(entries.size(), 2U);
    const auto holder = [&](const std::string& token) {
        const STokenEntry* const found = FindToken(entries, token);
        return found ? found->name + " " + NameOf(found->role) : "nobody";
    };
    EXPECT_EQ(holder("abc"), "front desk operate");
    EXPECT_EQ(holder(""), "wall view");
    for (const char* wrong : {"abd", "ab", "abcd", "ABC", OfAbc})
        EXPECT_EQ(holder(wrong), "nobody") << wrong;
    EXPECT_FALSE(FindToken({}, "abc"));
    EXPECT_LT(Role::View, Role::Operate);
    EXPECT_LT(Role::Operate, Role::Admin);
}

TEST(TokenFile, EachMistakeIsToldWithItsPlaceAndReason) {
    const struct {
        std::string part;
        std::string wrong;
        std::string said;
    } mistakes[] = {
        {"\"tokens\"", "\"token\"",
         "line 1, column 2: token: unknown member; expected one of tokens; did you mean tokens?"},
        {"\"role\": \"view\"", "\"rule\": \"view\"",
         "line 3, column 20: tokens[1].rule: unknown member; expected one of name, role, sha256; did you "
         "mean role?"},
        {"\"role\": \"operate\", ", "", "line 2, column 3: tokens[0]: missing member \"role\""},
        {"\"operate\"", "\"operator\"",
         "line 2, column 26: tokens[0].role: there is no such role; expected one of view, operate, admin; "
         "did you "
         "mean operate?"},
        {"\"operate\"", "2", "line 2, column 26: tokens[0].role: expected a text"},
        {"wall", "front desk", "line 3, column 4: tokens[1].name: another token has the name \"front desk\""},
        {"\"wall\"", "\"\"",
         "line 3, column 4: tokens[1].name: expected a name of 1 to 64 bytes, without control characters"},
        {"wall", "wa\\u001b[2Jll",
         "line 3, column 4: tokens[1].name: expected a name of 1 to 64 bytes, without control characters"},
        {OfAbc, std::string(OfAbc).substr(1),
         "line 2, column 45: tokens[0].sha256: expected 64 hexadecimal digits"},
        {OfAbc, "g" + std::string(OfAbc).substr(1),
         "line 2, column 45: tokens[0].sha256: expected 64 hexadecimal digits"},
        {OfNothing, OfAbc, "line 3, column 36: tokens[1].sha256: \"front desk\" has the same token"},
        {"]}", "]",
         "line 3, column 114: syntax error while parsing object - unexpected end of input; expected '}'"},
    };
    for (const auto& mistake : mistakes) {
        std::string text = WholeFile();
        text.replace(text.find(mistake.part), mistake.part.size(), mistake.wrong);
        const CTemporaryFolder folder;
        const std::string file = folder.file("tokens.json", text);
        EXPECT_EQ(TextOf<site::CFileError>([&] { (void)ReadTokenFile(file); }), file + ": " + mistake.said);
    }
}

TEST(TokenFile, HoldsWhatWasAddedUntilItIsRevokedAndNeverAToken) {
    const CTemporaryFolder folder;
    const std::string file = folder.file("tokens.json");
    const std::string desk = AddToken(file, "front desk", Role::Operate);
    const std::string boss = AddToken(file, "boss", Role::Admin);
    EXPECT_THAT(desk, testing::MatchesRegex("[A-Za-z0-9_-]{43}"));
    EXPECT_NE(desk, boss);
    EXPECT_EQ(std::filesystem::status(file).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    for (const std::string& token : {desk, boss})
        EXPECT_THAT(folder.contents(), Not(HasSubstr(token)));
    EXPECT_EQ(FindToken(ReadTokenFile(file), desk)->role, Role::Operate);

    EXPECT_THAT(TextOf<CTokenNameError>([&] { (void)AddToken(file, "boss", Role::View); }),
                HasSubstr("already"));
    EXPECT_THAT(TextOf<CTokenNameError>([&] { (void)AddToken(file, "a\nb", Role::View); }),
                HasSubstr("control"));
    EXPECT_EQ(TextOf<CTokenNameError>([&] { (void)RevokeToken(file, "bos"); }),
              "there is no token \"bos\"; did you mean boss?");

    EXPECT_EQ(RevokeToken(file, "front desk").role, Role::Operate);
    const auto left = ReadTokenFile(file);
    EXPECT_FALSE(FindToken(left, desk));
    EXPECT_EQ(FindToken(left, boss)->role, Role::Admin); // what was to be added again has not taken its place
}

TEST(TokenFile, ThatIsDamagedIsNotWrittenOver) {
    const CTemporaryFolder folder;
    const std::string file = folder.file("tokens.json", "{\"tokens\": [");
    EXPECT_THAT(TextOf<site::CFileError>([&] { (void)AddToken(file, "boss", Role::Admin); }),
                HasSubstr("line 1"));
    EXPECT_EQ(site::ReadTextFile(file), "{\"tokens\": [");
}

TEST(TokenFile, LosesNothingWhenManyChangeItAtOnce) {
    constexpr int Writers = 8;
    constexpr int Each = 6;
    const CTemporaryFolder folder;
    const std::string file = folder.file("tokens.json");
    std::vector<std::thread> writers;
    for (int writer = 0; writer < Writers; ++writer)
        writers.emplace_back([&file, writer] {
            for (int i = 0; i < Each; ++i)
                (void)AddToken(file, std::to_string(writer) + "." + std::to_string(i), Role::View);
        });
    for (std::thread& writer : writers)
        writer.join();
    std::set<std::string> names;
    for (const STokenEntry& entry : ReadTokenFile(file))
        names.insert(entry.name);
    EXPECT_EQ(names.size(), std::size_t{Writers} * Each);
}

// Else a service could no longer read what an administrator has changed.
TEST(TokenFile, ThatRootChangesStaysItsOwners) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can leave a file to somebody else";
    constexpr uid_t Somebody = 4711;
    const CTemporaryFolder folder;
    const std::string state = folder.file("state");
    std::filesystem::create_directory(state);
    ASSERT_EQ(::chown(state.c_str(), Somebody, Somebody), 0);
    const auto owner = [&] {
        struct stat status {};
        EXPECT_EQ(::stat((state + "/tokens.json").c_str(), &status), 0);
        return status.st_uid;
    };
    (void)AddToken(state + "/tokens.json", "boss", Role::Admin);
    EXPECT_EQ(owner(), Somebody);
    ASSERT_EQ(::chown(state.c_str(), 0, 0), 0);
    (void)AddToken(state + "/tokens.json", "desk", Role::View);
    EXPECT_EQ(owner(), Somebody);
}

} // namespace
} // namespace corvane::service
