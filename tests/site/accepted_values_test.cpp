#include "site/accepted_values.h"

#include "tests/site/file_error.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>

#include <atomic>
#include <filesystem>
#include <set>
#include <thread>

namespace corvane::site {
namespace {

using test_support::CTemporaryFolder;

const std::set<std::string> All{"gate", "hall"};
const SAcceptedValue Hall{"hall", "camera.example", "adjustments", "brightness", "51", "50"};

SAcceptedValue Gate(std::string SAcceptedValue::*other = nullptr, const std::string& text = {}) {
    SAcceptedValue value{"gate",    "127.0.0.1:8080", "streams.0,h264,0",
                         "bitRate", "4000 \"k\"\n",   "4096 \\ \xC3\xA4"};
    if (other)
        value.*other = text;
    return value;
}

class AcceptedValues : public testing::Test {
protected:
    const CTemporaryFolder folder;
    const std::string site = folder.file("site.json", "");
    const std::string file = folder.file("site.json.accepted");
};

TEST_F(AcceptedValues, CountForTheirOwnWishValueAndPlaceUntilANewerOneTakesIt) {
    for (const auto other : {&SAcceptedValue::camera, &SAcceptedValue::address, &SAcceptedValue::of,
                             &SAcceptedValue::field, &SAcceptedValue::wanted, &SAcceptedValue::accepted}) {
        CAcceptedValues values(site);
        values.take(Gate());
        values.take(Hall);
        values.save(All);
        const SAcceptedValue newer = Gate(other, Hall.*other);
        const bool isOfTheSameField = other != &SAcceptedValue::camera && other != &SAcceptedValue::of &&
                                      other != &SAcceptedValue::field;
        EXPECT_TRUE(CAcceptedValues(site).has(Gate()) && values.has(Gate()));
        EXPECT_FALSE(CAcceptedValues(site).has(newer) || values.has(newer)) << newer.*other;
        values.take(newer);
        EXPECT_FALSE(CAcceptedValues(site).has(newer)) << newer.*other; // it is not saved yet
        values.save(All);
        EXPECT_TRUE(CAcceptedValues(site).has(newer) && values.has(newer)) << newer.*other;
        EXPECT_EQ(CAcceptedValues(site).has(Gate()), !isOfTheSameField) << newer.*other;
        EXPECT_EQ(values.has(Gate()), !isOfTheSameField) << newer.*other;
        EXPECT_TRUE(CAcceptedValues(site).has(Hall));
        std::filesystem::remove(file);
    }
}

TEST_F(AcceptedValues, OfACameraThatTheSiteNoLongerHasAreForgotten) {
    CAcceptedValues values(site);
    values.take(Gate());
    values.save(All);
    values.take(Hall);
    values.save({"hall"});
    EXPECT_TRUE(CAcceptedValues(site).has(Hall));
    EXPECT_FALSE(CAcceptedValues(site).has(Gate()));
}

TEST_F(AcceptedValues, OfADamagedFileAreToldWithTheirPlaceAndTheFileIsLeft) {
    const std::string sound = R"({"camera":"a","address":"b","of":"c","field":"d","wanted":"e","accepted":)";
    const std::pair<std::string, std::string> rows[] = {
        {"", "line 1, column 1: "},
        {"[" + sound, "line 1, column 75: "},
        {"{}", "top level: expected an array"},
        {"[" + sound + "\"f\"}, " + sound + "7}]", "[1].accepted: expected a text"},
        {"[" + sound + "\"f\", \"g\":\"h\"}]", "[0].g: unknown member; "},
        {R"([{"camera":"a"}])", "[0]: missing member \"address\""},
    };
    for (const auto& [text, said] : rows) {
        folder.file("site.json.accepted", text);
        const std::string refusal = FileErrorOf([&] { const CAcceptedValues values(site); });
        EXPECT_EQ(refusal.substr(0, (file + ": " + said).size()), file + ": " + said);
        EXPECT_EQ(folder.contents(), text);
    }
}

TEST_F(AcceptedValues, ThatCannotBeWrittenAreToldAndNoneIsLost) {
    const SAcceptedValue newer = Gate(&SAcceptedValue::wanted, "4100");
    CAcceptedValues values(site);
    values.take(Gate());
    values.save(All);
    values.take(newer);
    EXPECT_EQ(FileErrorOnFullDiskOf([&] { values.save(All); }), file + ": cannot be written: File too large");
    EXPECT_TRUE(CAcceptedValues(site).has(Gate()));
    values.take(Gate(&SAcceptedValue::field, "\xFF")); // no UTF-8
    values.save(All);
    EXPECT_TRUE(CAcceptedValues(site).has(newer));
    EXPECT_TRUE(CAcceptedValues(site).has(Gate(&SAcceptedValue::field, "\xEF\xBF\xBD")));
}

// As of two programs that set a half of the site each.
TEST_F(AcceptedValues, OfSeveralAtATimeAreAllInAFileThatIsWholeAtAnyTime) {
    constexpr int Threads = 4;
    constexpr int Each = 25;
    const auto value = [](int number) { return Gate(&SAcceptedValue::of, std::to_string(number)); };
    CAcceptedValues first(site);
    first.take(Hall);
    first.save(All);
    std::atomic<int> working{Threads};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < Threads; ++thread)
        threads.emplace_back([&, thread] {
            CAcceptedValues values(site);
            for (int i = 0; i < Each; ++i) {
                values.take(value(thread * Each + i));
                EXPECT_EQ(FileErrorOf([&] { values.save(All); }), "");
            }
            --working;
        });
    bool isThere = true;
    std::string damage;
    while (working > 0 && isThere && damage.empty())
        damage = FileErrorOf([&] { isThere = CAcceptedValues(site).has(Hall); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(isThere && damage.empty()) << damage;
    const CAcceptedValues again(site);
    for (int number = 0; number < Threads * Each; ++number)
        EXPECT_TRUE(again.has(value(number))) << number;
    EXPECT_EQ(folder.contents(), ReadTextFile(file)); // and no other file but an empty site
}

} // namespace
} // namespace corvane::site
