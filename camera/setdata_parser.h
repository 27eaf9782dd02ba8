#pragma once

#include <map>
#include <string>

namespace corvane::panasonic_camera {

// Keys of settings begin alike ("H264RINT", "H264RINT_2"), and seldom are as long as each other: a look-up
// that goes by the length first reads few of them.
struct SShorterKeyFirst {
    bool operator()(const std::string& a, const std::string& b) const {
        return a.size() != b.size() ? a.size() < b.size() : a < b;
    }
};

// A setting's key, its trailing comma included, to its value.
using SettingMap = std::map<std::string, std::string, SShorterKeyFirst>;

// Takes the value of every key of `settings` from a settings dump, whose lines read KEY,"value". A key (its
// trailing comma included) is found at its first occurrence anywhere in the dump, no word boundary being
// looked for; its value begins one character behind it and ends before the next double quote or with the
// dump. A key that the dump does not hold gets an empty value.
void ParseSetdata(const std::string& dump, SettingMap& settings);

} // namespace corvane::panasonic_camera
