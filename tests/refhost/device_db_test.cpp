#include "refhost/base/device_db.h"

#include "tests/refhost/http_support.h"
#include "tests/support/temporary_folder.h"

#include <SQLiteCpp/SQLiteCpp.h>
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace corvane::tests {
namespace {

using namespace device_handler::v1_0;
using refhost::CDeviceDb;
using refhost::CDeviceDbError;
using test_support::CTemporaryFolder;
using testing::HasSubstr;

std::string OpeningFailure(const std::string& file) {
    try {
        CDeviceDb::open(file);
    } catch (const CDeviceDbError& error) {
        return error.what();
    }
    return "opened";
}

void Execute(const std::string& file, const std::string& commands) {
    SQLite::Database(file, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE).exec(commands);
}

TEST(DeviceDb, KeepsEachDevicesValuesApartAndAcrossOpenings) {
    const CTemporaryFolder folder;
    const std::string file = folder.file("devices.db");
    const std::string binary("\0'; \xFF", 5);
    {
        const auto database = CDeviceDb::open(file);
        const auto proxy = database->proxy("a");
        EXPECT_EQ(proxy->getFamily(), "");
        EXPECT_FALSE(database->familyAt("a"));
        database->registerDevice("a", "Dome", "1");
        database->registerDevice("a", "BoxCamera", "1");
        EXPECT_THAT(proxy->writeValue("k", "of the device"), IsSuccess());
        EXPECT_THAT(proxy->writeInputValue(InputClass::Video, 0, "k", "of video 0"), IsSuccess());
        EXPECT_THAT(proxy->writeInputValue(InputClass::Video, 1, "k", CString(binary)), IsSuccess());
        EXPECT_THAT(proxy->writeInputValue(InputClass::Audio, 0, "k", "old"), IsSuccess());
        EXPECT_THAT(proxy->writeInputValue(InputClass::Audio, 0, "k", ""), IsSuccess());
    }
    // The proxy alone keeps the database open.
    const auto proxy = CDeviceDb::open(file)->proxy("a");
    EXPECT_EQ(proxy->getFamily(), "BoxCamera");
    CString value;
    EXPECT_THAT(proxy->readValue("k", value), IsSuccess());
    EXPECT_EQ(value, CString("of the device"));
    EXPECT_THAT(proxy->readInputValue(InputClass::Video, 0, "k", value), IsSuccess());
    EXPECT_EQ(value, CString("of video 0"));
    EXPECT_THAT(proxy->readInputValue(InputClass::Video, 1, "k", value), IsSuccess());
    EXPECT_EQ(value, CString(binary));
    EXPECT_THAT(proxy->readInputValue(InputClass::Audio, 0, "k", value), IsSuccess());
    EXPECT_EQ(value, CString(""));
    value = "kept";
    EXPECT_THAT(proxy->readInputValue(InputClass::DryContact, 0, "k", value),
                IsError(RtnCode::NotSet, Origin::General, "\"k\""));
    const auto other = CDeviceDb::open(file)->proxy("b");
    EXPECT_EQ(other->getFamily(), "");
    for (const CError& error :
         {other->readValue("k", value), other->readInputValue(InputClass::Video, 0, "k", value),
          proxy->readValue("l", value), proxy->readInputValue(InputClass::Video, 2, "k", value)})
        EXPECT_THAT(error, IsError(RtnCode::NotSet, Origin::General, "the device database has no \""));
    EXPECT_EQ(value, CString("kept"));
}

// What has been written stays readable, whichever build reads it.
TEST(DeviceDb, TheFilesFormIsFixed) {
    const CTemporaryFolder folder;
    const std::string file = folder.file("devices.db");
    Execute(file, R"(
        CREATE TABLE device (address PRIMARY KEY, family, serial);
        CREATE TABLE device_value (address, key, value, PRIMARY KEY (address, key));
        CREATE TABLE input_value (address, class, input, key, value, PRIMARY KEY (address, class, input, key));
        INSERT INTO device VALUES ('a', 'Dome', '1');
        INSERT INTO device_value VALUES ('a', 'k', 'v');
        INSERT INTO input_value VALUES ('a', 0, 1, 'k', '0'), ('a', 1, 1, 'k', '1'), ('a', 2, 1, 'k', '2');
        PRAGMA application_id = 1448038990; PRAGMA user_version = 1)");
    const auto database = CDeviceDb::open(file);
    const auto proxy = database->proxy("a");
    EXPECT_EQ(proxy->getFamily(), "Dome");
    CString value;
    EXPECT_THAT(proxy->readValue("k", value), IsSuccess());
    EXPECT_EQ(value, CString("v"));
    for (const InputClass inputClass : {InputClass::Video, InputClass::Audio, InputClass::DryContact}) {
        EXPECT_THAT(proxy->readInputValue(inputClass, 1, "k", value), IsSuccess());
        EXPECT_EQ(value, CString(std::to_string(static_cast<int>(inputClass))));
    }
    database->registerDevice("a", "Dome", "2");
    EXPECT_EQ(SQLite::Database(file).execAndGet("SELECT serial FROM device").getString(), "2");
}

TEST(DeviceDb, InMemoryIsANewOneEachTime) {
    ASSERT_THAT(CDeviceDb::open("")->proxy("a")->writeValue("k", "v"), IsSuccess());
    CString value;
    EXPECT_THAT(CDeviceDb::open("")->proxy("a")->readValue("k", value),
                IsError(RtnCode::NotSet, Origin::General, "the device database has no \"k\" here"));
}

TEST(DeviceDb, WhatIsNoDeviceDatabaseIsRefusedAndLeftAlone) {
    const CTemporaryFolder folder;
    const std::string text = folder.file("text", std::string(5000, 'x'));
    EXPECT_THAT(OpeningFailure(text), HasSubstr(text + ": file is not a database"));
    EXPECT_EQ(std::filesystem::file_size(text), 5000U);

    Execute(folder.file("foreign"), "CREATE TABLE t (a)");
    EXPECT_THAT(OpeningFailure(folder.file("foreign")), HasSubstr("is a database of something else"));

    CDeviceDb::open(folder.file("newer"));
    Execute(folder.file("newer"), "PRAGMA user_version = 2");
    EXPECT_THAT(OpeningFailure(folder.file("newer")), HasSubstr("schema version 2, not 1"));

    EXPECT_THAT(OpeningFailure(folder.file("no/such/folder")), HasSubstr("no/such/folder: "));
}

TEST(DeviceDb, ADamagedPageIsFoundAtTheOpening) {
    const CTemporaryFolder folder;
    const std::string file = folder.file("devices.db");
    CDeviceDb::open(file)->registerDevice("a", "Dome", "1");
    // The second page is the first table's root.
    std::fstream(file, std::ios::in | std::ios::out | std::ios::binary).seekp(4096)
        << std::string(4096, '\x55');
    EXPECT_THAT(OpeningFailure(file), HasSubstr(file + ": "));
}

TEST(DeviceDb, AFailingDatabaseFailsTheCalls) {
    const CTemporaryFolder folder;
    const std::string file = folder.file("devices.db");
    const auto database = CDeviceDb::open(file);
    const auto proxy = database->proxy("a");
    CString value("kept");
    EXPECT_THAT(proxy->writeValue("k", "kept"), IsSuccess()); // what fails later has been used before
    EXPECT_THAT(proxy->readValue("k", value), IsSuccess());
    Execute(file, "ALTER TABLE device RENAME TO a; ALTER TABLE device_value RENAME TO b;"
                  "ALTER TABLE input_value RENAME TO c");
    EXPECT_THAT(proxy->writeValue("k", "v"), IsError(RtnCode::DeviceDbUnavailable, Origin::General, file));
    EXPECT_THAT(proxy->readValue("k", value), IsError(RtnCode::DeviceDbUnavailable, Origin::General, file));
    EXPECT_EQ(value, CString("kept"));
    EXPECT_EQ(proxy->getFamily(), "");
    EXPECT_THROW(database->registerDevice("a", "Dome", "1"), CDeviceDbError);

    Execute(file, "ALTER TABLE a RENAME TO device; ALTER TABLE b RENAME TO device_value;"
                  "ALTER TABLE c RENAME TO input_value");
    EXPECT_THAT(proxy->writeValue("k", "v"), IsSuccess());
    EXPECT_THAT(proxy->readValue("k", value), IsSuccess());
    EXPECT_EQ(value, CString("v"));
}

TEST(DeviceDb, SeveralConnectionsAndThreadsWriteAtOnce) {
    const CTemporaryFolder folder;
    const std::string file = folder.file("devices.db");
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&, key = "key" + std::to_string(i)] {
            const auto proxy = CDeviceDb::open(file)->proxy("a");
            for (int n = 0; n < 20; ++n)
                EXPECT_THAT(proxy->writeValue(key, CString(std::to_string(n))), IsSuccess());
        });
    for (std::thread& thread : threads)
        thread.join();
    for (int i = 0; i < 4; ++i) {
        CString value;
        EXPECT_THAT(CDeviceDb::open(file)->proxy("a")->readValue("key" + std::to_string(i), value),
                    IsSuccess());
        EXPECT_EQ(value, CString("19"));
    }
}

