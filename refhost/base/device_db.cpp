#include "refhost/base/device_db.h"

#include "refhost/base/log.h"
#include "refhost/base/private_file.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <map>
#include <mutex>
#include <utility>

namespace corvane::refhost {
namespace {

using device_handler::v1_0::IDeviceDbProxy;
using device_handler::v1_0::InputClass;

constexpr int BusyTimeoutMilliseconds = 5000;
constexpr const char* InMemory = ":memory:";

// Says that a SQLite file is ours: "VORN" in ASCII.
constexpr int ApplicationId = 0x564F524E;
constexpr int SchemaVersion = 1;
constexpr const char* Schema = R"(
    CREATE TABLE device (
        address TEXT PRIMARY KEY NOT NULL, family TEXT NOT NULL, serial TEXT NOT NULL
    ) WITHOUT ROWID;
    CREATE TABLE device_value (
        address TEXT NOT NULL, key TEXT NOT NULL, value TEXT NOT NULL, PRIMARY KEY (address, key)
    ) WITHOUT ROWID;
    CREATE TABLE input_value (
        address TEXT NOT NULL, class INTEGER NOT NULL, input INTEGER NOT NULL, key TEXT NOT NULL,
        value TEXT NOT NULL, PRIMARY KEY (address, class, input, key)
    ) WITHOUT ROWID;
)";

// The journal is emptied and synchronised at each commit, so a write that has returned outlasts a power cut.
constexpr const char* Durability = "PRAGMA journal_mode = TRUNCATE; PRAGMA synchronous = FULL;";

constexpr const char* ReadFamily = "SELECT family FROM device WHERE address = ?";
constexpr const char* ReadValue = "SELECT value FROM device_value WHERE address = ? AND key = ?";
constexpr const char* ReadInputValue =
    "SELECT value FROM input_value WHERE address = ? AND class = ? AND input = ? AND key = ?";

// A write of what is there already changes no row, and then SQLite writes nothing.
constexpr const char* WriteDevice = "INSERT INTO device VALUES (?, ?, ?) ON CONFLICT DO UPDATE SET "
                                    "family = excluded.family, serial = excluded.serial "
                                    "WHERE family <> excluded.family OR serial <> excluded.serial";
constexpr const char* WriteValue = "INSERT INTO device_value VALUES (?, ?, ?) ON CONFLICT DO UPDATE SET "
                                   "value = excluded.value WHERE value <> excluded.value";
constexpr const char* WriteInputValue =
    "INSERT INTO input_value VALUES (?, ?, ?, ?, ?) ON CONFLICT DO UPDATE SET "
    "value = excluded.value WHERE value <> excluded.value";

// So that SQLite, which would give a new file to everybody, finds one that is the owner's alone; what it
// writes beside it has the same rights. The path that SQLite is to open it by.
std::string MadePrivate(const std::string& file) {
    if (file.empty())
        return InMemory;
    const SOpenedFile opened = OpenPrivateFile(file, O_RDWR | O_CREAT);
    if (opened.descriptor < 0)
        throw CDeviceDbError(opened.failure);
    std::string path = PathWithoutLinks(opened.descriptor);
    ::close(opened.descriptor);
    return path;
}

std::string ShownName(const std::string& file) {
    return file.empty() ? "the device database in memory" : file;
}

void RequireIntact(SQLite::Database& database) {
    const std::string verdict = database.execAndGet("PRAGMA quick_check(1)").getString();
    if (verdict != "ok")
        throw CDeviceDbError("damaged: " + verdict);
}

// Run in a transaction: of two processes that open a new file at once, the second finds the schema in place.
void RequireSchema(SQLite::Database& database) {
    const int id = database.execAndGet("PRAGMA application_id").getInt();
    const int version = database.execAndGet("PRAGMA user_version").getInt();
    const int objects = database.execAndGet("SELECT count(*) FROM sqlite_master").getInt();
    if (id == 0 && version == 0 && objects == 0) {
        database.exec(Schema);
        database.exec("PRAGMA application_id = " + std::to_string(ApplicationId));
        database.exec("PRAGMA user_version = " + std::to_string(SchemaVersion));
        return;
    }
    if (id != ApplicationId)
        throw CDeviceDbError("is a database of something else");
    if (version != SchemaVersion)
        throw CDeviceDbError("has the schema version " + std::to_string(version) + ", not " +
                             std::to_string(SchemaVersion));
}

} // namespace

class CDeviceDb::CConnection {
public:
    explicit CConnection(const std::string& file)
        : name_(ShownName(file)),
          database_(MadePrivate(file), SQLite::OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW,
                    BusyTimeoutMilliseconds) {
        database_.exec(Durability);
        SQLite::Transaction transaction(database_, SQLite::TransactionBehavior::IMMEDIATE);
        RequireIntact(database_);
        RequireSchema(database_);
        transaction.commit();
    }

