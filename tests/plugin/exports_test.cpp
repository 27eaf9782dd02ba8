#include "operations/operations.h"
#include "refhost/base/plugin_library.h"
#include "tests/plugin/fake_host.h"
#include "tests/plugin/stub_camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <dlfcn.h>
#include <stdexcept>
#include <tuple>
#include <typeinfo>
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

    // Two of everything, from arguments that all differ.
    CFakeHandlerContext context(ModelList({{"A", "", ""}}, {{"A10", "A"}}));
    CFakeHandlerContext otherContext(ModelList({{"B", "", ""}, {"C", "", ""}}, {{"B20", "B"}}));
    const auto handler = plugin.createHandler(context);
    auto otherHandler = plugin.createHandler(otherContext);
    ASSERT_NE(otherHandler->getModelInfo("PX-B2"), nullptr); // the plug-in's rule, not the framework's
    EXPECT_EQ(otherHandler->getModelInfo("PX-A1"), nullptr);
    EXPECT_EQ(otherHandler->getSupportedFamilies().size(), 2U);
    otherHandler.reset();
    ASSERT_NE(handler->getModelInfo("PX-A1"), nullptr);
    EXPECT_EQ(handler->getModelInfo("PX-A1")->number, "A10");

    const auto device = boost::make_shared<CFakeDevice>(CAuthentication());
    const auto otherDevice = boost::make_shared<CFakeDevice>();
    const auto camera = plugin.createCamera(device, "10.0.0.1", context.getModelList(), "A10");
    const auto other = plugin.createCamera(otherDevice, UnusedAddress(), otherContext.getModelList(), "B20");
    EXPECT_EQ(Told(camera->testAuthentication()), "16 3 Authentication is not set !"); // likewise
    EXPECT_EQ(Told(other->testAuthentication()), "10 3 Bad Authentication");
    CString model, otherModel;
    EXPECT_FALSE(camera->getUnitModelName(model) || other->getUnitModelName(otherModel));
    EXPECT_EQ(model.str() + " " + otherModel.str(), "A10 B20");
    std::string url;
    EXPECT_FALSE(camera->getEventStreamUrl(0, url));
    EXPECT_EQ(url, "http://10.0.0.1/cgi-bin/get_io?mode=monitor");

    const auto controller = plugin.createController(*device, "10.0.0.1", "A10", context.getModelList());
    EXPECT_EQ(typeid(*controller), typeid(vorn_controller::v1_0::CVornController)); // the framework's own
    EXPECT_EQ(controller->getAddress() + " " + controller->getModelInfo()->number, "10.0.0.1 A10");
}

