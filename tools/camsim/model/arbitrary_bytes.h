#pragma once

#include "model/faults.h"

#include <string>

namespace camsim {

// The same bytes for the same seed, so that a run can be repeated.
std::string ArbitraryBytes(size_t size, uint64_t seed);

// What a fault of the kind garbage sends.
std::string GarbageOf(const SFault& fault);

} // namespace camsim
