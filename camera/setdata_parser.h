#pragma once

#include <map>
#include <string>

namespace corvane::panasonic_camera {

// Takes the value of every key of `settings` from a settings dump, whose lines read KEY,"value". A key (its
// trailing comma included) is found at its first occurrence anywhere in the dump, no word boundary being
// looked for; its value begins one character behind it and ends before the next double quote or with the
// dump. A key that the dump does not hold gets an empty value.
void ParseSetdata(const std::string& dump, std::map<std::string, std::string>& settings);

} // namespace corvane::panasonic_camera
