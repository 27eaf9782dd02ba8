// A host of one's own: loads the plug-in, brings a camera up, and asks it ten things.
//
//   minimal_host PLUGIN ADDRESS MODEL      user and password are the family's usual ones

#include "context.h"

#include <host/object_factory.h>
#include <host/plugin_symbols.h>

#include <boost/make_shared.hpp>

#include <cstdio>
#include <dlfcn.h>

namespace {

using corvane::vorn_camera_base::v1_0::CVornCamera;

boost::shared_ptr<CVornModelList> modelsOf(const std::string& number) {
    SModelInfo model;
    model.number = number;
    model.brightness = {{"0", "255"}, "128"};
    model.codecStreams = {{"h264", 2}, {"mjpeg", 1}};
    SVornUrl test; // whose success proves the credentials
    test.path = "/cgi-bin/getinfo?FILE=1";
    test.replyKey = "NAME=";
    return boost::make_shared<CVornModelList>(test, std::vector<SFamily>(),
                                              std::map<std::string, SQueryDevice>(),
                                              CVornModelList::ModelMap{{number, model}});
}

int failures = 0;

void tell(const char* question, const CError& error, const std::vector<CString>& answers) {
    failures += error ? 1 : 0;
    std::printf("%s:", question);
    for (const CString& answer : answers)
        std::printf(" %s", answer.str().c_str());
    std::printf("%s%s\n", error ? " " : "", error.getText().c_str());
}

void ask(CVornCamera& camera) {
    CString text;
    std::vector<CString> list;
    corvane::vorn_camera_base::v1_0::CVAPI_VALUE_TYPE type{};
    const auto one = [&](const char* question, const CError& error) { tell(question, error, {text}); };
    const auto several = [&](const char* question, const CError& error) {
        tell(question, error, list);
        list.clear();
    };
    one("firmware", camera.getUnitFirmwareVersion(text));
    one("MAC", camera.getInterfaceMac(0, text));
    several("name", camera.getCameraName(0, list));
    one("codecs", camera.getVideoCodecCount(0, text));
    several("resolutions", camera.getVideoCodecResolutionRange(0, 0, VideoCodec::H264, list, type));
    several("frame rates", camera.getVideoCodecFrameRateRange(0, 0, VideoCodec::H264, list, type));
    one("alarm inputs", camera.getDryContactInputCount(text));
    several("brightness", camera.getVpaBrightness(0, list));
    several("brightness to 60", camera.setVpaBrightness(0, "60"));
    several("brightness", camera.getVpaBrightness(0, list));
}

} // namespace

int main(int count, char** arguments) {
    if (count != 4)
        return std::fprintf(stderr, "minimal_host PLUGIN ADDRESS MODEL\n"), 2;
    void* const plugin = dlopen(arguments[1], RTLD_NOW);
    const auto create =
        plugin ? reinterpret_cast<
                     decltype(&corvane::vorn_obj_factory::v1_0::CObjectFactory::createCameraObject)>(
                     dlsym(plugin, corvane::vorn_obj_factory::v1_0::plugin_symbols::CreateCamera))
               : nullptr;
    if (!create)
        return std::fprintf(stderr, "%s\n", dlerror()), 3;
    boost::shared_ptr<IDeviceContext> context =
        boost::make_shared<CContext>(CAuthentication("admin", "12345"));
    boost::shared_ptr<CVornModelList> models = modelsOf(arguments[3]);
    const boost::shared_ptr<CVornCamera> camera(create(context, arguments[2], models, arguments[3]));
    tell("up", camera->initialize(), {});
    ask(*camera);
    return failures == 0 ? 0 : 1;
}
