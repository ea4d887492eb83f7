// Plain loops of the visible-light pass; see the header.
#include "bench/literal/rgb.h"

#include <algorithm>
#include <cstdlib>

namespace k274::reference {

namespace {

void StoreByte(ColourView raw, int row, int column, int channel, uint8_t value) {
    if (column >= 0 && column < kRgbColumns)
        raw.Pixel(row, column)[channel] = value;
}

uint8_t Gained(uint8_t value, uint16_t gain) {
    return static_cast<uint8_t>(std::min<uint32_t>(255, (uint32_t{value} * gain) >> 7));
}

int BrightSum(ConstColourView raw, int row, int column) {
    const uint8_t *pixel = raw.Pixel(row, column);
    return std::min<int>(pixel[0], 32) + std::min<int>(pixel[1], 32) + std::min<int>(pixel[2], 32);
}

int DarkTest(ConstColourView raw, int row, int column) {
    const uint8_t *pixel = raw.Pixel(row, column);
    return pixel[0] + pixel[1] + pixel[2] >= 91 ? 1 : -1;
}

void Mark(ColourView raw, int row, int column, uint32_t colour) {
    uint8_t *pixel = raw.Pixel(row, column);
    pixel[0] = static_cast<uint8_t>(colour >> 16);
    pixel[1] = static_cast<uint8_t>(colour >> 8);
    pixel[2] = static_cast<uint8_t>(colour);
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
    for (int r = 2600; r >= 2501; r--) {
        const int g100 = raw.Pixel(r, 100)[1], r100 = raw.Pixel(r, 100)[2];
        const int g300 = raw.Pixel(r, 300)[1], r300 = raw.Pixel(r, 300)[2];
        const int g315 = raw.Pixel(r, 315)[1], r315 = raw.Pixel(r, 315)[2];
        const float ratio100 = static_cast<float>(r100) / static_cast<float>(g100 + 1);
        const float ratio315 = static_cast<float>(r315) / static_cast<float>(g315 + 1);
        if (g100 + r100 >= 42 && std::abs((g300 + r300) - (g100 + r100)) < 30 && ratio100 > 0.6F &&
            ratio100 < 1.7F && ratio315 > 0.6F && ratio315 < 1.7F)
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
        diagonal += DarkTest(raw, r - 3, corner - 4);
        diagonal += DarkTest(raw, r - 2, corner - 3);
        diagonal += DarkTest(raw, r - 1, corner - 2);
        diagonal += DarkTest(raw, r, corner - 1);
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

} // namespace

void RgbLineStore(const uint8_t *block, int linesLeft, ColourView raw) {
    for (int k = 0; k < kRgbLinesPerPacket; k++) {
        const int64_t line = int64_t{linesLeft} + k;
        if (line < 4 || line > 2296)
            continue;
        const int n = static_cast<int>(line);
        const uint8_t *pixels = block + k * kRgbLineBytes;
        for (int p = 0; p < 1350; p++) {
            StoreByte(raw, p, 2295 - n, 2, pixels[3 * p]);
            StoreByte(raw, p, 2299 - n, 1, pixels[3 * p + 1]);
            StoreByte(raw, p, 2303 - n, 0, pixels[3 * p + 2]);
        }
        for (int j = 0; j < 1350; j++) {
            StoreByte(raw, 2699 - j, n + 4, 2, pixels[3 * (1328 + j)]);
            StoreByte(raw, 2699 - j, n, 1, pixels[3 * (1328 + j) + 1]);
            StoreByte(raw, 2699 - j, n - 4, 0, pixels[3 * (1328 + j) + 2]);
        }
    }
}

void CopyImage(ConstColourView from, ColourView to) {
    for (size_t i = 0; i < from.Size(); i++)
        to.data[i] = from.data[i];
}

void RgbIllumGain(const RgbGains &gains, ColourView corrected) {
    for (int r = 0; r < kSensorRows; r++)
        for (int c = 0; c < kRgbColumns; c++)
            for (int k = 0; k < 3; k++)
                corrected.Pixel(r, c)[k] = Gained(corrected.Pixel(r, c)[k], gains[r][k]);
}

void RgbWccGain(char kind, const RgbGains &gains, ColourView corrected) {
    for (int r = 0; r < kSensorRows; r++)
        for (int c = kind == 'V' ? 1150 : 540; c <= (kind == 'V' ? 2249 : 1759); c++)
            for (int k = 0; k < 3; k++)
                corrected.Pixel(r, c)[k] = Gained(corrected.Pixel(r, c)[k], gains[r][k]);
}

CardPosition FindCard(ColourView raw) {
    CardPosition found{};
    found.frontLeadCol = LeadColumn(raw, 210);
    found.backLeadCol = LeadColumn(raw, 1500);
    found.greyBandFound = GreyBand(raw);
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
    Mark(raw, found.frontEdgeRow - 4, 70, 0x0000B0);
    Mark(raw, found.backEdgeRow - 4, 70, 0x0000B0);
    Mark(raw, found.frontEdgeRow, 250, 0x0000D0);
    Mark(raw, found.backEdgeRow, 250, 0x0000D0);
    Mark(raw, found.frontEdgeRow, 275, 0x0000FF);
    Mark(raw, found.backEdgeRow, 275, 0x0000FF);
    Mark(raw, found.frontEdgeRow, found.frontLeadCol, 0xFF3F00);
    Mark(raw, found.backEdgeRow, found.backLeadCol, 0xFF3F00);
    return found;
}

void RgbCrop(ColourView raw, ConstColourView corrected, CardPosition &position, ColourView natFr,
             ColourView natBk, ColourView edge) {
    position = reference::FindCard(raw);
    for (int i = 0; i < 1180; i++) {
        const int frontRow = position.frontEdgeRow - 1 - i, backRow = position.backEdgeRow - 1 - i;
        for (int c = 0; c < 1880; c++)
            for (int k = 0; k < 3; k++) {
                natFr.Pixel(i, c)[k] =
                    frontRow < 0 ? 2 : corrected.Pixel(frontRow, position.frontLeadCol + c)[k];
                natBk.Pixel(i, c)[k] = corrected.Pixel(backRow, position.backLeadCol + c)[k];
            }
    }
    for (int i = 0; i < 60; i++)
        for (int p = 0; p < 500; p++)
            for (int k = 0; k < 3; k++)
                edge.Pixel(i, p)[k] = raw.Pixel(position.backEdgeRow + 45 - i,
                                                std::max(0, position.backLeadCol - 40 + 4 * p))[k];
}

void RedContrast(const ContrastTable &table, ConstGreyView red0, GreyView red1) {
    for (size_t i = 0; i < red0.Size(); i++)
        red1.data[i] = red0.data[i];
    for (int r = 2; r < 2560; r++) {
        if (r >= 1175 && r <= 1349)
            continue;
        for (int c = 150; c <= 2149; c++) {
            const int sum = *red0.Pixel(r - 1, c) + 2 * *red0.Pixel(r, c) + *red0.Pixel(r + 1, c);
            *red1.Pixel(r, c) = table[static_cast<size_t>(sum >> 2)];
        }
    }
}

void RgbResp(ConstColourView rgbr, ResponseTable &raw) {
    static int32_t sums[4][kSensorRows];
    for (int k = 0; k < 4; k++)
        for (int r = 0; r < kSensorRows; r++)
            sums[k][r] = 0;
    int t0 = 60;
    while (t0 < 320 && !(rgbr.Pixel(100, t0)[0] > 24 && rgbr.Pixel(200, t0)[0] > 24))
        t0++;
    for (int r = 0; r < kSensorRows; r++)
        for (int t = t0 + 400; t < t0 + 1400; t += 4)
            for (int k = 0; k < 3; k++)
                sums[k][r] += rgbr.Pixel(r, t)[k];
    for (int k = 0; k < 3; k++) {
        for (int r = 1; r <= 2698; r++)
            raw[k][r] = static_cast<uint8_t>((sums[k][r - 1] + 2 * sums[k][r] + sums[k][r + 1]) / 1000);
        raw[k][0] = static_cast<uint8_t>(sums[k][0] / 250);
        raw[k][2699] = static_cast<uint8_t>(sums[k][2699] / 250);
    }
}

void RgbCorResp(ConstColourView rgbc, ResponseTable &corrected) {
    static int32_t sums[4][kSensorRows];
    for (int k = 0; k < 4; k++)
        for (int r = 0; r < kSensorRows; r++)
            sums[k][r] = 0;
    int samples = 0;
    for (int r = 0; r < kSensorRows; r++) {
        samples = 0;
        for (int t = 1155; t < 1735; t += 6) {
            for (int k = 0; k < 3; k++)
                sums[k][r] += rgbc.Pixel(r, t)[2 - k];
            samples++;
        }
    }
    for (int k = 0; k < 3; k++)
        for (int r = 0; r < kSensorRows; r++)
            corrected[k][r] = static_cast<uint8_t>(sums[k][r] / samples);
}

void RgbLevels(ConstColourView raw, int &front, int &back) {
    int sums[2] = {0, 0}, counts[2] = {0, 0};
    for (int side = 0; side < 2; side++)
        for (int r = 25 + 1350 * side; r <= 1120 + 1350 * side; r += 5)
            for (int c = 200; c <= 2095; c += 5)
                for (int k = 0; k < 3; k++) {
                    sums[side] += raw.Pixel(r, c)[k];
                    counts[side]++;
                }
    front = sums[0] / counts[0];
    back = sums[1] / counts[1];
}

WhiteCounts WhiteTest(ConstColourView raw) {
    WhiteCounts counts{};
    for (int side = 0; side < 2; side++) {
        int sum = 0;
        for (int r = side == 0 ? 150 : 1500; r < (side == 0 ? 950 : 2300); r += 8) {
            for (int c = 650; c < 1650; c += 10) {
                const uint8_t first = raw.Pixel(r, c)[side == 0 ? 0 : 1], red = raw.Pixel(r, c)[2];
                counts.samples[side] += 2;
                sum += first + red;
                if (first < 64 || red < 64)
                    counts.dark[side]++;
            }
            if (counts.dark[side] > 250)
                break;
        }
        counts.mean[side] = sum / counts.samples[side];
    }
    counts.white = (counts.dark[0] < 26 || counts.dark[1] < 26) && counts.dark[0] + counts.dark[1] <= 75 &&
                   counts.mean[0] >= 80 && counts.mean[1] >= 80;
    return counts;
}

} // namespace k274::reference
