#include "site/cameras/site_sessions.h"

#include "site/cameras/site_wish.h"

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

} // namespace corvane::site
