#pragma once

namespace camsim {

/// A setting of the picture that is a number from 0 to `highest`; an ordinary one leaves the picture as it
/// is.
struct PictureLevel {
    int highest;
    int ordinary;
};

constexpr PictureLevel brightnessLevel{255, 128};
constexpr PictureLevel chromaLevel{255, 128};
constexpr PictureLevel sharpnessLevel{15, 8};

} // namespace camsim
