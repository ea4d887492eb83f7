// Plain loops of the infrared and ultraviolet passes; see the header.
#include "bench/literal/ir_uv.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace k274::reference {

namespace {

uint8_t Gained(uint8_t value, uint32_t gain, int shift) {
    return static_cast<uint8_t>(std::min<uint32_t>(255, (value * gain) >> shift));
}

void StretchGrey(const uint8_t (&work)[1286][2048], GreyView out) {
    for (int i = 0; i < 1286; i++) {
        const StretchEntry &e = kIrStretch[static_cast<size_t>(i)];
        for (int c = 0; c < 2048; c++)
            *out.Pixel(i, c) = static_cast<uint8_t>((work[e.a][c] * e.wA + work[e.b][c] * e.wB) >> 8);
    }
}

void StretchColour(const uint8_t (&work)[643][1024][3], ColourView out) {
    for (int i = 0; i < 643; i++) {
        const StretchEntry &e = kUvStretch[static_cast<size_t>(i)];
        for (int c = 0; c < 1024; c++)
            for (int k = 0; k < 3; k++)
                out.Pixel(i, c)[k] =
                    static_cast<uint8_t>((work[e.a][c][k] * e.wA + work[e.b][c][k] * e.wB) >> 8);
    }
}

uint8_t irWork[1286][2048];
uint8_t uvWork[643][1024][3];
int32_t sums[7][kSensorRows];

} // namespace

void IrLineStore(const uint8_t *block, int firstLine, GreyView raw) {
    for (int k = 0; k < 11; k++) {
        const int64_t line = int64_t{firstLine} + k;
        if (line < 6 || line > 2394)
            continue;
        const int n = static_cast<int>(line);
        const uint8_t *pixels = block + k * 2720;
        for (int p = 0; p < 1350; p++)
            if (2393 - n >= 0 && 2393 - n <= 2399)
                *raw.Pixel(p, 2393 - n) = pixels[p];
        for (int j = 0; j < 1350; j++)
            if (n + 6 <= 2399)
                *raw.Pixel(2699 - j, n + 6) = pixels[1328 + j];
    }
}

void CopyImage(ConstGreyView from, GreyView to) {
    for (size_t i = 0; i < from.Size(); i++)
        to.data[i] = from.data[i];
}

void IrIllumGain(const SensorGains &gains, GreyView corrected) {
    for (int r = 0; r < 2700; r++)
        for (int c = 0; c < 2400; c++)
            *corrected.Pixel(r, c) = Gained(*corrected.Pixel(r, c), gains[r], 7);
}

void IrCrop(ConstGreyView raw, ConstGreyView corrected, const CardPosition &card, const IrPosition &position,
            GreyView irFr, GreyView irBk) {
    for (const bool back : {false, true}) {
        for (int k = 0; k < 1286; k++) {
            uint8_t *work = irWork[1285 - k];
            const int s = (back ? card.backEdgeRow : card.frontEdgeRow) - 1180 + k;
            const int lead = back ? position.backLeadCol : position.frontLeadCol;
            const bool exists = s >= (back ? 1350 : 0) && s <= 2699;
            for (int c = 0; c < 2048; c++)
                work[c] = exists && lead + c <= 2399 ? *corrected.Pixel(s, lead + c) : 3;
            if (exists && (back ? k >= 31 && k <= 1164 : s >= 31 && s <= 1155)) {
                work[2044] = static_cast<uint8_t>(*raw.Pixel(s, 50) * 16);
                work[2045] = static_cast<uint8_t>(*raw.Pixel(s, 51) * 16);
                work[2046] = static_cast<uint8_t>(*raw.Pixel(s, 2350) * 16);
                work[2047] = static_cast<uint8_t>(*raw.Pixel(s, 2349) * 16);
            }
        }
        StretchGrey(irWork, back ? irBk : irFr);
    }
}

void IrDestripe(GreyView image) {
    int even = 0, odd = 0;
    for (int r = 0; r <= 1285; r += 5)
        for (int c = 0; c < 2048; c++)
            (c % 2 == 0 ? even : odd) += *image.Pixel(r, c);
    for (int r = 0; r < 1286; r++)
        for (int c = odd <= even ? 1 : 2; c <= 2046; c += 2)
            *image.Pixel(r, c) = static_cast<uint8_t>((*image.Pixel(r, c - 1) + *image.Pixel(r, c + 1)) >> 1);
}

