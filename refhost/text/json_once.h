#pragma once

// For precompiled headers: what each source that has to do with JSON would compile for itself, a third of its
// work under sanitizers, is compiled once, in json_once.cpp.

#include <nlohmann/json.hpp>

extern template class nlohmann::basic_json<>;
extern template class nlohmann::basic_json<nlohmann::ordered_map>;
extern template class nlohmann::detail::serializer<nlohmann::json>;
extern template class nlohmann::detail::serializer<nlohmann::ordered_json>;