// A value so long that a write takes many pages, each of which tells whose it is.
std::string ValueOf(int n) {
    return std::to_string(n) + std::string(500'000, static_cast<char>('a' + n % 26));
}

// Writes 1, 2, 3, ... and tells each number once its write has returned. Never returns.
[[noreturn]] void writeUntilKilled(const std::string& file, int told) {
    const auto proxy = CDeviceDb::open(file)->proxy("a");
    for (int n = 1;; ++n) {
        if (proxy->writeValue("n", CString(ValueOf(n))) || ::write(told, &n, sizeof n) < 0)
            std::_Exit(1);
    }
}

TEST(DeviceDb, AKilledWriterLeavesTheLastWriteThatReturnedOrTheNext) {
    const CTemporaryFolder folder;
    const std::string file = folder.file("devices.db");
    for (int round = 1; round <= 100; ++round) {
        int told[2];
        ASSERT_EQ(::pipe(told), 0);
        const pid_t writer = ::fork();
        if (writer == 0)
            writeUntilKilled(file, told[1]);
        ::close(told[1]);
        int last = 0;
        ASSERT_EQ(::read(told[0], &last, sizeof last), static_cast<ssize_t>(sizeof last));
        // Each round at another moment of the next write.
        std::this_thread::sleep_for(std::chrono::microseconds(20 * round));
        ::kill(writer, SIGKILL);
        ::waitpid(writer, nullptr, 0);
        for (int more = 0; ::read(told[0], &more, sizeof more) == static_cast<ssize_t>(sizeof more);)
            last = more;
        ::close(told[0]);

        CString value;
        ASSERT_THAT(CDeviceDb::open(file)->proxy("a")->readValue("n", value), IsSuccess());
        const int found = std::stoi(value.str());
        EXPECT_TRUE(found == last || found == last + 1) << found << " after " << last;
        EXPECT_TRUE(value.str() == ValueOf(found)) << "torn at " << found;
    }
}

} // namespace
} // namespace corvane::tests
