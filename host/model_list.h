#pragma once

#include "host/api.h"
#include "host/model_info.h"
#include "host/url.h"

#include <boost/shared_ptr.hpp>

#include <map>
#include <string>
#include <vector>

namespace corvane::device_handler::v1_0 {

// How a device is asked for one value.
struct SDeviceQuery {
    SVornUrl url;
    std::string delimiters; // what ends the value in the reply, each character of it
    std::string authScheme; // as `getCamSingleValue` takes it
};

// How a device of one family tells who it is.
struct SQueryDevice {
    SDeviceQuery modelNumber;
    SDeviceQuery serialNumber;
};

// What the recorder knows of each family and model. Immutable once loaded, so any thread may read it; the
// pointers it hands out live as long as the list.
class VORN_HOST_API CVornModelList {
public:
    // The model map, ordered by model number.
    using ModelMap = std::map<std::string, SModelInfo>;

    CVornModelList(SVornUrl authenticationTest, std::vector<SFamily> families,
                   std::map<std::string, SQueryDevice> queries, ModelMap models);
    virtual ~CVornModelList();

    // The request whose success proves a device's credentials.
    virtual SVornUrl getTestAuthentication() const;

    // How to query a device of the family; all empty for a family that the list does not know.
    virtual SQueryDevice getQueryDevice(const std::string& familyName) const;

    // The family of a model number (without its prefix); empty for one that the list does not know.
    virtual std::string getModelFamiyName(const std::string& modelNumber) const;

    const std::vector<SFamily>& getFamilies() const { return families_; }
    const ModelMap& getModels() const { return models_; }

    // The model of exactly this number, or null.
    const SModelInfo* findModel(const std::string& modelNumber) const;
    // The family of exactly this name, or null.
    const SFamily* findFamily(const std::string& familyName) const;

private:
    SVornUrl authenticationTest_;
    std::vector<SFamily> families_;
    std::map<std::string, SQueryDevice> queries_;
    ModelMap models_;
};

} // namespace corvane::device_handler::v1_0
