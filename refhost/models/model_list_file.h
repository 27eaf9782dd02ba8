#pragma once

#include "host/api.h"
#include "host/model_list.h"

#include <boost/shared_ptr.hpp>

#include <stdexcept>
#include <string>

namespace corvane::refhost {

// Why a model list was refused: "FILE: PLACE: REASON", the place being a line and column for text that is no
// JSON, and the path of the member ("models[2].ptz.position.pan") for anything else.
class VORN_HOST_API CModelListError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Reads a model list. Throws CModelListError for a file that cannot be read, is no JSON, or holds an unknown
// or missing member, a value of the wrong type or range, or a model or family twice.
VORN_HOST_API boost::shared_ptr<device_handler::v1_0::CVornModelList> LoadModelList(const std::string& file);

} // namespace corvane::refhost
