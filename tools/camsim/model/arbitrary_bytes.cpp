#include "model/arbitrary_bytes.h"

#include <algorithm>
#include <random>

namespace camsim {
namespace {

constexpr size_t OrdinaryGarbage = 64;

} // namespace

std::string ArbitraryBytes(size_t size, uint64_t seed) {
    std::mt19937_64 random(seed);
    std::string bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random() & 0xff); });
    return bytes;
}

std::string GarbageOf(const SFault& fault) {
    return fault.body ? *fault.body : ArbitraryBytes(fault.size.value_or(OrdinaryGarbage), fault.id);
}

} // namespace camsim
