#pragma once

#include "tests/vornhost/vornhost_support.h"

#include <csignal>
#include <map>

namespace corvane::vornhost_test {

// A simulator's cameras and a site file of them, whose names are "c0", "c1" and so on.
class CSiteOfCamsim {
public:
    explicit CSiteOfCamsim(const std::vector<std::string>& camsimArguments) : camsim(camsimArguments) {
        folder.file("password", "12345\n");
        std::filesystem::permissions(folder.file("password"), std::filesystem::perms::owner_read);
        file = {{"credentials", {{"yard", {{"user", "admin"}, {"passwordFile", "password"}}}}},
                {"defaults", {{"credentials", "yard"}}},
                {"cameras", json::array()}};
        for (const std::string& address : camsim.addresses())
            file["cameras"].push_back(
                {{"name", "c" + std::to_string(file["cameras"].size())}, {"address", address}});
    }

    json& camera(std::size_t place) { return file["cameras"][place]; }

    std::vector<std::string> arguments(const std::string& verb,
                                       const std::vector<std::string>& more = {}) const {
        std::vector<std::string> all{"site", verb, folder.file("site.json", file.dump())};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }
    // What is told, and summed up, when Ctrl-C comes while the first of the cameras, one after another, is
    // asked for `path`.
    std::pair<json, json> interrupted(const std::string& verb, const std::string& path) const {
        camsim.post("/faults", {{"path", path}, {"kind", "delay"}, {"ms", 1500}, {"camera", 0}});
        CProgram program("vornhost", arguments(verb, {"--json", "--jobs", "1"}));
        EXPECT_TRUE(WaitUntil([&] { return camsim.get("/faults").at("faults")[0].at("hits") == 1; }));
        program.signal(SIGINT);
        program.awaitSignalTaken();
        const SRun ended = program.wait();
        EXPECT_EQ(ended.status, 1) << ended.err;
        const auto told = JsonLines(ended.out);
        EXPECT_EQ(told.size(), 2U) << ended.out;
        return {told.at(0), told.at(1)};
    }

    SRun run(const std::string& verb, const std::vector<std::string>& more = {}) const {
        return Vornhost(arguments(verb, more));
    }

    // The lines of the cameras by their names; the summary's is "".
    std::map<std::string, json> lines(const std::string& verb, int status,
                                      std::vector<std::string> more = {}) const {
        more.emplace_back("--json");
        const SRun ended = run(verb, more);
        EXPECT_EQ(ended.status, status) << ended.out << ended.err;
        std::map<std::string, json> byName;
        for (const json& line : JsonLines(ended.out))
            byName[line.value("name", "")] = line;
        return byName;
    }

    // The cameras that have been written to since the last call, each once for every request.
    std::vector<int> written() const {
        std::vector<int> cameras;
        const json log = camsim.get("/requests");
        for (const json& request : log.at("requests"))
            if (request.at("method") == "POST" ||
                request.at("path").get<std::string>().find("/set_") != std::string::npos)
                cameras.push_back(request.at("camera"));
        camsim.erase("/requests");
        return cameras;
    }

    const CTemporaryFolder folder;
    CCamsim camsim;
    json file;
};

} // namespace corvane::vornhost_test