    template <class... Keys>
    COptional<std::string> read(const char* query, const Keys&... keys) {
        return guarded([&]() -> COptional<std::string> {
            const SUse use(*this, query, keys...);
            if (!use.statement.executeStep())
                return {};
            return use.statement.getColumn(0).getString();
        });
    }

    template <class... Values>
    void write(const char* command, const Values&... values) {
        guarded([&] { SUse(*this, command, values...).statement.exec(); });
    }

    void requireWritable();

private:
    // A statement with its values. REQUIRES: mutex_ held as long as it lives.
    struct SUse {
        template <class... Values>
        SUse(CConnection& connection, const char* text, const Values&... values)
            : statement(connection.statements_.try_emplace(text, connection.database_, text).first->second) {
            int position = 0;
            (statement.bind(++position, values), ...);
        }
        ~SUse() { statement.tryReset(); } // what is not reset keeps the file locked
        SUse(const SUse&) = delete;
        SUse& operator=(const SUse&) = delete;

        SQLite::Statement& statement;
    };

    template <class Work>
    auto guarded(const Work& work) {
        const std::lock_guard<std::mutex> lock(mutex_);
        try {
            return work();
        } catch (const SQLite::Exception& error) {
            throw CDeviceDbError(name_ + ": " + error.what());
        }
    }

    const std::string name_;
    std::mutex mutex_; // guards what follows
    SQLite::Database database_;
    // Each compiled once; by the place of its text, which is one of the constants above.
    std::map<const char*, SQLite::Statement> statements_;
};

void CDeviceDb::CConnection::requireWritable() {
    guarded([&] {
        const SQLite::Transaction takenBack(database_, SQLite::TransactionBehavior::IMMEDIATE);
        SUse(*this, WriteValue, std::string(), std::string(), std::string()).statement.exec();
    });
}

class CDeviceDb::CProxy : public IDeviceDbProxy {
public:
    CProxy(std::shared_ptr<CDeviceDb> database, std::string address)
        : database_(std::move(database)), address_(std::move(address)) {}

    std::string getFamily() const override {
        try {
            return database_->familyAt(address_).value_or("");
        } catch (const CDeviceDbError& error) {
            WriteLog(LogFailure, address_ + ": " + error.what());
            return {};
        }
    }

    CError readValue(const std::string& key, CString& value) const override {
        return read(key, value, ReadValue, address_, key);
    }

    CError writeValue(const std::string& key, const CString& value) override {
        return write(WriteValue, address_, key, value.str());
    }

    CError readInputValue(InputClass inputClass, int input, const std::string& key,
                          CString& value) const override {
        return read(key, value, ReadInputValue, address_, static_cast<int>(inputClass), input, key);
    }

    CError writeInputValue(InputClass inputClass, int input, const std::string& key,
                           const CString& value) override {
        return write(WriteInputValue, address_, static_cast<int>(inputClass), input, key, value.str());
    }

private:
    static CError unavailable(const CDeviceDbError& error) {
        return {RtnCode::DeviceDbUnavailable, Origin::General, error.what()};
    }

    template <class... Keys>
    CError read(const std::string& name, CString& value, const char* query, const Keys&... keys) const {
        try {
            const COptional<std::string> found = database_->connection_->read(query, keys...);
            if (!found)
                return {RtnCode::NotSet, Origin::General, "the device database has no \"" + name + "\" here"};
            value = *found;
            return CError::Success();
        } catch (const CDeviceDbError& error) {
            return unavailable(error);
        }
    }

    template <class... Values>
    CError write(const char* command, const Values&... values) {
        try {
            database_->connection_->write(command, values...);
            return CError::Success();
        } catch (const CDeviceDbError& error) {
            return unavailable(error);
        }
    }

    const std::shared_ptr<CDeviceDb> database_;
    const std::string address_;
};

CDeviceDb::CDeviceDb(const std::string& file) {
    try {
        connection_ = std::make_unique<CConnection>(file);
    } catch (const std::exception& error) {
        throw CDeviceDbError(ShownName(file) + ": " + error.what());
    }
}

CDeviceDb::~CDeviceDb() = default;

std::shared_ptr<CDeviceDb> CDeviceDb::open(const std::string& file) {
    return std::shared_ptr<CDeviceDb>(new CDeviceDb(file));
}

COptional<std::string> CDeviceDb::familyAt(const std::string& address) const {
    return connection_->read(ReadFamily, address);
}

void CDeviceDb::registerDevice(const std::string& address, const std::string& familyName,
                               const std::string& serialNumber) {
    connection_->write(WriteDevice, address, familyName, serialNumber);
}

void CDeviceDb::requireWritable() {
    connection_->requireWritable();
}

boost::shared_ptr<IDeviceDbProxy> CDeviceDb::proxy(const std::string& address) {
    return boost::shared_ptr<IDeviceDbProxy>(new CProxy(shared_from_this(), address));
}

} // namespace corvane::refhost
