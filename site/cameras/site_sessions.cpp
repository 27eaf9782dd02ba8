#include "site/cameras/site_sessions.h"

#include "site/cameras/site_wish.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace corvane::site {

CSiteSessions::CSiteSessions(const SOptions& options, const std::string& file, SRecorder recorder)
    : options_(options),
      recorder_(std::move(recorder)),
      site_(OpenSite(file, *recorder_.plugin->models())),
      credentials_(CredentialsOf(site_, options_)) {
    for (const SSiteCamera& camera : site_.cameras)
        if (camera.rtspPort && recorders_.count(*camera.rtspPort) == 0)
            recorders_.emplace(
                *camera.rtspPort,
                SRecorder(std::make_shared<CLoadedPlugin>(OptionsFor(camera, options_)), recorder_.database));
}

std::unique_ptr<CSiteCamera> CSiteSessions::open(const SSiteCamera& camera) const {
    const SRecorder& recorder = camera.rtspPort ? recorders_.at(*camera.rtspPort) : recorder_;
    return std::make_unique<CSiteCamera>(camera, recorder, options_, credentials_.at(camera.credentials));
}

const SSiteCamera* CSiteSessions::find(const std::string& name) const {
    const auto found = std::find_if(site_.cameras.begin(), site_.cameras.end(),
                                    [&](const SSiteCamera& camera) { return camera.name == name; });
    return found == site_.cameras.end() ? nullptr : &*found;
}

bool CSiteSessions::reachesAlike(const CSiteSessions& other, const std::string& name) const {
    const auto plain = [](const SSiteCamera& one) {
        return std::tie(one.address, one.model, one.serialNumber, one.credentials, one.inputs, one.rtspPort);
    };
    const SSiteCamera* const here = find(name);
    const SSiteCamera* const there = other.find(name);
    return here && there && plain(*here) == plain(*there) &&
           credentials_.at(here->credentials) == other.credentials_.at(there->credentials);
}

} // namespace corvane::site
