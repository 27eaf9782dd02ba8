#pragma once

#include "host/model_list.h"

#include <boost/make_shared.hpp>

#include <string>

namespace corvane::tests {

// A list of two families with one model each, for tests that need some list.
inline boost::shared_ptr<device_handler::v1_0::CVornModelList> TestModels() {
    namespace dh = device_handler::v1_0;
    dh::SVornUrl test;
    test.protocol = "http";
    test.port = "80";
    test.path = "/cgi-bin/getinfo";
    test.parameters = {{"FILE", "1"}};
    test.replyKey = "NAME=";
    dh::CVornModelList::ModelMap models;
    models["GXE500"].number = "GXE500";
    models["GXE500"].family = "BoxCamera";
    models["GXE500"].videoInputs = 4;
    models["SC385"].number = "SC385";
    models["SC385"].family = "Dome";
    return boost::make_shared<dh::CVornModelList>(
        test, std::vector<dh::SFamily>{{"BoxCamera", "admin", "12345"}, {"Dome", "", ""}},
        std::map<std::string, dh::SQueryDevice>{}, models);
}

} // namespace corvane::tests
