#include "tests/service/served_site.h"

#include "service/tokens.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace corvane::service_test {
namespace {

bool HasMembers(const json& object, const json& members) {
    if (!object.is_object())
        return false;
    json merged = object;
    merged.merge_patch(members);
    return merged == object;
}

} // namespace

CServedSite::CServedSite(const std::vector<std::string>& camsimArguments,
                         const std::function<void(CServedSite&)>& change,
                         const std::vector<std::string>& serviceArguments)
    : camsim(camsimArguments) {
    namespace fs = std::filesystem;
    folder.file("password", "12345\n");
    fs::permissions(folder.file("password"), fs::perms::owner_read);
    file = {{"credentials", {{"yard", {{"user", "admin"}, {"passwordFile", "password"}}}}},
            {"defaults", {{"credentials", "yard"}}},
            {"cameras", json::array()}};
    for (const std::string& one : camsim.addresses())
        file["cameras"].push_back({{"name", "c" + std::to_string(file["cameras"].size())}, {"address", one}});
    if (change)
        change(*this);
    write();
    const std::string tokens = folder.file("tokens.json");
    view = service::AddToken(tokens, "wall", service::Role::View);
    operate = service::AddToken(tokens, "front desk", service::Role::Operate);
    admin = service::AddToken(tokens, "boss", service::Role::Admin);
    std::vector<std::string> words{"serve",   folder.file("site.json"), "--listen",     "127.0.0.1:0",
                                   "--state", folder.file("state"),     "--token-file", tokens};
    words.insert(words.end(), serviceArguments.begin(), serviceArguments.end());
    program = std::make_unique<CProgram>("vornhost-service", words);
    const std::string url = json::parse(program->readLine()).at("listening").at(0);
    address = url.substr(url.rfind('/') + 1);
}

json CServedSite::camera(const std::string& name) const {
    const json list = client(view).get("/api/v1/cameras").object();
    for (const json& one : list.at("cameras"))
        if (one.at("name") == name)
            return one;
    return nullptr;
}

json CServedSite::await(const std::string& name, const json& members) const {
    json last;
    EXPECT_TRUE(WaitUntil([&] {
        last = camera(name);
        return HasMembers(last, members);
    })) << name
        << " is " << last << " and not " << members;
    return last;
}

void CServedSite::awaitLevels(const std::string& name, std::size_t count) const {
    EXPECT_TRUE(WaitUntil([&] {
        const json inputs = camera(name).at("inputs");
        return inputs.size() == count && std::none_of(inputs.begin(), inputs.end(), [](const json& one) {
                   return one.at("state") == "unknown";
               });
    })) << name;
}

std::vector<json> CServedSite::requests(int camera, const std::string& path) const {
    std::vector<json> all;
    const json log = camsim.get("/requests");
    for (const json& one : log.at("requests"))
        if ((camera < 0 || one.at("camera") == camera) && one.at("status") == 200 &&
            one.at("path").get<std::string>().compare(0, path.size(), path) == 0)
            all.push_back(one);
    return all;
}

} // namespace corvane::service_test
