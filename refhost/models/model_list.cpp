#include "host/model_list.h"

#include <algorithm>
#include <utility>

namespace corvane::device_handler::v1_0 {

CVornModelList::CVornModelList(SVornUrl authenticationTest, std::vector<SFamily> families,
                               std::map<std::string, SQueryDevice> queries, ModelMap models)
    : authenticationTest_(std::move(authenticationTest)),
      families_(std::move(families)),
      queries_(std::move(queries)),
      models_(std::move(models)) {}

CVornModelList::~CVornModelList() = default;

SVornUrl CVornModelList::getTestAuthentication() const {
    return authenticationTest_;
}

SQueryDevice CVornModelList::getQueryDevice(const std::string& familyName) const {
    const auto found = queries_.find(familyName);
    return found == queries_.end() ? SQueryDevice() : found->second;
}

std::string CVornModelList::getModelFamiyName(const std::string& modelNumber) const {
    const SModelInfo* model = findModel(modelNumber);
    return model ? model->family : std::string();
}

const SModelInfo* CVornModelList::findModel(const std::string& modelNumber) const {
    const auto found = models_.find(modelNumber);
    return found == models_.end() ? nullptr : &found->second;
}

const SFamily* CVornModelList::findFamily(const std::string& familyName) const {
    const auto found = std::find_if(families_.begin(), families_.end(),
                                    [&](const SFamily& family) { return family.name == familyName; });
    return found == families_.end() ? nullptr : &*found;
}

} // namespace corvane::device_handler::v1_0
