#pragma once

#include "site/base/names.h"
#include "site/session/credentials.h"
#include "site/session/options.h"
#include "site/site_file.h"

#include <map>
#include <string>

namespace corvane::site {

// Reads a site file; its models and adjustments are held against the model list. Throws CFailure.
site::SSite OpenSite(const std::string& file, const CVornModelList& models);

// How the camera is wanted, as CDrift takes it; without what the file ignores on the day ("2026-11-26"),
// where one is given.
ordered_json WishOf(const site::SSiteCamera& camera, const std::string& today = "");

// Whether the file ignores a difference on the day; `of` and `field` as SComparison has them.
bool IsIgnored(const site::SSiteCamera& camera, const std::string& of, const std::string& field,
               const std::string& today);

std::string UtcToday();

// The site's camera of the name, else the one at the address. Throws CFailure where the site has none.
const site::SSiteCamera& FindCamera(const site::SSite& site, const std::string& nameOrAddress);

// How it is asked: the entry's model and RTSP port take the place of the command line's.
SOptions OptionsFor(const site::SSiteCamera& camera, SOptions options);

// The credentials of the site's entries, by their names, with the command line's as "". Warns of password
// files that others may read. Throws CFailure.
std::map<std::string, CCredentials> CredentialsOf(const site::SSite& site, const SOptions& options);

} // namespace corvane::site
