#include "benchmarks/environment.h"

#include "refhost/devices/contexts.h"
#include "refhost/models/model_list_file.h"

#include <boost/make_shared.hpp>

#include <utility>

namespace corvane::bench {

using device_handler::v1_0::CAuthentication;
using device_handler::v1_0::CVornModelList;
using device_handler::v1_0::IDeviceContext;
using device_handler::v1_0::SFamily;
using vorn_camera_base::v1_0::CVornCamera;
using vorn_ptz_controller::v1_0::CPtzController;

namespace {

constexpr const char* InMemory = "";

CAuthentication DefaultCredentials(const CVornModelList& models) {
    if (models.getFamilies().empty())
        throw CFailure("the model list has no family, and so no credentials");
    const SFamily& family = models.getFamilies().front();
    return {family.user, family.password};
}

} // namespace

CEnvironment::CEnvironment(bool isQuick, const std::string& plugin, const std::string& models,
                           const std::string& simulator)
    : isQuick_(isQuick),
      plugin_(plugin),
      modelList_(refhost::LoadModelList(models)),
      credentials_(DefaultCredentials(*modelList_)),
      database_(refhost::CDeviceDb::open(InMemory)),
      cameras_(simulator) {}

void CEnvironment::setEveryModel(const std::string& simulator, const std::string& program) {
    everyModel_.emplace(simulator);
    program_ = program;
}

boost::shared_ptr<IDeviceContext> CEnvironment::makeContext(const std::string& address) const {
    return boost::make_shared<refhost::CDeviceContext>(address, credentials_, database_);
}

boost::shared_ptr<CVornCamera> CEnvironment::createCamera(boost::shared_ptr<IDeviceContext> context,
                                                          const std::string& address,
                                                          const std::string& model) const {
    return plugin_.createCamera(std::move(context), address, modelList_, model);
}

boost::shared_ptr<CVornCamera> CEnvironment::bringUp(boost::shared_ptr<IDeviceContext> context,
                                                     const std::string& address) const {
    auto camera = createCamera(std::move(context), address);
    if (!camera->customInitialize())
        throw CFailure("the camera " + address + " did not come up");
    return camera;
}

std::unique_ptr<CPtzController> CEnvironment::createPtzController(boost::shared_ptr<IDeviceContext> context,
                                                                  boost::shared_ptr<CVornCamera> camera,
                                                                  const std::string& address) const {
    constexpr int FirstInput = 0;
    return plugin_.createPtzController(std::move(context), FirstInput, address, std::move(camera));
}

} // namespace corvane::bench
