#include "refhost/base/plugin_library.h"

#include "host/plugin_symbols.h"
#include "refhost/devices/contexts.h"
#include "tests/refhost/http_support.h"
#include "tests/refhost/test_models.h"
#include "tests/support/temporary_folder.h"

#include <boost/core/demangle.hpp>
#include <gtest/gtest.h>

#include <string>

namespace corvane::tests {
namespace {

using namespace refhost;
using device_handler::v1_0::CAuthentication;
using device_handler::v1_0::CString;
using device_handler::v1_0::IDeviceContext;
using test_support::CTemporaryFolder;
using testing::HasSubstr;
using testing::StartsWith;

std::string LoadingFailure(const std::string& file) {
    try {
        const CPluginLibrary library(file);
    } catch (const CPluginError& error) {
        return error.what();
    }
    return "loaded";
}

TEST(PluginLibrary, MakesThePluginsObjects) {
    const CPluginLibrary library(TEST_PLUGIN);
    EXPECT_EQ(library.buildDate(), "1000");
    EXPECT_EQ(library.buildId(), "1.2.3");
    CHandlerContext handlerContext(TestModels());
    boost::shared_ptr<IDeviceContext> context =
        boost::make_shared<CDeviceContext>("10.0.0.1", CAuthentication(), nullptr);
    const auto handler = library.createHandler(handlerContext);
    const auto camera = library.createCamera(context, "10.0.0.1", TestModels(), "GXE500");
    const auto controller = library.createController(*context, "10.0.0.1", "SC385", TestModels());
    EXPECT_EQ(handler->getSupportedFamilies().size(), 2U);
    EXPECT_THAT(camera->initialize(), IsSuccess());
    EXPECT_EQ(controller->getModelInfo()->family, "Dome");
    const std::unique_ptr<vorn_camera_base::v1_0::CVornCamera> fromHandler(
        handler->createVornCamera(context, "10.0.0.1", "SC385"));
    CString number;
    EXPECT_THAT(fromHandler->getUnitModelName(number), IsSuccess());
    EXPECT_EQ(number, CString("SC385"));
}

TEST(PluginLibrary, SaysWhichFileIsNoneAndWhatItLacks) {
    const CTemporaryFolder folder;
    EXPECT_THAT(LoadingFailure(folder.file("absent.so")),
                StartsWith(folder.file("absent.so") + ": cannot be loaded: "));
    EXPECT_THAT(LoadingFailure(folder.file("text.so", "no library")), HasSubstr("cannot be loaded"));
    // A library that the system would find by this name in its own folders.
    EXPECT_THAT(LoadingFailure("libc.so.6"), HasSubstr("cannot be loaded"));
    EXPECT_THAT(LoadingFailure(OTHER_LIBRARY), HasSubstr("createHandlerObject"));
}

namespace plugin_symbols = vorn_obj_factory::v1_0::plugin_symbols;

TEST(PluginSymbols, AreTheNamesOfTheExportedFunctions) {
    const std::string factory = "corvane::vorn_obj_factory::v1_0::CObjectFactory::";
    const std::string types = "corvane::device_handler::v1_0::";
    EXPECT_EQ(boost::core::demangle(plugin_symbols::CreateHandler),
              factory + "createHandlerObject(" + types + "IHandlerContext*)");
    EXPECT_EQ(boost::core::demangle(plugin_symbols::CreateCamera),
              factory + "createCameraObject(boost::shared_ptr<" + types + "IDeviceContext>&, char const*, " +
                  "boost::shared_ptr<" + types + "CVornModelList>&, char const*)");
    EXPECT_EQ(boost::core::demangle(plugin_symbols::CreateController),
              factory + "createControllerObject(" + types + "IDeviceContext*, char const*, char const*, " +
                  "boost::shared_ptr<" + types + "CVornModelList>&)");
    EXPECT_EQ(boost::core::demangle(plugin_symbols::CreatePtzController),
              factory + "createPtzControllerObject(boost::shared_ptr<" + types +
                  "IDeviceContext>&, int, char const*, " +
                  "boost::shared_ptr<corvane::vorn_camera_base::v1_0::CVornCamera>&, unsigned int)");
}

} // namespace
} // namespace corvane::tests