void IrResp(ConstGreyView irr, ConstGreyView irc, ResponseTable &raw, ResponseTable &corrected) {
    for (const bool cor : {false, true}) {
        for (int r = 0; r < 2700; r++) {
            sums[3][r] = 0;
            for (int c = 500; c < 1500; c += 4)
                sums[3][r] += *(cor ? irc : irr).Pixel(r, c);
        }
        for (int r = 0; r < 2700; r++)
            if (cor)
                corrected[3][r] = static_cast<uint8_t>(sums[3][r] / 250);
            else if (r >= 1 && r <= 2698)
                raw[3][r] = static_cast<uint8_t>((sums[3][r - 1] + 2 * sums[3][r] + sums[3][r + 1]) / 1000);
    }
}

void UvBrighten(ColourView raw) {
    for (size_t i = 0; i < raw.Size(); i++)
        raw.data[i] = static_cast<uint8_t>(std::min(255, raw.data[i] * 9 / 5));
}

void UvRealign(ColourView raw) {
    for (int r = 3; r <= 1196; r++)
        for (int p = 0; p < 1368; p++) {
            raw.Pixel(r, p)[2] = raw.Pixel(r, p)[0];
            raw.Pixel(r, p)[1] = raw.Pixel(r + 2, p)[1];
            if (r + 4 < 1200)
                raw.Pixel(r, p)[0] = raw.Pixel(r + 4, p)[2];
        }
}

void UvBlackSub(ColourView raw) {
    int total[3] = {};
    for (int r = 400; r <= 899; r++)
        for (int p = 640; p <= 649; p++)
            for (int k = 0; k < 3; k++)
                total[k] += raw.Pixel(r, p)[k];
    for (int r = 0; r <= 1198; r++)
        for (int p = 0; p < 1368; p++)
            for (int k = 0; k < 3; k++)
                raw.Pixel(r, p)[k] = static_cast<uint8_t>(
                    std::max(0, raw.Pixel(r, p)[k] - std::min(255, total[k] / 5000 + 2)));
}

void UvIllumGain(const SensorGains &gains, ConstColourView raw, ColourView corrected) {
    for (int r = 0; r < 1200; r++)
        for (int p = 0; p <= 1349; p++)
            for (int k = 0; k < 3; k++) {
                const uint8_t v = raw.Pixel(r, p)[k];
                corrected.Pixel(r, p)[k] = k == 0 && v >= 254 ? v : Gained(v, gains[p], 6);
            }
}

UvMeasure UvWhiteLevel(ConstColourView corrected) {
    int counts[256] = {}, n = 0;
    for (int r = 140; r < 1060; r += 4)
        for (int p = 40; p < 1328; p += 5)
            for (int k = 0; k < 3 && (p < 651 || p > 759); k++) {
                counts[corrected.Pixel(r, p)[k]]++;
                n++;
            }
    const auto level = [&](int x) {
        int total = 0;
        for (int v = 255; v >= 0; v--)
            if ((total += counts[v]) > x)
                return v;
        return -1;
    };
    UvMeasure measure{};
    measure.uvWhite = (level(n / 5000) + 2 * level(n / 2000) + level(n / 1000)) / 4;
    measure.medianLevel = level(n / 2);
    measure.whiteRatio = static_cast<float>(measure.uvWhite) / 255.0F;
    const double gain = std::pow(static_cast<double>(255.0F / static_cast<float>(measure.uvWhite)),
                                 static_cast<double>(0.9F));
    measure.gain = gain < 1 ? 1.0F : gain > 3 ? 3.0F : static_cast<float>(gain);
    return measure;
}

void UvGain(float gain, ColourView corrected) {
    const auto g = static_cast<uint32_t>(gain * 128.0F);
    for (size_t i = 0; i < corrected.Size(); i++)
        corrected.data[i] = Gained(corrected.data[i], g, 7);
}

