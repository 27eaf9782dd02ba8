#include "site/selection.h"

#include <fnmatch.h>

#include <algorithm>

namespace corvane::site {

bool IsSelected(const SSiteCamera& camera, const std::vector<std::string>& patterns) {
    static const std::string tagPrefix = "tag:";
    return patterns.empty() || std::any_of(patterns.begin(), patterns.end(), [&](const std::string& pattern) {
               if (pattern.compare(0, tagPrefix.size(), tagPrefix) != 0)
                   return ::fnmatch(pattern.c_str(), camera.name.c_str(), 0) == 0;
               return std::find(camera.tags.begin(), camera.tags.end(), pattern.substr(tagPrefix.size())) !=
                      camera.tags.end();
           });
}

} // namespace corvane::site
