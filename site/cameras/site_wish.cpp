#include "site/cameras/site_wish.h"

#include "refhost/base/address.h"
#include "site/base/exit_status.h"
#include "site/base/standard_streams.h"
#include "site/base/terminal_text.h"
#include "site/base/utc_time.h"
#include "site/cameras/drift.h"
#include "site/report/adjustments.h"
#include "site/session/loaded_plugin.h"
#include "site/text_file.h"

#include <nlohmann/json.hpp>

#include <sys/stat.h>

#include <algorithm>

namespace corvane::site {
namespace {

// Without a model any words are taken, which are the model's; the camera's own are looked at when it is
// asked.
std::optional<std::string> RefusedAdjustment(const CVornModelList& models, const std::string& name,
                                             const std::string& number, const std::string& value) {
    const SAdjustmentInfo* const info = FindAdjustment(name);
    const SModelInfo* model = models.findModel(number);
    if (!model && info && info->form != AdjustmentForm::Word && !models.getModels().empty())
        model = &models.getModels().begin()->second; // no matter which
    if (!model || !info || AdjustmentArgument(*info, *model, value))
        return std::nullopt;
    return "the value \"" + value + "\" is none that the adjustment can have; expected " +
           AdjustmentChoice(*info, *model);
}

// What a camera can be in; to focus once is none of it.
Texts StateNames() {
    Texts names;
    for (const SAdjustmentInfo& info : Adjustments())
        if (info.form != AdjustmentForm::Action)
            names.emplace_back(info.name);
    return names;
}

void WarnOfReaders(const std::string& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) == 0 && (status.st_mode & (S_IRGRP | S_IROTH)) != 0)
        WriteMessage("vornhost: warning: others may read the password file \"" + PrintableText(file) +
                     "\" (chmod 600)\n");
}

} // namespace

site::SSite OpenSite(const std::string& file, const CVornModelList& models) {
    const site::SSiteVocabulary vocabulary{
        NumbersOf(models), StateNames(),
        [&models](const std::string& name, const std::string& model, const std::string& value) {
            return RefusedAdjustment(models, name, model, value);
        }};
    try {
        return site::ReadSiteFile(file, vocabulary);
    } catch (const site::CFileError& error) {
        throw CFailure(ExitStatus::WrongUsage, "the site file was refused: " + PrintableText(error.what()),
                       OwnCause::WrongFile);
    }
}

ordered_json WishOf(const site::SSiteCamera& camera, const std::string& today) {
    const auto counted = [&](const std::string& of, const std::map<std::string, std::string>& all) {
        ordered_json values = ordered_json::object();
        for (const auto& [field, value] : all)
            if (today.empty() || !IsIgnored(camera, of, field, today))
                values[field] = value;
        return values;
    };
    ordered_json streams = ordered_json::array();
    for (const site::SStreamWish& wish : camera.streams)
        streams.push_back(
            {{"stream", wish.name}, {"record", counted(OfStreamPrefix + wish.name, wish.record)}});
    return {{"streams", streams}, {"adjustments", counted(OfAdjustments, camera.adjustments)}};
}

bool IsIgnored(const site::SSiteCamera& camera, const std::string& of, const std::string& field,
               const std::string& today) {
    return std::any_of(camera.ignored.begin(), camera.ignored.end(), [&](const site::SIgnored& one) {
        return one.of == of + "." + field && (one.until.empty() || today < one.until);
    });
}

std::string UtcToday() {
    constexpr std::size_t LengthOfDay = 10;
    return UtcTimeText(std::chrono::system_clock::now()).substr(0, LengthOfDay);
}

const site::SSiteCamera& FindCamera(const site::SSite& site, const std::string& nameOrAddress) {
    const auto find = [&site](const auto& isIt) {
        return std::find_if(site.cameras.begin(), site.cameras.end(), isIt);
    };
    auto found = find([&](const site::SSiteCamera& camera) { return camera.name == nameOrAddress; });
    if (found == site.cameras.end())
        found = find([&](const site::SSiteCamera& camera) {
            return refhost::ToldAddress(camera.address) == refhost::ToldAddress(nameOrAddress);
        });
    if (found == site.cameras.end())
        throw CFailure(ExitStatus::WrongUsage, "the site has no camera at " + nameOrAddress);
    return *found;
}

SOptions OptionsFor(const site::SSiteCamera& camera, SOptions options) {
    if (!camera.model.empty())
        options.modelNumber = camera.model;
    if (camera.rtspPort)
        options.rtspPort = camera.rtspPort;
    return options;
}

std::map<std::string, CCredentials> CredentialsOf(const site::SSite& site, const SOptions& options) {
    std::map<std::string, CCredentials> all;
    for (const auto& [name, one] : site.credentials) {
        WarnOfReaders(one.passwordFile);
        all.emplace(name, CCredentials::given(one.user, one.passwordFile));
    }
    all.emplace("", CCredentials::fromOptions(options));
    return all;
}

} // namespace corvane::site
