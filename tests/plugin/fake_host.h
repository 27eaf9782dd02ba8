#pragma once

#include "host/device_context.h"
#include "host/handler_context.h"
#include "host/model_list.h"
#include "tests/support/wait_until.h"

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <iterator>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

// The framework's contexts, as far as the plug-in asks them, and what the tests wait on.
namespace corvane::test_support {

using namespace device_handler::v1_0;

// The code, the origin and the text.
inline std::string Told(const CError& error) {
    return std::to_string(error.getCode()) + " " + std::to_string(error.getOrigin()) + " " + error.getText();
}

inline std::size_t EntriesOf(const char* folder) {
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator()));
}
inline std::size_t ThreadCount() {
    return EntriesOf("/proc/self/task");
}

// Checks, when it goes, that no thread is left that was not there when it came.
class CThreadCheck {
public:
    CThreadCheck() {
        std::thread([] {}).join(); // a sanitizer starts a thread of its own beside the first
        threads_ = ThreadCount();
    }
    ~CThreadCheck() {
        EXPECT_TRUE(WaitUntil([this] { return ThreadCount() <= threads_; }));
    }
    CThreadCheck(const CThreadCheck&) = delete;
    CThreadCheck& operator=(const CThreadCheck&) = delete;

private:
    std::size_t threads_ = 0;
};

// Log lines as "LEVEL TEXT".
class CLogLines {
public:
    void add(int level, const char* format, va_list arguments) {
        char line[512];
        std::vsnprintf(line, sizeof line, format, arguments);
        const std::lock_guard<std::mutex> guard(mutex_);
        lines_.push_back(std::to_string(level) + " " + line);
    }
    std::vector<std::string> lines() const {
        const std::lock_guard<std::mutex> guard(mutex_);
        return lines_;
    }

private:
    mutable std::mutex mutex_; // guards lines_
    std::vector<std::string> lines_;
};

// A device without a database, or whose database knows its family.
class CFakeDevice : public IDeviceContext {
public:
    explicit CFakeDevice(CAuthentication authentication = {"admin", "12345"})
        : authentication_(std::move(authentication)) {}

    void log(int level, const char* format, ...) override VORN_PRINTF_FORMAT(3, 4) {
        va_list arguments;
        va_start(arguments, format);
        log_.add(level, format, arguments);
        va_end(arguments);
    }
    boost::shared_ptr<IDeviceDbProxy> getDeviceDbProxy() override { return database_; }
    CAuthentication getAuthentication() override {
        const std::lock_guard<std::mutex> guard(mutex_);
        return authentication_;
    }

    void setAuthentication(CAuthentication authentication) {
        const std::lock_guard<std::mutex> guard(mutex_);
        authentication_ = std::move(authentication);
    }
    void setFamily(const std::string& family) { database_ = boost::make_shared<CDatabase>(family); }
    std::vector<std::string> logLines() const { return log_.lines(); }

private:
    class CDatabase : public IDeviceDbProxy {
    public:
        explicit CDatabase(std::string family) : family_(std::move(family)) {}
        std::string getFamily() const override { return family_; }
        CError readValue(const std::string&, CString&) const override { return absent(); }
        CError writeValue(const std::string&, const CString&) override { return absent(); }
        CError readInputValue(InputClass, int, const std::string&, CString&) const override {
            return absent();
        }
        CError writeInputValue(InputClass, int, const std::string&, const CString&) override {
            return absent();
        }

    private:
        static CError absent() { return {RtnCode::NotSet, Origin::General, "absent"}; }
        const std::string family_;
    };

    CLogLines log_;
    boost::shared_ptr<IDeviceDbProxy> database_;
    std::mutex mutex_; // guards authentication_
    CAuthentication authentication_;
};

// A GET of `path`, answered by the text behind `key`.
inline SVornUrl Request(const std::string& path, const std::string& key) {
    SVornUrl url;
    url.protocol = "http";
    url.port = "80";
    url.path = path;
    url.replyKey = key;
    return url;
}

// A family whose devices are asked at "/NAME/model" and "/NAME/serial"; a value ends at "m" or "s" too.
inline SQueryDevice QueryOf(const std::string& family) {
    return {{Request("/" + family + "/model", "NAME="), "m\r\n", "BASIC"},
            {Request("/" + family + "/serial", "SERIAL="), "s\r\n", "BASIC"}};
}

// Each model given as {number, family}, with so many video inputs; its authentication test is "/test".
inline boost::shared_ptr<CVornModelList>
ModelList(const std::vector<SFamily>& families,
          const std::vector<std::pair<std::string, std::string>>& numbersAndFamilies, int videoInputs = 1) {
    std::map<std::string, SQueryDevice> queries;
    for (const SFamily& family : families)
        queries[family.name] = QueryOf(family.name);
    CVornModelList::ModelMap models;
    for (const auto& [number, family] : numbersAndFamilies) {
        models[number].number = number;
        models[number].family = family;
        models[number].videoInputs = videoInputs;
    }
    return boost::make_shared<CVornModelList>(Request("/test", "NAME="), families, queries, models);
}

class CFakeHandlerContext : public IHandlerContext {
public:
    explicit CFakeHandlerContext(boost::shared_ptr<CVornModelList> modelList)
        : modelList_(std::move(modelList)), log_(std::make_shared<CLogLines>()) {}

    std::size_t getFamilyCount() const override { return modelList_->getFamilies().size(); }
    const SFamily* getFamily(std::size_t i) const override {
        if (beforeFamily)
            beforeFamily(i);
        return &modelList_->getFamilies()[i];
    }
    bool isQueryRefused(const std::string& address, const COptional<CDeviceId>& id,
                        const CAuthentication& authentication) override {
        checked =
            address + " " + (id ? id->getSerialNumber().str() : "-") + " " + authentication.getUsername();
        return address == refusedAddress;
    }
    CLogFunction getLog() const override {
        return CLogFunction([log = log_](int level, const char* format, va_list arguments) {
            log->add(level, format, arguments);
        });
    }
    boost::shared_ptr<CVornModelList> getModelList() const override { return modelList_; }

    std::vector<std::string> logLines() const { return log_->lines(); }

    std::string refusedAddress;
    std::string checked; // the address, the serial number and the user that isQueryRefused was last given
    std::function<void(std::size_t family)> beforeFamily; // when a query's thread is about to be started

private:
    const boost::shared_ptr<CVornModelList> modelList_;
    const std::shared_ptr<CLogLines> log_;
};

} // namespace corvane::test_support
