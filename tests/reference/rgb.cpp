// Plain loops of the visible-light pass.
#include "tests/reference/parts.h"

namespace k274::reference {

void RgbLineStore(const uint8_t *block, int linesLeft, ColourView raw) {
    LineStore(block, linesLeft, {12, 4, 2296, 2299, 0}, raw);
}

void RgbIllumGain(ConstColourView raw, const RgbGains &gains, ColourView corrected) {
    Fill(corrected, [&](int r, int c, int k) { return Gained(raw.Pixel(r, c)[k], gains[r][k], 7); });
}

void RgbWccGain(char kind, const RgbGains &gains, ColourView corrected) {
    Fill(corrected, [&](int r, int c, int k) {
        const bool card = kind == 'V' ? c >= 1150 && c <= 2249 : c >= 540 && c <= 1759;
        const uint8_t value = corrected.Pixel(r, c)[k];
        return card ? Gained(value, gains[r][k], 7) : value;
    });
}

void RgbCrop(ConstColourView raw, ConstColourView corrected, const CardPosition &at, ColourView natFr,
             ColourView natBk, ColourView edge) {
    Fill(natFr, [&](int i, int c, int k) {
        const int row = at.frontEdgeRow - 1 - i;
        return row < 0 ? uint8_t{2} : corrected.Pixel(row, at.frontLeadCol + c)[k];
    });
    Fill(natBk,
         [&](int i, int c, int k) { return corrected.Pixel(at.backEdgeRow - 1 - i, at.backLeadCol + c)[k]; });
    Fill(edge, [&](int i, int p, int k) {
        return raw.Pixel(at.backEdgeRow + 45 - i, std::max(0, at.backLeadCol - 40 + 4 * p))[k];
    });
}

void BuildRedImage(ConstColourView corrected, GreyView red0) {
    Fill(red0,
         [&](int r, int c, int) { return c < 12 || c >= 2288 ? uint8_t{0} : corrected.Pixel(r, c)[2]; });
}

void RedContrast(const ContrastTable &table, ConstGreyView red0, GreyView red1) {
    Fill(red1, [&](int r, int c, int) {
        if (r < 2 || (r >= 1175 && r <= 1349) || r >= 2560 || c < 150 || c > 2149)
            return *red0.Pixel(r, c);
        const int sum = *red0.Pixel(r - 1, c) + 2 * *red0.Pixel(r, c) + *red0.Pixel(r + 1, c);
        return table[static_cast<size_t>(sum >> 2)];
    });
}

void RgbResp(ConstColourView rgbr, ResponseTable &raw) {
    static RowSums sums;
    int t0 = 60;
    while (t0 < 320 && !(rgbr.Pixel(100, t0)[0] > 24 && rgbr.Pixel(200, t0)[0] > 24))
        t0++;
    SumRows(rgbr, t0 + 400, t0 + 1400, 4, sums);
    for (int k = 0; k < 3; k++) {
        Smooth(sums[k], raw[k]);
        for (const int r : {0, 2699})
            raw[k][r] = static_cast<uint8_t>(sums[k][r] / 250);
    }
}

void RgbCorResp(ConstColourView rgbc, ResponseTable &corrected) {
    static RowSums sums;
    SumRows(rgbc, 1155, 1735, 6, sums);
    for (int k = 0; k < 3; k++)
        for (int r = 0; r < kSensorRows; r++)
            corrected[k][r] = static_cast<uint8_t>(sums[2 - k][r] / 97);
}

} // namespace k274::reference
