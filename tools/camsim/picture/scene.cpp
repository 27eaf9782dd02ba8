#include "picture/scene.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace camsim {
namespace {

constexpr int width = 2400;
constexpr int height = 1000;
constexpr int horizon = height / 2;
constexpr int bandHeight = height / 10; ///< between two level lines
constexpr int degreesPerLine = 10;
constexpr int lines = 36;
/// The lines begin and end half a picture from the edges, where the head's own ends are.
constexpr int margin = 240;

struct Colour {
    uint8_t y;
    uint8_t u;
    uint8_t v;
};

constexpr Colour line{235, 128, 128};
constexpr Colour house[] = {{110, 100, 190}, {140, 60, 150},  {90, 180, 110},
                            {170, 90, 120},  {120, 160, 160}, {70, 130, 140}};

/// Digits of three by five dots, a row for each group of three bits from the top.
constexpr std::array<uint16_t, 10> digits{075557, 026227, 071747, 071717, 055711,
                                          074717, 074757, 071122, 075757, 075717};
constexpr int dotSize = 3;
constexpr int digitPitch = 4 * dotSize;

class Drawing {
public:
    std::array<Plane, 3> planes{Plane{width, height, {}}, Plane{width, height, {}}, Plane{width, height, {}}};

    Drawing() {
        for (Plane& plane : planes)
            plane.bytes.resize(size_t{width} * height);
    }

    void fill(int left, int top, int right, int bottom, Colour colour) {
        const std::array<uint8_t, 3> components{colour.y, colour.u, colour.v};
        for (size_t i = 0; i < planes.size(); ++i)
            for (int y = std::max(0, top); y < std::min(height, bottom); ++y) {
                const auto row = planes[i].bytes.begin() + static_cast<ptrdiff_t>(y) * width;
                std::fill(row + std::clamp(left, 0, width), row + std::clamp(right, 0, width), components[i]);
            }
    }

    void number(int centre, int top, const std::string& text) {
        int left = centre - static_cast<int>(text.size()) * digitPitch / 2;
        for (const char digit : text) {
            for (int dot = 0; dot < 15; ++dot)
                if ((digits[static_cast<size_t>(digit - '0')] >> (14 - dot) & 1) != 0)
                    fill(left + dot % 3 * dotSize, top + dot / 3 * dotSize, left + (dot % 3 + 1) * dotSize,
                         top + (dot / 3 + 1) * dotSize, line);
            left += digitPitch;
        }
    }
};

void drawGround(Drawing& drawing) {
    for (int y = 0; y < height; ++y) {
        const bool sky = y < horizon;
        const int light = sky ? 120 + y / 8 : 60 + (y - horizon) / 8;
        drawing.fill(0, y, width, y + 1,
                     sky ? Colour{static_cast<uint8_t>(light), 165, 110}
                         : Colour{static_cast<uint8_t>(light), 105, 110});
    }
    for (int y = bandHeight; y < height; y += bandHeight)
        drawing.fill(0, y, width, y + 2, line);
}

void drawHouse(Drawing& drawing, int index, int left, int right) {
    const int top = horizon - 40 - index * 37 % 110;
    const Colour colour = house[static_cast<size_t>(index) % std::size(house)];
    drawing.fill(left, top, right, horizon + 30, colour);
    for (int y = top + 8; y < horizon; y += 20)
        for (int x = left + 6; x + 8 < right; x += 14)
            drawing.fill(x, y, x + 8, y + 10, {static_cast<uint8_t>(colour.y + 60), 110, 140});
}

std::array<Plane, 3> draw() {
    Drawing drawing;
    drawGround(drawing);
    constexpr int pitch = (width - 2 * margin) / lines;
    for (int i = 0; i <= lines; ++i) {
        const int x = margin + i * pitch;
        drawHouse(drawing, i, x + pitch / 4, x + pitch);
        drawing.fill(x - 1, 0, x + 1, height, line);
        for (int top = bandHeight / 2; top < height; top += bandHeight)
            drawing.number(x, top, std::to_string(i * degreesPerLine));
    }
    return drawing.planes;
}

} // namespace

const std::array<Plane, 3>& panorama() {
    static const std::array<Plane, 3> planes = draw();
    return planes;
}

} // namespace camsim
