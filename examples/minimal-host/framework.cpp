// The framework's base classes, as far as a camera needs them.

#include <host/assert.h>
#include <host/camera.h>
#include <host/cgi.h>
#include <host/clock.h>
#include <host/unmade.h>

#include <chrono>
#include <cstdlib>
#include <iostream>

#pragma GCC diagnostic ignored "-Wunused-parameter" // the tables' rows name them

namespace corvane {
namespace {

using namespace device_handler::v1_0;

CError notSupported(const char* text) { return {RtnCode::NotSupported, Origin::General, text}; }

} // namespace

namespace device_handler::v1_0 {

void AssertionFailed(const char* source, int line) {
    std::cerr << "assertion failed: " << source << ":" << line << std::endl;
    std::abort();
}

CVornModelList::CVornModelList(SVornUrl test, std::vector<SFamily> families,
                               std::map<std::string, SQueryDevice> queries, ModelMap models)
    : authenticationTest_(test), families_(families), queries_(queries), models_(models) {}
CVornModelList::~CVornModelList() = default;
SVornUrl CVornModelList::getTestAuthentication() const { return authenticationTest_; }
SQueryDevice CVornModelList::getQueryDevice(const std::string& family) const {
    const auto found = queries_.find(family);
    return found == queries_.end() ? SQueryDevice() : found->second;
}
std::string CVornModelList::getModelFamiyName(const std::string& number) const {
    const SModelInfo* const model = findModel(number);
    return model ? model->family : "";
}
const SModelInfo* CVornModelList::findModel(const std::string& number) const {
    const auto found = models_.find(number);
    return found == models_.end() ? nullptr : &found->second;
}

} // namespace device_handler::v1_0

namespace vorn_camera_base::v1_0 {

struct CVornCamera::SBase {
    boost::shared_ptr<IDeviceContext> context;
    std::string address;
    boost::shared_ptr<CVornModelList> list;
    std::string number;
    const SModelInfo& model() const {
        static const SModelInfo unknown;
        const SModelInfo* const found = list->findModel(number);
        return found ? *found : unknown;
    }
};

CVornCamera::CVornCamera(boost::shared_ptr<IDeviceContext>& context, char const* address,
                         boost::shared_ptr<CVornModelList>& list, char const* number)
    : base_(new SBase{context, address, list, number}) {}
CVornCamera::~CVornCamera() = default;

// What the plug-in's camera does not override: nothing that this host could answer.
template <class R>
R None() {
    return R();
}
template <>
CError None<CError>() {
    return notSupported("this host has no answer");
}
#define VORN_OPERATION(RETURNED, NAME, PARAMETERS)                                                           \
    RETURNED CVornCamera::NAME PARAMETERS { return None<RETURNED>(); }
#define VORN_METHOD(RETURNED, NAME, PARAMETERS) VORN_OPERATION(RETURNED, NAME, PARAMETERS)
#include <host/camera_operations.def>

CError CVornCamera::initialize() {
    if (base_->number.empty())
        if (CError error = preInit_getUnitModelName(base_->number))
            return error;
    return customInitialize() ? CError::Success() : notSupported("the camera cannot be brought up");
}
void CVornCamera::registerOperations(COperationRegistry&) {} // no calls by name
CError CVornCamera::getCamSingleValue(const std::string& address, const SVornUrl& url,
                                      const std::string& user, const std::string& password,
                                      std::string& value, const std::string& delimiters,
                                      const std::string& scheme) {
    std::vector<std::string> values = {url.replyKey};
    CError error = vorn_utility::v1_0::CVornCgiLib::vornCgiGetQueryResult(url, address, user, password,
                                                                          values, 4, delimiters, scheme);
    if (!error)
        value = values.front();
    return error;
}
const boost::shared_ptr<IDeviceContext>& CVornCamera::deviceContext() const { return base_->context; }
const std::string& CVornCamera::address() const { return base_->address; }
const boost::shared_ptr<CVornModelList>& CVornCamera::modelList() const { return base_->list; }
const SModelInfo& CVornCamera::model() const { return base_->model(); }
const SPtzModel& CVornCamera::ptzModel() const {
    static const SPtzModel none;
    return model().ptz ? *model().ptz : none;
}
int CVornCamera::inputBase(int) const { return 0; }
int CVornCamera::reIndex(int input, int) const { return input; }
CError CVornCamera::writeToInputDb(InputClass, int, const std::string&, const CString&) {
    return notSupported("no device database");
}

} // namespace vorn_camera_base::v1_0

namespace vorn_utility::v1_0 {

std::uint64_t gettime() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace vorn_utility::v1_0

} // namespace corvane
