// Plain loops of the 1200-dpi passes.
#include "tests/reference/parts.h"

namespace k274::reference {

void HrRealign(HrMode mode, ColourView lines) {
    for (int i = 0; i < (mode == HrMode::Full ? 3980 : 1040); i++)
        for (int p = 14; p <= 4985; p++)
            for (int k = 0; k < 3; k++)
                lines.Pixel(i, p)[k] = lines.Pixel(i + 16 - 8 * k, p + 14)[2 - k];
}

void HrGain(HrMode mode, const RgbGains &gains, ColourView lines) {
    Fill(ColourView{lines.data, mode == HrMode::Full ? 3998 : 1018, 5000}, [&](int i, int p, int k) {
        return Gained(lines.Pixel(i, p)[k], gains[p < 2500 ? p / 2 : 2607 - (p - 2500) / 2][k], 6);
    });
}

void HrTurn(HrMode mode, ConstColourView lines, ColourView turned) {
    for (int i = 0; i < (mode == HrMode::Full ? 4000 : 1039); i++)
        for (int p = 0; p < 5000; p++)
            for (int k = 0; k < 3; k++)
                turned.Pixel(p, (mode == HrMode::Full ? 3999 : 1039) - i)[k] = lines.Pixel(i, p)[k];
}

void HrSplit(ConstColourView turned, ColourView sliFr, ColourView sliBk) {
    Fill(sliFr,
         [&](int r, int c, int k) { return r > 2289 ? uint8_t{0} : turned.Pixel(2289 - r, c + 30)[k]; });
    Fill(sliBk,
         [&](int r, int c, int k) { return c == 0 ? uint8_t{0} : turned.Pixel(r + 2660, 1040 - c)[k]; });
}

} // namespace k274::reference
