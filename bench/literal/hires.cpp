// Plain loops of the 1200-dpi passes; see the header.
#include "bench/literal/hires.h"

#include <algorithm>

namespace k274::reference {

void HrRealign(HrMode mode, ColourView lines) {
    for (int i = 0; i < (mode == HrMode::Full ? 3980 : 1040); i++)
        for (int p = 14; p <= 4985; p++) {
            uint8_t *pixel = lines.Pixel(i, p);
            pixel[0] = lines.Pixel(i + 16, p + 14)[2];
            pixel[1] = lines.Pixel(i + 8, p + 14)[1];
            pixel[2] = lines.Pixel(i, p + 14)[0];
        }
}

void HrGain(HrMode mode, const RgbGains &gains, ColourView lines) {
    for (int i = 0; i < (mode == HrMode::Full ? 3998 : 1018); i += 2)
        for (int p = 0; p < 5000; p++) {
            const int g = p < 2500 ? p / 2 : 2607 - (p - 2500) / 2;
            for (int line = i; line <= i + 1; line++)
                for (int k = 0; k < 3; k++) {
                    uint8_t &v = lines.Pixel(line, p)[k];
                    v = static_cast<uint8_t>(std::min(255U, uint32_t{v} * gains[g][k] >> 6));
                }
        }
}

void HrTurn(HrMode mode, ConstColourView lines, ColourView turned) {
    for (int i = 0; i < (mode == HrMode::Full ? 4000 : 1039); i++)
        for (int p = 0; p < 5000; p++)
            for (int k = 0; k < 3; k++)
                turned.Pixel(p, (mode == HrMode::Full ? 3999 : 1039) - i)[k] = lines.Pixel(i, p)[k];
}

void HrSplit(ConstColourView turned, ColourView sliFr, ColourView sliBk) {
    for (int r = 0; r < 2300; r++)
        for (int c = 0; c < 1000; c++)
            for (int k = 0; k < 3; k++) {
                const bool front = 2289 - r >= 0, back = c > 0;
                sliFr.Pixel(r, c)[k] = front ? turned.Pixel(2289 - r, c + 30)[k] : uint8_t{0};
                sliBk.Pixel(r, c)[k] = back ? turned.Pixel(r + 2660, 1040 - c)[k] : uint8_t{0};
            }
}

} // namespace k274::reference
