#include "picture/scene.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace camsim {
namespace {

constexpr int Width = 2400;
constexpr int Height = 1000;
constexpr int Horizon = Height / 2;
constexpr int BandHeight = Height / 10; // between two level lines
constexpr int DegreesPerLine = 10;
constexpr int Lines = 36;
// The lines begin and end half a picture from the edges, where the head's own ends are.
constexpr int Margin = 240;

struct SColour {
    uint8_t y;
    uint8_t u;
    uint8_t v;
};

constexpr SColour Line{235, 128, 128};
constexpr SColour House[] = {{110, 100, 190}, {140, 60, 150},  {90, 180, 110},
                             {170, 90, 120},  {120, 160, 160}, {70, 130, 140}};

// Digits of three by five dots, a row for each group of three bits from the top.
constexpr std::array<uint16_t, 10> Digits{075557, 026227, 071747, 071717, 055711,
                                          074717, 074757, 071122, 075757, 075717};
constexpr int DotSize = 3;
constexpr int DigitPitch = 4 * DotSize;

class CDrawing {
public:
    std::array<SPlane, 3> planes{SPlane{Width, Height, {}}, SPlane{Width, Height, {}},
                                 SPlane{Width, Height, {}}};

    CDrawing() {
        for (SPlane& plane : planes)
            plane.bytes.resize(size_t{Width} * Height);
    }

    void fill(int left, int top, int right, int bottom, SColour colour) {
        const std::array<uint8_t, 3> components{colour.y, colour.u, colour.v};
        for (size_t i = 0; i < planes.size(); ++i)
            for (int y = std::max(0, top); y < std::min(Height, bottom); ++y) {
                const auto row = planes[i].bytes.begin() + static_cast<ptrdiff_t>(y) * Width;
                std::fill(row + std::clamp(left, 0, Width), row + std::clamp(right, 0, Width), components[i]);
            }
    }

    void number(int centre, int top, const std::string& text) {
        int left = centre - static_cast<int>(text.size()) * DigitPitch / 2;
        for (const char digit : text) {
            for (int dot = 0; dot < 15; ++dot)
                if ((Digits[static_cast<size_t>(digit - '0')] >> (14 - dot) & 1) != 0)
                    fill(left + dot % 3 * DotSize, top + dot / 3 * DotSize, left + (dot % 3 + 1) * DotSize,
                         top + (dot / 3 + 1) * DotSize, Line);
            left += DigitPitch;
        }
    }
};

void DrawGround(CDrawing& drawing) {
    for (int y = 0; y < Height; ++y) {
        const bool sky = y < Horizon;
        const int light = sky ? 120 + y / 8 : 60 + (y - Horizon) / 8;
        drawing.fill(0, y, Width, y + 1,
                     sky ? SColour{static_cast<uint8_t>(light), 165, 110}
                         : SColour{static_cast<uint8_t>(light), 105, 110});
    }
    for (int y = BandHeight; y < Height; y += BandHeight)
        drawing.fill(0, y, Width, y + 2, Line);
}

void DrawHouse(CDrawing& drawing, int index, int left, int right) {
    const int top = Horizon - 40 - index * 37 % 110;
    const SColour colour = House[static_cast<size_t>(index) % std::size(House)];
    drawing.fill(left, top, right, Horizon + 30, colour);
    for (int y = top + 8; y < Horizon; y += 20)
        for (int x = left + 6; x + 8 < right; x += 14)
            drawing.fill(x, y, x + 8, y + 10, {static_cast<uint8_t>(colour.y + 60), 110, 140});
}

std::array<SPlane, 3> Draw() {
    CDrawing drawing;
    DrawGround(drawing);
    constexpr int Pitch = (Width - 2 * Margin) / Lines;
    for (int i = 0; i <= Lines; ++i) {
        const int x = Margin + i * Pitch;
        DrawHouse(drawing, i, x + Pitch / 4, x + Pitch);
        drawing.fill(x - 1, 0, x + 1, Height, Line);
        for (int top = BandHeight / 2; top < Height; top += BandHeight)
            drawing.number(x, top, std::to_string(i * DegreesPerLine));
    }
    return drawing.planes;
}

} // namespace

const std::array<SPlane, 3>& Panorama() {
    static const std::array<SPlane, 3> planes = Draw();
    return planes;
}

} // namespace camsim
