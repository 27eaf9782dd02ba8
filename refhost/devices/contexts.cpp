#include "refhost/devices/contexts.h"

#include "refhost/base/address.h"
#include "refhost/base/format.h"
#include "refhost/base/log.h"

#include <algorithm>
#include <cstdarg>
#include <utility>

namespace corvane::refhost {

using device_handler::v1_0::CDeviceId;
using device_handler::v1_0::CLogFunction;
using device_handler::v1_0::CVornModelList;
using device_handler::v1_0::IDeviceDbProxy;
using device_handler::v1_0::SFamily;

namespace {

void WriteFormatted(int level, const char* format, va_list arguments) {
    if (IsLogShown(level))
        WriteLog(level, FormatText(format, arguments));
}

} // namespace

CDeviceContext::CDeviceContext(std::string address, CAuthentication authentication,
                               std::shared_ptr<CDeviceDb> database)
    : address_(std::move(address)), toldAddress_(ToldAddress(address_)), database_(std::move(database)) {
    setAuthentication(std::move(authentication));
    if (database_)
        CAuthenticationBook::instance().keepIn(database_, toldAddress_);
}

void CDeviceContext::log(int level, const char* format, ...) {
    if (!IsLogShown(level))
        return;
    va_list arguments;
    va_start(arguments, format);
    const std::string text = FormatText(format, arguments);
    va_end(arguments);
    WriteLog(level, address_ + ": " + text);
}

boost::shared_ptr<IDeviceDbProxy> CDeviceContext::getDeviceDbProxy() {
    return database_ ? database_->proxy(address_) : boost::shared_ptr<IDeviceDbProxy>();
}

CAuthentication CDeviceContext::getAuthentication() {
    CAuthentication authentication;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        authentication = authentication_;
    }
    if (isBasicRefused())
        authentication.refuseBasic();
    return authentication;
}

void CDeviceContext::setAuthentication(CAuthentication authentication) {
    AddSecret(authentication.getPassword());
    const std::lock_guard<std::mutex> lock(mutex_);
    authentication_ = std::move(authentication);
}

void CDeviceContext::setBasicRefused(bool isRefused) {
    CAuthenticationBook::instance().setRefused(toldAddress_, isRefused);
}

bool CDeviceContext::isBasicRefused() const {
    return CAuthenticationBook::instance().isRefused(toldAddress_);
}

SSeenAuthentication CDeviceContext::seenAuthentication() const {
    return CAuthenticationBook::instance().seen(toldAddress_);
}

CHandlerContext::CHandlerContext(boost::shared_ptr<CVornModelList> modelList)
    : modelList_(std::move(modelList)) {
    const std::vector<SFamily>& families = modelList_->getFamilies();
    if (std::any_of(families.begin(), families.end(),
                    [](const SFamily& family) { return family.digestOnly; }))
        basicRefusal_ = CAuthenticationBook::instance().refuseToStrangers();
}

std::size_t CHandlerContext::getFamilyCount() const {
    return modelList_->getFamilies().size();
}

const SFamily* CHandlerContext::getFamily(std::size_t i) const {
    return &modelList_->getFamilies().at(i);
}

bool CHandlerContext::isQueryRefused(const std::string& address, const COptional<CDeviceId>&,
                                     const CAuthentication&) {
    return !ParseAddress(address);
}

CLogFunction CHandlerContext::getLog() const {
    return CLogFunction(&WriteFormatted);
}

boost::shared_ptr<CVornModelList> CHandlerContext::getModelList() const {
    return modelList_;
}

} // namespace corvane::refhost
