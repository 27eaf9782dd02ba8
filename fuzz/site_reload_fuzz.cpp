// A site file that is read anew while its cameras are kept: it is taken whole, or refused with all as it was.
//
// Input: the file. Only one whose cameras are on this machine is reloaded, since new cameras are asked at
// once.

#include "fuzz/harness.h"
#include "fuzz/unasked_site.h"

#include <algorithm>

using namespace corvane;

namespace {

constexpr const char* Here = "127.0.0.1:";

std::vector<std::string> NamesOf(const service::CKeptSite& site) {
    std::vector<std::string> names;
    for (const auto& camera : site.cameras())
        names.push_back(camera->name());
    return names;
}

// What the file says; nothing where it is refused.
std::optional<site::SSite> Read(const fuzz::CUnaskedSite& kept) {
    try {
        return site::CSiteSessions({}, kept.site.file(), kept.site.recorder()).site();
    } catch (const site::CFailure&) {
        return std::nullopt;
    }
}

bool Reload(fuzz::CUnaskedSite& kept) {
    try {
        kept.site.reload();
        return true;
    } catch (const site::CFailure&) {
        return false;
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    (void)fuzz::TheUnaskedSite();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::CUnaskedSite& kept = fuzz::TheUnaskedSite();
    const auto before = kept.site.find("gate");
    kept.folder.file("site.json", fuzz::InputText(data, size));
    const auto read = Read(kept);
    if (!read) {
        fuzz::Require(!Reload(kept), "what is refused once is refused twice");
        fuzz::Require(NamesOf(kept.site) == std::vector<std::string>{"gate"}, "the old site stays");
        fuzz::Require(kept.site.find("gate")->camera == before->camera, "and its camera is the same");
        return 0;
    }
    if (std::any_of(read->cameras.begin(), read->cameras.end(),
                    [](const site::SSiteCamera& one) { return one.address.rfind(Here, 0) != 0; }))
        return 0;
    fuzz::Require(Reload(kept), "what can be read is taken");
    std::vector<std::string> names;
    for (const site::SSiteCamera& one : read->cameras)
        names.push_back(one.name);
    fuzz::Require(NamesOf(kept.site) == names, "the cameras are the file's, in its order");
    kept.folder.file("site.json", fuzz::CUnaskedSite::File);
    fuzz::Require(Reload(kept), "and back");
    return 0;
}
