#pragma once

#include "refhost/text/json_node.h"

#include <functional>
#include <string>

namespace corvane::site {

// Reads a JSON file that people write, as strictly as a model list. `read` gets what it holds, and refuses
// what it does not want. Throws CFileError: "FILE: line L, column C: PLACE: REASON", the place being the path
// of the member ("cameras[2].streams[0].record.frameRate").
void ReadJsonFile(const std::string& file, const std::function<void(const refhost::CJsonNode&)>& read);

} // namespace corvane::site
