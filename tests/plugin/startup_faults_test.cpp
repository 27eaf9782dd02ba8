#include "camera/panasonic_camera.h"

#include "refhost/models/model_list_file.h"
#include "tests/plugin/fake_host.h"
#include "tests/support/camsim_process.h"

#include <gtest/gtest.h>

#include <malloc.h>
#include <memory>
#include <utility>

namespace corvane::panasonic_camera {
namespace {

using namespace test_support;
using nlohmann::json;

#if defined(VORN_UNDER_ASAN) || defined(VORN_UNDER_TSAN)
constexpr int Times = 10; // under a sanitizer each takes several times as long
#else
constexpr int Times = 100;
#endif
// The framework keeps two connections to a camera, each with libcurl's own pair of sockets.
constexpr std::size_t KeptDescriptors = 2 * 3;

enum Request { AuthenticationRequest, CapabilityRequest, SettingsRequest };
constexpr const char* Paths[] = {"/cgi-bin/getinfo*", "/cgi-bin/get_capability", "/cgi-bin/setdata"};

// What becomes of a start-up whose authentication test, capability request or settings dump is hit: whether
// the camera comes up in the first two cases, and whether it has its title in the third. A fault that strikes
// once is set anew for each start-up.
struct SFault {
    json fault;
    bool isOvercome[3];
};
const SFault Faults[] = {
    {{{"kind", "delay"}, {"ms", 3}}, {true, true, true}},
    {{{"kind", "stale"}, {"count", 1}}, {true, true, true}},
    {{{"kind", "stale"}, {"count", 1'000'000}}, {false, false, false}},
    {{{"kind", "stall"}, {"bytes", 3}, {"ms", 3}}, {true, true, true}},
    {{{"kind", "status"}, {"status", 503}}, {false, false, false}},
    {{{"kind", "status"}, {"status", 401}}, {false, false, false}},
    {{{"kind", "drop"}}, {false, false, false}},
    {{{"kind", "reset"}}, {false, false, false}},
    {{{"kind", "cut"}, {"bytes", 3}}, {false, false, false}},
    {{{"kind", "garbage"}}, {false, false, false}},
    {{{"kind", "body"}, {"size", 300}}, {true, true, false}},
    {{{"kind", "empty"}}, {true, false, false}},
};

class StartUp : public testing::Test {
protected:
    std::unique_ptr<CPanasonicCamera> makeCamera(const std::string& address) {
        boost::shared_ptr<IDeviceContext> context = boost::make_shared<CFakeDevice>();
        return std::make_unique<CPanasonicCamera>(context, address.c_str(), models, "F320");
    }
    static std::string title(CPanasonicCamera& camera) {
        std::vector<CString> name;
        EXPECT_FALSE(camera.getCameraName(0, name));
        return name.front().str();
    }
    static void setFault(const CCamsim& camsim, json fault, Request request) {
        fault["path"] = Paths[request];
        camsim.post("/faults", fault);
    }

    CThreadCheck threadCheck;
    boost::shared_ptr<CVornModelList> models = refhost::LoadModelList(MODELS_FILE);
};

// What a process has in use.
struct SResources {
    std::size_t threads = ThreadCount();
    std::size_t descriptors = EntriesOf("/proc/self/fd");
    std::size_t heapBytes = mallinfo2().uordblks; // 0 under a sanitizer, which finds leaks itself
};

TEST_F(StartUp, EndsWellOrInTheRightErrorUnderEveryFaultAndLeavesNothingBehind) {
    const CCamsim camsim;
    const std::string realTitle = camsim.get("/cameras/0/settings").at("CAMTITLE");
    ASSERT_FALSE(realTitle.empty());
    const SResources atStart;

    for (const SFault& fault : Faults) {
        for (const Request request : {AuthenticationRequest, CapabilityRequest, SettingsRequest}) {
            SCOPED_TRACE(fault.fault.dump() + " on " + Paths[request]);
            const bool isOvercome = fault.isOvercome[request];
            SResources warm;
            std::unique_ptr<CPanasonicCamera> camera;
            for (int i = 0; i < Times; ++i) {
                if (i == 0 || fault.fault.value("count", 0) == 1)
                    setFault(camsim, fault.fault, request);
                camera = makeCamera(camsim.address());
                ASSERT_EQ(camera->customInitialize(), request == SettingsRequest || isOvercome);
                if (request == AuthenticationRequest) {
                    ASSERT_EQ(camera->testAuthentication().getCode(), isOvercome ? 1 : 10);
                }
                if (request == SettingsRequest) {
                    ASSERT_EQ(title(*camera), isOvercome ? realTitle : "");
                }
                if (i == Times / 10)
                    warm = {};
            }
            camsim.erase("/faults");

            // The same camera object comes up once the fault has gone.
            ASSERT_TRUE(camera->customInitialize());
            camera.reset();
            ASSERT_TRUE(WaitUntil([&] { return ThreadCount() == atStart.threads; }));
            ASSERT_LE(SResources().descriptors, atStart.descriptors + KeptDescriptors);
            ASSERT_LE(SResources().heapBytes, warm.heapBytes + 64 * 1024);
        }
    }
}

} // namespace
} // namespace corvane::panasonic_camera
