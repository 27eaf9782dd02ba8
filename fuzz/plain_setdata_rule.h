#pragma once

#include "camera/setdata_parser.h"

#include <string>

namespace corvane::fuzz {

// The rule of the settings dump as it is told (see camera/setdata_parser.h), a search of the whole dump for
// each key: what the plug-in's parser is held against.
inline void ParseSetdataPlainly(const std::string& dump, panasonic_camera::SettingMap& settings) {
    for (auto& [key, value] : settings) {
        value.clear();
        const std::size_t at = dump.find(key);
        const std::size_t begin = at + key.size() + 1; // behind the opening quote
        if (at != std::string::npos && begin < dump.size())
            value = dump.substr(begin, dump.find('"', begin) - begin);
    }
}

} // namespace corvane::fuzz
