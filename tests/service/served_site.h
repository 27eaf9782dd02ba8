#pragma once

#include "tests/service/http_client.h"
#include "tests/support/camsim_process.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/wait_until.h"

#include <csignal>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace corvane::service_test {

using test_support::CCamsim;
using test_support::CProgram;
using test_support::CTemporaryFolder;
using test_support::SRun;
using test_support::WaitUntil;

// A simulator's cameras, named "c0", "c1" and so on, a site file of them, and a service that keeps it, with a
// token of each role.
class CServedSite {
public:
    // `change` is given the site file before the service starts.
    explicit CServedSite(const std::vector<std::string>& camsimArguments,
                         const std::function<void(CServedSite&)>& change = nullptr,
                         const std::vector<std::string>& serviceArguments = {});

    // Writes the site file anew.
    void write() const { folder.file("site.json", file.dump()); }
    void reload() const { program->signal(SIGHUP); }

    // The camera as the list has it; null where it is not there.
    json camera(const std::string& name) const;
    // The same once it has these members; a failure of the test, and what there is, where it never has.
    json await(const std::string& name, const json& members) const;
    // Until so many of its inputs are heard, and no other is there.
    void awaitLevels(const std::string& name, std::size_t count) const;
    json awaitState(const std::string& name, const std::string& state) const {
        return await(name, {{"state", state}});
    }

    // The requests to the camera, by its place, that were answered 200, with this beginning of the path; and
    // of any camera with place -1.
    std::vector<json> requests(int camera, const std::string& path) const;

    const CTemporaryFolder folder;
    CCamsim camsim;
    json file;
    std::string view;    // tokens
    std::string operate; //
    std::string admin;   //
    std::unique_ptr<CProgram> program;
    std::string address; // where the service listens
    CHttpClient client(const std::string& token) const { return {address, token}; }
};

} // namespace corvane::service_test
