// Plain loops of the visible-light pass.
#include "tests/reference/parts.h"

#include <cstdlib>

namespace k274::reference {

namespace {

int BrightSum(ConstColourView raw, int row, int column) {
    const uint8_t *pixel = raw.Pixel(row, column);
    return std::min<int>(pixel[0], 32) + std::min<int>(pixel[1], 32) + std::min<int>(pixel[2], 32);
}

int DarkTest(ConstColourView raw, int row, int column) {
    const uint8_t *pixel = raw.Pixel(row, column);
    return pixel[0] + pixel[1] + pixel[2] >= 91 ? 1 : -1;
}

void Mark(ColourView raw, int row, int column, uint32_t colour) {
    for (int k = 0; k < 3; k++)
        raw.Pixel(row, column)[k] = static_cast<uint8_t>(colour >> (16 - 8 * k));
}

int LeadColumn(ConstColourView raw, int firstRow) {
    for (int c = 40; c < 320; c++) {
        int sum = 0;
        for (int row = firstRow; row <= firstRow + 700; row += 100)
            sum += BrightSum(raw, row, c);
        if (sum >= 336)
            return c - 1;
    }
    return 319;
}

bool GreyBand(ConstColourView raw) {
    int count = 0;
    for (int r = 2501; r <= 2600; r++) {
        const auto sum = [&](int c) { return raw.Pixel(r, c)[1] + raw.Pixel(r, c)[2]; };
        const auto grey = [&](int c) {
            const float ratio =
                static_cast<float>(raw.Pixel(r, c)[2]) / static_cast<float>(raw.Pixel(r, c)[1] + 1);
            return ratio > 0.6F && ratio < 1.7F;
        };
        if (sum(100) >= 42 && std::abs(sum(300) - sum(100)) < 30 && grey(100) && grey(315))
            count++;
    }
    return count >= 30;
}

int BandEdge(ConstColourView raw, int from, int above) {
    int r = from;
    while (r > above && !(raw.Pixel(r, 70)[1] > 24 && raw.Pixel(r + 1, 70)[1] > 24))
        r--;
    while (r > above && !(raw.Pixel(r, 70)[1] < 20 && raw.Pixel(r - 1, 70)[1] < 20))
        r--;
    return r + 4;
}

int CornerEdge(ColourView raw, int leadColumn, const int (&brightRows)[7], int firstRow, int low, int high) {
    int c = leadColumn - 10;
    for (; c < leadColumn + 10; c++) {
        int sum = 0;
        for (const int row : brightRows)
            sum += BrightSum(raw, row, c);
        if (sum >= 294)
            break;
    }
    const int corner = c + 24;
    int r = firstRow;
    for (; r < firstRow + 60; r++) {
        int block = 0, diagonal = 0;
        for (int i = 1; i <= 3; i++)
            for (int j = 1; j <= 3; j++)
                block += DarkTest(raw, r - i, corner + j);
        for (int i = -3; i <= 0; i++)
            diagonal += DarkTest(raw, r + i, corner + i - 1);
        for (int i = 0; i <= 4; i++)
            diagonal += DarkTest(raw, r + i, corner + i);
        if (block > 0 && diagonal < 0)
            break;
    }
    Mark(raw, firstRow, c, 0xFF7F3F);
    Mark(raw, firstRow, corner, 0xFF7F3F);
    Mark(raw, firstRow + 60, corner, 0xFF7F3F);
    Mark(raw, r + 15, corner - 1, 0x8F8F8F);
    Mark(raw, r + 15, corner + 1, 0x8F8F8F);
    Mark(raw, r, corner, 0x00FF00);
    const int edge = r + 15;
    return edge < low ? low + 10 : edge > high ? high - 10 : edge;
}

CardPosition FindCard(ColourView raw) {
    CardPosition found{LeadColumn(raw, 210), 0, LeadColumn(raw, 1500), 0, GreyBand(raw)};
    if (!found.greyBandFound) {
        const int frontRows[7] = {1000, 1010, 1020, 1030, 1040, 1050, 1060};
        const int backRows[7] = {2200, 2210, 2220, 2230, 2480, 2485, 2490};
        found.frontEdgeRow = CornerEdge(raw, found.frontLeadCol, frontRows, 1125, 1140, 1180);
        found.backEdgeRow = CornerEdge(raw, found.backLeadCol, backRows, 2485, 2510, 2550);
        return found;
    }
    found.backEdgeRow = BandEdge(raw, 2595, 2495);
    found.frontEdgeRow = BandEdge(raw, 1230, 1130);
    for (const int row : {1130, 1230, 2495, 2595})
        Mark(raw, row, 70, 0x202080);
    for (const bool back : {false, true}) {
        const int row = back ? found.backEdgeRow : found.frontEdgeRow;
        Mark(raw, row - 4, 70, 0x0000B0);
        Mark(raw, row, 250, 0x0000D0);
        Mark(raw, row, 275, 0x0000FF);
        Mark(raw, row, back ? found.backLeadCol : found.frontLeadCol, 0xFF3F00);
    }
    return found;
}

} // namespace

void RgbLineStore(const uint8_t *block, int linesLeft, ColourView raw) {
    LineStore(block, linesLeft, {12, 4, 2296, 2299, 0}, raw);
}

void RgbIllumGain(const RgbGains &gains, ColourView corrected) {
    Fill(corrected, [&](int r, int c, int k) { return Gained(corrected.Pixel(r, c)[k], gains[r][k], 7); });
}

void RgbWccGain(char kind, const RgbGains &gains, ColourView corrected) {
    Fill(corrected, [&](int r, int c, int k) {
        const bool card = kind == 'V' ? c >= 1150 && c <= 2249 : c >= 540 && c <= 1759;
        const uint8_t value = corrected.Pixel(r, c)[k];
        return card ? Gained(value, gains[r][k], 7) : value;
    });
}

void RgbCrop(ColourView raw, ConstColourView corrected, CardPosition &position, ColourView natFr,
             ColourView natBk, ColourView edge) {
    position = FindCard(raw);
    const CardPosition &at = position;
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

Levels RgbLevels(ConstColourView raw) {
    int sums[2] = {};
    for (int r = 25; r <= 1120; r += 5)
        for (int c = 200; c <= 2095; c += 5)
            for (int k = 0; k < 3; k++) {
                sums[0] += raw.Pixel(r, c)[k];
                sums[1] += raw.Pixel(r + 1350, c)[k];
            }
    constexpr int kSamples = 220 * 380 * 3;
    return {static_cast<uint8_t>(sums[0] / kSamples), static_cast<uint8_t>(sums[1] / kSamples)};
}

bool WhiteTest(ConstColourView raw, ScanMeasures &counts) {
    for (int side = 0; side < 2; side++) {
        int sum = 0, &dark = counts.whiteDark[side], &samples = counts.whiteSamples[side];
        dark = samples = 0;
        for (int r = 150 + 1350 * side; r < 950 + 1350 * side && dark <= 250; r += 8)
            for (int c = 650; c < 1650; c += 10) {
                const uint8_t first = raw.Pixel(r, c)[side], red = raw.Pixel(r, c)[2];
                samples += 2;
                sum += first + red;
                dark += first < 64 || red < 64;
            }
        counts.whiteMean[side] = sum / samples;
    }
    const int32_t *dark = counts.whiteDark, *mean = counts.whiteMean;
    return (dark[0] < 26 || dark[1] < 26) && dark[0] + dark[1] <= 75 && mean[0] >= 80 && mean[1] >= 80;
}

} // namespace k274::reference
