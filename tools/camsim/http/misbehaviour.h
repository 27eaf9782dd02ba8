#pragma once

#include "model/camera.h"
#include "model/cgi_parameters.h"
#include "model/faults.h"

#include <chrono>
#include <map>
#include <memory>
#include <string>

namespace camsim {

// What faults do to a camera itself, rather than to the bytes of its answer.

// The date that a camera tells whose clock has this fault.
std::string DateOf(const SFault& clock, std::chrono::system_clock::time_point now);

// Takes back what a request has written (FaultKind::Revert), or makes another value of it
// (FaultKind::Alter).
void Spoil(CCamera& camera, const WrittenSettings& written, FaultKind kind);

// The cameras that answer instead of others, of other models, as if they had the same address. Not
// thread-safe.
class CStandIns {
public:
    // `others`: how many cameras there are without them, whose numbers they do not take.
    explicit CStandIns(size_t others) : others_(others) {}

    // The same one each time for a camera and a model.
    CCamera& of(const CCamera& camera, const std::string& model);

private:
    const size_t others_;
    std::map<std::pair<size_t, std::string>, std::unique_ptr<CCamera>> cameras_;
};

} // namespace camsim
