#include "refhost/text/json_once.h"

template class nlohmann::basic_json<>;
template class nlohmann::basic_json<nlohmann::ordered_map>;
template class nlohmann::detail::serializer<nlohmann::json>;
template class nlohmann::detail::serializer<nlohmann::ordered_json>;
