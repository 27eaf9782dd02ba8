#pragma once

#include <functional>
#include <string>
#include <vector>

namespace corvane::torture {

// How a life went: what failed in it, and what nobody was told of, or twice.
struct SLife {
    std::vector<std::string> failures;
    std::vector<std::string> broken; // promises
};

// A host with one camera: the plug-in is loaded, the camera at the address found, initialised, asked, moved
// and watched, and everything goes. Each step comes whether or not those before it failed, as far as it can.
// `onListRead` is called before all that, behind the model list: the JSON library ends the process when it
// gets no memory to destroy a value.
SLife LiveWithCamera(
    const std::string& address, const std::function<void()>& onListRead = [] {});

} // namespace corvane::torture
