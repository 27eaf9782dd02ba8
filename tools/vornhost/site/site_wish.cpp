#include "tools/vornhost/site/site_wish.h"

#include "refhost/base/address.h"
#include "tools/vornhost/console/exit_status.h"
#include "tools/vornhost/report/adjustments.h"
#include "tools/vornhost/session/loaded_plugin.h"

#include <algorithm>

namespace corvane::vornhost {
namespace {

// Without a model any listed one's words are taken; the camera's own are looked at when it is asked.
std::optional<std::string> RefusedAdjustment(const CVornModelList& models, const std::string& name,
                                             const std::string& number, const std::string& value) {
    const SModelInfo* const model = models.findModel(number);
    const SAdjustmentInfo* const info = FindAdjustment(name);
    if (!model || !info || AdjustmentArgument(*info, *model, value))
        return std::nullopt;
    return "the value \"" + value + "\" is none that the adjustment can have; expected " +
           AdjustmentChoice(*info, *model);
}

} // namespace

site::SSite OpenSite(const std::string& file, const CVornModelList& models) {
    const site::SSiteVocabulary vocabulary{
        NumbersOf(models), AdjustmentNames(),
        [&models](const std::string& name, const std::string& model, const std::string& value) {
            return RefusedAdjustment(models, name, model, value);
        }};
    try {
        return site::ReadSiteFile(file, vocabulary);
    } catch (const site::CSiteFileError& error) {
        throw CFailure(ExitStatus::WrongUsage, std::string("the site file was refused: ") + error.what(),
                       OwnCause::WrongFile);
    }
}

ordered_json WishOf(const site::SSiteCamera& camera) {
    ordered_json streams = ordered_json::array();
    for (const site::SStreamWish& wish : camera.streams)
        streams.push_back({{"stream", wish.name}, {"record", wish.record}});
    return {{"streams", streams}, {"adjustments", camera.adjustments}};
}

ordered_json WishAt(const site::SSite& site, const std::string& address) {
    const auto found =
        std::find_if(site.cameras.begin(), site.cameras.end(), [&](const site::SSiteCamera& camera) {
            return refhost::ToldAddress(camera.address) == refhost::ToldAddress(address);
        });
    if (found == site.cameras.end())
        throw CFailure(ExitStatus::WrongUsage, "the site has no camera at " + address);
    return WishOf(*found);
}

} // namespace corvane::vornhost
