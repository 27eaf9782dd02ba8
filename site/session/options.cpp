#include "site/session/options.h"

#include <algorithm>
#include <utility>

namespace corvane::site {
std::chrono::milliseconds SOptions::patience(std::chrono::milliseconds usual) const {
    constexpr double Milliseconds = 1000;
    return timeout
               ? std::min(usual, std::chrono::milliseconds(static_cast<long long>(*timeout * Milliseconds)))
               : usual;
}

std::vector<std::string> SOptions::arguments() const {
    std::vector<std::string> words;
    const auto add = [&words](const char* name, const std::string& value) {
        words.insert(words.end(), {name, value});
    };
    const std::pair<const char*, const std::string&> texts[] = {{"--plugin", pluginFile},
                                                                {"--models", modelListFile},
                                                                {"--model", modelNumber},
                                                                {"--db", databaseFile}};
    for (const auto& [name, value] : texts)
        if (!value.empty())
            add(name, value);
    const std::pair<const char*, bool> flags[] = {{"--no-credentials", noCredentials},
                                                  {"--digest-only", digestOnly},
                                                  {"--json", json},
                                                  {"--trace", trace},
                                                  {"--no-initialize", noInitialize}};
    for (const auto& [name, isSet] : flags)
        if (isSet)
            words.emplace_back(name);
    if (user)
        add("--user", *user);
    if (passwordFile)
        add("--password-file", *passwordFile);
    if (rtspPort)
        add("--rtsp-port", std::to_string(*rtspPort));
    if (timeout)
        add("--timeout", std::to_string(*timeout));
    add("--log-level", std::to_string(logLevel));
    return words;
}

} // namespace corvane::site
