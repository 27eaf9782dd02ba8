#include "host/operations.h"
#include "refhost/plugin_library.h"
#include "tests/plugin/fake_host.h"
#include "tests/plugin/stub_camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <dlfcn.h>
#include <stdexcept>
#include <variant>

namespace corvane::test_support {
namespace {

// Of the same build as the test.
std::string PluginFile() {
    const char* programs = std::getenv("VORN_BIN"); // NOLINT(concurrency-mt-unsafe): nobody changes it
    if (!programs)
        throw std::runtime_error("VORN_BIN is not set: run the tests with ctest");
    return std::string(programs) + "/../lib/libpanasonic_handler.so";
}

TEST(Exports, NothingIsVisibleButTheFactoryAndTheBuild) {
    std::vector<std::string> names;
    const std::string command = "nm -DC --defined-only '" + PluginFile() + "'";
    FILE* output = popen(command.c_str(), "r"); // NOLINT(cert-env33-c): the file is the build's own
    ASSERT_NE(output, nullptr);
    char line[512];
    while (std::fgets(line, sizeof line, output)) {
        const std::string symbol = std::string(line).substr(19); // behind address and type
        names.push_back(symbol.substr(0, symbol.find_first_of("(\n")));
    }
    EXPECT_EQ(pclose(output), 0);
    const std::string factory = "corvane::vorn_obj_factory::v1_0::CObjectFactory::";
    EXPECT_THAT(names, testing::UnorderedElementsAre(
                           factory + "createHandlerObject", factory + "createCameraObject",
                           factory + "createControllerObject", factory + "createPtzControllerObject",
                           "Handler_Build_Date", "Handler_Build_Id"));
}

TEST(Exports, TheLibraryStaysLoaded) {
    void* library = dlopen(PluginFile().c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror(); // NOLINT(concurrency-mt-unsafe)
    dlclose(library);
    EXPECT_NE(dlopen(PluginFile().c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
}

TEST(Exports, TheFactoryMakesIndependentObjects) {
    const refhost::CPluginLibrary plugin(PluginFile());
    EXPECT_EQ(plugin.buildDate(), "1375330389");
    EXPECT_EQ(plugin.buildId(), "4.3.0.10440002");

    CFakeHandlerContext context(ModelList({{"A", "", ""}}, {{"A10", "A"}}));
    const auto handler = plugin.createHandler(context);
    auto otherHandler = plugin.createHandler(context);
    ASSERT_NE(handler, otherHandler);
    otherHandler.reset();
    ASSERT_NE(handler->getModelInfo("PX-A1"), nullptr); // the plug-in's rule, not the framework's
    EXPECT_EQ(handler->getModelInfo("PX-A1")->number, "A10");

    const auto device = boost::make_shared<CFakeDevice>(CAuthentication());
    const auto camera = plugin.createCamera(device, "127.0.0.1", context.getModelList(), "A10");
    EXPECT_NE(camera, plugin.createCamera(device, "127.0.0.1", context.getModelList(), "A10"));
    EXPECT_EQ(camera->testAuthentication().getOrigin(), 3); // likewise
    CString model;
    EXPECT_FALSE(camera->getUnitModelName(model));
    EXPECT_EQ(model, CString("A10"));
    const auto controller = plugin.createController(*device, "127.0.0.1", "A10", context.getModelList());
    EXPECT_EQ(controller->getAddress(), "127.0.0.1");
    EXPECT_EQ(controller->getModelInfo()->number, "A10");
}

// Also that the framework can catch what the plug-in throws, whose types are hidden there.
TEST(Exports, OperationsOfTheLateObjectsAreReachedByName) {
    CStubCamera stub;
    for (const char* path : {"/test", "/cgi-bin/get_capability", "/x"})
        stub.reply(path, HttpOk("\r\nA=1\r\nvideo_server.image.mode=4_3,16_9\r\n"));
    const refhost::CPluginLibrary plugin(PluginFile());
    const auto camera = plugin.createCamera(boost::make_shared<CFakeDevice>(), stub.address(),
                                            ModelList({{"A", "", ""}}, {{"A10", "A"}}), "A10");
    COperationRegistry registry;
    camera->registerOperations(registry);
    SAnswer answer;
    const auto call = [&](const char* operation, const std::vector<std::string>& arguments) {
        registry.call(operation, arguments, [&](const SAnswer& given) { answer = given; });
    };
    EXPECT_THROW(call("setting.ReloadSetting", {}), COperationError);
    EXPECT_THROW(call("capability.getImageMode", {}), COperationError);
    ASSERT_TRUE(camera->customInitialize());

    call("setting.GetDetailsFromUrl", {"/x", "A="}); // a single key
    EXPECT_EQ(std::get<std::string>(answer.result), "1");
    call("setting.GetDetailsFromUrl", {"/x", "A=,B=,"}); // a list of them
    EXPECT_EQ(answer.error->getCode(), 1);
    EXPECT_THAT(answer.values, testing::ElementsAre("1", ""));
    call("capability.getImageMode", {});
    EXPECT_THAT(std::get<std::vector<std::string>>(answer.result), testing::ElementsAre("4_3", "16_9"));
    call("capability.SortResolutions", {"2x1", "10x1"});
    EXPECT_TRUE(std::get<bool>(answer.result));
}

} // namespace
} // namespace corvane::test_support