void UvBlackTable(int medianLevel, float gain, ColourView corrected) {
    const int k = std::min(24, static_cast<int>(static_cast<float>(medianLevel) * gain / 2.0F));
    const float slope = static_cast<float>(255 - k / 4) / static_cast<float>(256 - k);
    uint8_t table[256];
    for (int v = 0; v < 256; v++)
        table[v] =
            static_cast<uint8_t>(v < k ? v / 4 : k / 4 + static_cast<int>(static_cast<float>(v - k) * slope));
    table[255] = 255;
    for (int r = 0; r < 1200; r++)
        for (int p = 0; p <= 1349; p++)
            for (int c = 0; c < 3; c++)
                corrected.Pixel(r, p)[c] = table[corrected.Pixel(r, p)[c]];
}

UvMeasure UvCorrect(const UvOptions &options, const SensorGains &gains, ColourView raw,
                    ColourView corrected) {
    reference::UvRealign(raw);
    if (options.blackSub)
        UvBlackSub(raw);
    if (options.illumGain)
        UvIllumGain(gains, raw, corrected);
    else
        for (size_t i = 0; i < raw.Size(); i++)
            corrected.data[i] = raw.data[i];
    const UvMeasure measure = reference::UvWhiteLevel(corrected);
    if (options.gain)
        UvGain(measure.gain, corrected);
    if (options.blackTable)
        UvBlackTable(measure.medianLevel, measure.gain, corrected);
    return measure;
}

void UvCropFront(ConstColourView corrected, int frontEdgeRow, ColourView uvFr) {
    const int m = frontEdgeRow / 2 + 10;
    for (int i = 0; i <= 642; i++)
        for (int j = 0; j <= 1023; j++)
            for (int k = 0; k < 3; k++) {
                const int column = m + i - 600;
                uvWork[642 - i][j][k] =
                    column < 0 || column > 1367 ? 5 : corrected.Pixel(1095 + 1 - j, column)[k];
            }
    StretchColour(uvWork, uvFr);
}

void UvCropBack(ConstColourView corrected, ColourView uvBk) {
    for (int i = 0; i <= 642; i++)
        for (int j = 0; j <= 1023; j++)
            for (int k = 0; k < 3; k++)
                uvWork[642 - i][j][k] = corrected.Pixel(j + 80 + 2, 1337 - i)[k];
    StretchColour(uvWork, uvBk);
}

void UvResp(ConstColourView uvr, ConstColourView uvc, float gain, ResponseTable &raw,
            ResponseTable &corrected) {
    std::memset(sums, 0, sizeof sums);
    int y0 = 50;
    while (y0 < 200 && !(uvr.Pixel(y0, 100)[0] > 15 && uvr.Pixel(y0, 200)[0] > 15))
        y0++;
    const auto clampByte = [](int v) { return static_cast<uint8_t>(v < 256 ? v : 255); };
    for (int p = 0; p < 1350; p++)
        for (int y = y0 + 350; y < y0 + 850; y += 2)
            for (int k = 0; k < 3; k++)
                sums[6 - k][p] += uvr.Pixel(y, p)[k];
    for (int k = 4; k <= 6; k++)
        for (int p = 1; p <= 1348; p++)
            raw[k][p] = clampByte(static_cast<int>(
                static_cast<float>(sums[k][p - 1] + sums[k][p] + sums[k][p + 1]) * gain / 750.0F));
    std::memset(sums, 0, sizeof sums);
    for (int p = 0; p < 1350; p++)
        for (int y = 250; y < 750; y += 5)
            for (int k = 0; k < 3; k++)
                sums[6 - k][p] += uvc.Pixel(y, p)[k];
    for (int k = 4; k <= 6; k++)
        for (int p = 0; p < 1350; p++)
            corrected[k][p] = clampByte(static_cast<int>(static_cast<float>(sums[k][p]) * gain / 100.0F));
}

void BuildRedImage(ConstColourView corrected, GreyView red0) {
    for (int r = 0; r < 2700; r++)
        for (int c = 0; c < 2300; c++)
            *red0.Pixel(r, c) = c < 12 || c >= 2288 ? 0 : corrected.Pixel(r, c)[2];
}

void BuildIrBarcodeImage(ConstGreyView corrected, GreyView red1) {
    for (size_t i = 0; i < red1.Size(); i++)
        red1.data[i] = 16;
    for (int r = 0; r < 2700; r++)
        for (int c = 0; c <= 2298; c += 2)
            *red1.Pixel(r / 2 + 675, c / 2) = *corrected.Pixel(r, c);
}

} // namespace k274::reference
