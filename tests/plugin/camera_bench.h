#pragma once

#include "camera/panasonic_camera.h"
#include "operations/operations.h"
#include "tests/plugin/fake_host.h"
#include "tests/plugin/stub_camera.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace corvane::test_support {

// A camera of the plug-in against a stub, called by name.
class CCameraBench : public testing::Test {
protected:
    using Settings = std::map<std::string, std::string>;
    using Requests = std::vector<std::string>;

    explicit CCameraBench(const std::vector<SModelInfo>& ofModels) {
        CVornModelList::ModelMap byNumber;
        for (const SModelInfo& model : ofModels)
            byNumber[model.number] = model;
        models = boost::make_shared<CVornModelList>(Request("/test", "NAME="), std::vector<SFamily>(),
                                                    std::map<std::string, SQueryDevice>(), byNumber);
        stub.reply("/test", HttpOk("NAME=x\r\n"));
        stub.reply(Setdata, [this](std::size_t) { return HttpOk(dump()); });
    }

    // Makes the camera anew; it reports these settings and this capability.
    void bringUp(const char* number, Settings with = {}, const std::string& capability = "x") {
        camera.reset();
        {
            const std::lock_guard<std::mutex> lock(
                settingsMutex); // an earlier camera's request may be served still
            settings = std::move(with);
        }
        stub.reply("/cgi-bin/get_capability", HttpOk(capability));
        boost::shared_ptr<IDeviceContext> context = device;
        camera.emplace(context, address.c_str(), models, number);
        EXPECT_TRUE(camera->customInitialize());
        registry.emplace();
        camera->registerOperations(*registry);
        camera->GetImageMode(); // after the first dump
    }

    // Everything that one call sends without the dumps: a GET as it stands, a POST with a blank before its
    // body; without "/cgi-bin/".
    Requests call(const std::string& operation, const std::vector<std::string>& arguments) {
        const std::size_t before = stub.requests().size();
        answer = {};
        registry->call(operation, arguments, [this](const SAnswer& given) { answer = given; });
        Requests sent;
        const std::vector<SStubRequest> all = stub.requests();
        for (std::size_t i = before; i < all.size(); ++i)
            if (all[i].target != Setdata)
                sent.push_back(all[i].target.substr(9) + (all[i].body.empty() ? "" : " " + all[i].body));
        return sent;
    }
    // What a call answers: its values, or its error's code, origin and text.
    Requests answered(const std::string& operation, const std::vector<std::string>& arguments) {
        call(operation, arguments);
        return answer.error->getCode() == 1 ? answer.values : Requests{told()};
    }
    // Whether a call has the settings read anew: readers wait for that.
    bool refreshes(const std::string& operation, const std::vector<std::string>& arguments) {
        const auto dumps = [this] {
            const std::vector<SStubRequest> all = stub.requests();
            return std::count_if(all.begin(), all.end(),
                                 [](const SStubRequest& request) { return request.target == Setdata; });
        };
        const auto before = dumps();
        call(operation, arguments);
        camera->GetImageMode();
        return dumps() > before;
    }
    std::string told() const { return Told(*answer.error); }

    mutable std::mutex settingsMutex; // guards settings
    Settings settings;
    CStubCamera stub;                     // serves them until it is gone
    std::string address = stub.address(); // of the cameras that are made
    boost::shared_ptr<CFakeDevice> device = boost::make_shared<CFakeDevice>();
    boost::shared_ptr<CVornModelList> models;
    std::optional<panasonic_camera::CPanasonicCamera> camera;
    std::optional<COperationRegistry> registry;
    SAnswer answer;

private:
    std::string dump() const {
        const std::lock_guard<std::mutex> lock(settingsMutex);
        std::string text = "x"; // a key at the very first character is not found
        for (const auto& [key, value] : settings)
            text += "\r\n" + key + ",\"" + value + "\"\r\n";
        return text;
    }
};

} // namespace corvane::test_support
