#pragma once

namespace camsim {

// A setting of the picture that is a number from 0 to `highest`; an ordinary one leaves the picture as it
// is.
struct SPictureLevel {
    int highest;
    int ordinary;
};

constexpr SPictureLevel BrightnessLevel{255, 128};
constexpr SPictureLevel ChromaLevel{255, 128};
constexpr SPictureLevel SharpnessLevel{15, 8};

} // namespace camsim
