#pragma once

#include "host/api.h"
#include "host/device_context.h"
#include "host/device_id.h"
#include "refhost/base/names.h"

#include <boost/shared_ptr.hpp>

#include <memory>
#include <stdexcept>
#include <string>

namespace corvane::refhost {

// Why the device database could not be opened, read or written; the text names the file.
class VORN_HOST_API CDeviceDbError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The recorder's device database, on SQLite: for each device, by its address, its identity and its values. A
// write is one transaction: a process killed in the middle leaves the old value or the new one. Its
// operations may be called from any thread; several processes may have one file open.
class VORN_HOST_API CDeviceDb : public std::enable_shared_from_this<CDeviceDb> {
public:
    // Opens or creates the database, a new one for its owner alone; an empty `file` keeps it in memory.
    // Throws CDeviceDbError.
    static std::shared_ptr<CDeviceDb> open(const std::string& file);
    ~CDeviceDb();
    CDeviceDb(const CDeviceDb&) = delete;
    CDeviceDb& operator=(const CDeviceDb&) = delete;

    // Who was found at the address, if anybody was; and the record of it. Throws CDeviceDbError when the
    // database fails.
    COptional<std::string> familyAt(const std::string& address) const;
    void registerDevice(const std::string& address, const std::string& familyName,
                        const std::string& serialNumber);

    // Throws CDeviceDbError when a write would fail now; nothing is changed.
    void requireWritable();

    // The record of the device at the address; it keeps the database open.
    boost::shared_ptr<device_handler::v1_0::IDeviceDbProxy> proxy(const std::string& address);

private:
    class CConnection;
    class CProxy;
    explicit CDeviceDb(const std::string& file);

    std::unique_ptr<CConnection> connection_;
};

} // namespace corvane::refhost
