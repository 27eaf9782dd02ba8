#pragma once

#include "site/site_file.h"
#include "tools/vornhost/names.h"

#include <string>

namespace corvane::vornhost {

// Reads a site file; its models and adjustments are held against the model list. Throws CFailure.
site::SSite OpenSite(const std::string& file, const CVornModelList& models);

// How the camera is wanted, as CDrift takes it.
ordered_json WishOf(const site::SSiteCamera& camera);

// The wish for the camera at the address. Throws CFailure where the site has none there.
ordered_json WishAt(const site::SSite& site, const std::string& address);

} // namespace corvane::vornhost
