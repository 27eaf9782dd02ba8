#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace camsim {

// One colour component of a picture, a byte for each place, row by row.
struct SPlane {
    int width;
    int height;
    std::vector<uint8_t> bytes;
};

// What a camera's head looks around in: a landscape as wide as all that it can see, in Y, U and V at the
// same size, with a line every ten degrees of a full turn that is told by its number. Drawn when it is first
// asked for. Any thread.
const std::array<SPlane, 3>& Panorama();

} // namespace camsim