// Also that the framework can catch what the plug-in throws, whose types are hidden there.
TEST(Exports, OperationsOfTheLateObjectsAreReachedByName) {
    CStubCamera stub;
    const std::string reply =
        "\r\nA=1\r\nvideo_server.image.mode=4_3,16_9\r\n"
        "video_server.image.format=mjpeg,h264\r\nvideo_server.image.mjpeg.resolution=5x1\r\n"
        "video_server.image.h264.framerate=6\r\nvideo_server.image.h264-2.i_interval=7\r\n"
        "video_server.image.mjpeg.quality=8\r\nvideo_server.image.h264.bandwidth=9\r\n"
        "video_server.image.h264-2.max_framerate.4_3=11\r\n"
        "video_server.audio.audio_input.number=1\r\nvideo_server.peripheral.io.number=3\r\n"
        "CAMTITLE,\"title\"\r\nVERSION=4.3\r\n";
    for (const char* path :
         {"/test", "/cgi-bin/get_capability", "/cgi-bin/setdata", "/cgi-bin/getinfo", "/x"})
        stub.reply(path, HttpOk(reply));
    const refhost::CPluginLibrary plugin(PluginFile());
    const auto device = boost::make_shared<CFakeDevice>();
    const auto camera =
        plugin.createCamera(device, stub.address(), ModelList({{"A", "", ""}}, {{"A10", "A"}}, 4), "A10");
    COperationRegistry registry;
    camera->registerOperations(registry);
    // The error's code, the result and the values.
    const auto answered = [&registry](const std::string& operation,
                                      const std::vector<std::string>& arguments) {
        std::string text;
        registry.call(operation, arguments, [&text](const SAnswer& answer) {
            if (answer.error)
                text = std::to_string(answer.error->getCode());
            if (answer.result.index() != 0)
                text = std::visit([](const auto& result) { return testing::PrintToString(result); },
                                  answer.result);
            for (const std::string& value : answer.values)
                text += " " + value;
        });
        return text;
    };
    EXPECT_THROW(answered("setting.ReloadSetting", {}), COperationError);
    EXPECT_THROW(answered("capability.getImageMode", {}), COperationError);
    ASSERT_TRUE(camera->customInitialize());
    const std::tuple<std::string, std::vector<std::string>, std::string> cases[] = {
        {"setting.CameraHttpGet", {"/x", "9"}, "1 " + reply},
        {"setting.CameraHttpPost", {"/x", "b=1", "9"}, "1 "},
        {"setting.GetDetailsFromUrl", {"/x", "A="}, "\"1\""},
        {"setting.GetDetailsFromUrl", {"/x", "A=,B=,"}, "1 1 "},
        {"setting.ReloadSetting", {}, "0"},
        {"setting.SetCameraSetting", {"/x", "b=2"}, "1"},
        {"setting.GetCameraSetting", {"CAMTITLE"}, "\"title\""},
        {"setting.getDetailsFromSetdata", {}, "0"},
        {"setting.SetCameraSettingNoReload", {"/x", "b=3"}, "1"},
        {"setting.GetCameraSetting", {"CAMTITLE"}, "\"title\""},
        {"setting.GetCameraInfo", {"VERSION"}, "\"4.3\""},
        {"capability.IsAnalogInputSupported", {}, "false"},
        {"capability.IsImageModeSupported", {}, "true"},
        {"capability.getImageMode", {}, R"({ "4_3", "16_9" })"},
        {"capability.getVideoCodecsSupported", {}, "5"},
        {"capability.getResolutionForCodec", {"4_3", "mjpeg", "0"}, R"({ "5x1" })"},
        {"capability.getVideoCodecFrameRate", {"h264", "0"}, R"({ "6" })"},
        {"capability.getVideoCodecIInterval", {"h264", "1"}, R"({ "7" })"},
        {"capability.getVideoCodecQuality", {"mjpeg"}, R"({ "8" })"},
        {"capability.getVideoCodecBandwidth", {"h264"}, R"({ "9" })"},
        {"capability.getMaxFrameRate", {"h264", "1", "4_3"}, "\"11\""},
        {"capability.IsDryContactSupported", {}, "true 0"},
        {"capability.getDryContactInputCount", {}, "3"},
        {"capability.IsAudioSupported", {"0"}, "true"},
        {"capability.IsAudioSupported", {"1"}, "false"},
        {"capability.SortResolutions", {"2x1", "10x1"}, "true"}};
    ASSERT_TRUE(stub.waitForRequests("/cgi-bin/setdata", 1)); // else one dump would serve the next, too
    for (const auto& [operation, arguments, answer] : cases)
        EXPECT_EQ(answered(operation, arguments), answer) << operation;
    EXPECT_EQ(stub.requests("/cgi-bin/setdata").size(), 3U); // at the start, after the write, and asked for

    const auto controller = plugin.createPtzController(device, 2, stub.address(), camera);
    controller->setPreset(5, {});
    ASSERT_TRUE(stub.waitForRequests("/cgi-bin/camposiset", 1));
    EXPECT_THAT(stub.requests("/cgi-bin/camposiset")[0].target, testing::EndsWith("presetset=5&ch=3"));
}

} // namespace
} // namespace corvane::test_support
