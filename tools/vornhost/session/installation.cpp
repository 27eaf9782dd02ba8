#include "tools/vornhost/session/installation.h"

#include <filesystem>
#include <initializer_list>

namespace corvane::vornhost {
namespace {

namespace fs = std::filesystem;

fs::path ProgramFolder() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    return error ? fs::path(".") : program.parent_path();
}

std::string FirstExisting(std::initializer_list<const char*> candidates) {
    const fs::path folder = ProgramFolder();
    for (const char* candidate : candidates) {
        const fs::path file = (folder / candidate).lexically_normal();
        std::error_code error;
        if (fs::exists(file, error))
            return file;
    }
    return (folder / *candidates.begin()).lexically_normal();
}

} // namespace

// The relative places are those of the build tree and of the installation (see CMakeLists.txt).
std::string DefaultPluginFile() {
    return FirstExisting({"../lib/" VORNHOST_PLUGIN_NAME, VORNHOST_LIBRARY_FOLDER "/" VORNHOST_PLUGIN_NAME,
                          VORNHOST_PLUGIN_NAME});
}

std::string DefaultModelListFile() {
    return FirstExisting({VORNHOST_DATA_FOLDER "/models.json"});
}

} // namespace corvane::vornhost
