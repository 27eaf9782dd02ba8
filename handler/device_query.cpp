#include "handler/device_query.h"

#include "camera/errors.h"
#include "camera/model_number.h"

#include "host/camera.h"

#include <exception>

namespace corvane::panasonic_handler {

using device_handler::v1_0::CError;
using device_handler::v1_0::LogNotice;
using device_handler::v1_0::Origin;
using device_handler::v1_0::RtnCode;
using device_handler::v1_0::SDeviceQuery;
using panasonic_camera::SplitModelNumber;
using vorn_camera_base::v1_0::CVornCamera;
using vorn_utility::v1_0::CommParam;
namespace errors = panasonic_camera::errors;

std::atomic<bool> queryStopped{false};

namespace {

// The family that takes every model which the model list does not know.
constexpr const char* GenericFamily = "--Generic";

CError Ask(const CommParam& record, const SDeviceQuery& query, std::string& value) {
    return CVornCamera::getCamSingleValue(record.address, query.url, record.user, record.password, value,
                                          query.delimiters, query.authScheme);
}

void ThrowFailure(const CError& error) {
    if (error)
        throw CError(error);
}

void CheckFamily(const CommParam& record, const std::string& modelNumber) {
    std::string family = record.modelList->getModelFamiyName(SplitModelNumber(modelNumber).number);
    if (family.empty())
        family = GenericFamily;
    if (family != record.family->name)
        throw errors::FamilyNotMatched();
}

// Throws the CError that says why the device was not identified.
void Identify(CommParam& record) {
    std::string modelNumber;
    ThrowFailure(Ask(record, record.query.modelNumber, modelNumber));
    if (queryStopped)
        throw errors::QueryStopped();
    if (modelNumber.empty())
        throw errors::ModelNumberEmpty();
    CheckFamily(record, modelNumber);

    if (queryStopped)
        throw errors::QueryStopped();
    std::string serialNumber;
    const CError answer = Ask(record, record.query.serialNumber, serialNumber);
    ThrowFailure(answer);
    if (serialNumber.empty())
        throw errors::SerialNumberEmpty();

    {
        const std::lock_guard<std::mutex> lock(record.endMutex);
        if (!record.isOver)
            queryStopped = true;
    }
    record.result = answer.getCode();
    record.modelNumber = modelNumber;
    record.serialNumber = serialNumber;
    record.done = true; // last: it publishes the others
}

void Fail(CommParam& record, const CError& error) {
    record.done = false;
    record.result = error.getCode();
    record.log(LogNotice, "%s:: device IP: %s, Query Error: %s", "PanasonicThreadQueryDevice",
               record.address.c_str(), error.getText().c_str());
}

} // namespace

void PanasonicThreadQueryDevice(CommParam& record) {
    try {
        Identify(record);
    } catch (const CError& error) {
        Fail(record, error);
    } catch (const std::exception& failure) {
        Fail(record, CError(RtnCode::OperationFailed, Origin::Handler, failure.what()));
    }
}

} // namespace corvane::panasonic_handler
