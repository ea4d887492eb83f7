// Plain loops of the infrared and ultraviolet passes.
#include "tests/reference/parts.h"

namespace k274::reference {

namespace {

uint8_t irCrop[1286 * 2048], uvCrop[643 * 1024 * 3];
const GreyView kIrCrop{irCrop, 1286, 2048};
const ColourView kUvCrop{uvCrop, 643, 1024};

} // namespace

void IrLineStore(const uint8_t *block, int firstLine, GreyView raw) {
    LineStore(block, firstLine, {11, 6, 2394, 2393, 6}, raw);
}

void IrIllumGain(ConstGreyView raw, const SensorGains &gains, GreyView corrected) {
    Fill(corrected, [&](int r, int c, int) { return Gained(*raw.Pixel(r, c), gains[r], 7); });
}

void IrCrop(ConstGreyView raw, ConstGreyView corrected, const CardPosition &card, bool enhance, GreyView irFr,
            GreyView irBk) {
    const IrPosition position = FindIrEdges(raw);
    for (const bool back : {false, true}) {
        const int lead = back ? position.backLeadCol : position.frontLeadCol;
        const int first = (back ? card.backEdgeRow : card.frontEdgeRow) - 1180;
        Fill(kIrCrop, [&](int i, int c, int) {
            const int s = first + 1285 - i, dark = back ? s - first : s;
            if (s < (back ? 1350 : 0) || s > 2699)
                return 3;
            if (c >= 2044 && dark >= 31 && dark <= (back ? 1164 : 1155))
                return *raw.Pixel(s, c < 2046 ? c - 1994 : 4396 - c) * 16;
            return lead + c <= 2399 ? *corrected.Pixel(s, lead + c) : 3;
        });
        Stretch(kIrCrop, kIrStretch.data(), back ? irBk : irFr);
        if (enhance)
            IrDestripe(back ? irBk : irFr);
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
    static RowSums sums;
    SumRows(irr, 500, 1500, 4, sums);
    Smooth(sums[0], raw[3]);
    SumRows(irc, 500, 1500, 4, sums);
    for (int r = 0; r < 2700; r++)
        corrected[3][r] = static_cast<uint8_t>(sums[0][r] / 250);
}

void BuildIrBarcodeImage(ConstGreyView corrected, GreyView red1) {
    Fill(red1, [&](int r, int c, int) {
        return r >= 675 && r < 2025 && c < 1150 ? *corrected.Pixel(2 * (r - 675) + 1, 2 * c) : uint8_t{16};
    });
}

void UvBrighten(ColourView raw) {
    Fill(raw, [&](int r, int p, int k) { return std::min(255, raw.Pixel(r, p)[k] * 9 / 5); });
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
    Fill(ColourView{raw.data, 1199, 1368}, [&](int r, int p, int k) {
        return std::max(0, raw.Pixel(r, p)[k] - std::min(255, total[k] / 5000 + 2));
    });
}

void UvIllumGain(const SensorGains &gains, ConstColourView raw, ColourView corrected) {
    Fill(corrected, [&](int r, int p, int k) {
        const uint8_t v = raw.Pixel(r, p)[k];
        return p > 1349 ? corrected.Pixel(r, p)[k] : k == 0 && v >= 254 ? v : Gained(v, gains[p], 6);
    });
}

void UvGain(float gain, ColourView corrected) {
    const auto g = static_cast<uint32_t>(gain * 128.0F);
    Fill(corrected, [&](int r, int p, int k) { return Gained(corrected.Pixel(r, p)[k], g, 7); });
}

void UvBlackTable(int medianLevel, float gain, ColourView corrected) {
    const int k = std::min(24, static_cast<int>(static_cast<float>(medianLevel) * gain / 2.0F));
    const float slope = static_cast<float>(255 - k / 4) / static_cast<float>(256 - k);
    uint8_t table[256];
    for (int v = 0; v < 255; v++)
        table[v] =
            static_cast<uint8_t>(v < k ? v / 4 : k / 4 + static_cast<int>(static_cast<float>(v - k) * slope));
    table[255] = 255;
    Fill(corrected, [&](int r, int p, int c) {
        const uint8_t v = corrected.Pixel(r, p)[c];
        return p > 1349 ? v : table[v];
    });
}

void UvCorrect(const UvOptions &options, const SensorGains &gains, ColourView raw, ColourView corrected) {
    reference::UvRealign(raw);
    if (options.blackSub)
        UvBlackSub(raw);
    if (options.illumGain)
        UvIllumGain(gains, raw, corrected);
    else
        Copy<3>(raw, corrected);
    const UvMeasure measure = UvWhiteLevel(corrected);
    if (options.gain)
        UvGain(measure.gain, corrected);
    if (options.blackTable)
        UvBlackTable(measure.medianLevel, measure.gain, corrected);
}

void UvCropFront(ConstColourView corrected, int frontEdgeRow, ColourView uvFr) {
    Fill(kUvCrop, [&](int i, int j, int k) {
        const int column = frontEdgeRow / 2 + 10 + 642 - i - 600;
        return column < 0 || column > 1367 ? uint8_t{5} : corrected.Pixel(1096 - j, column)[k];
    });
    Stretch(kUvCrop, kUvStretch.data(), uvFr);
}

void UvCropBack(ConstColourView corrected, ColourView uvBk) {
    Fill(kUvCrop, [&](int i, int j, int k) { return corrected.Pixel(j + 82, 1337 - 642 + i)[k]; });
    Stretch(kUvCrop, kUvStretch.data(), uvBk);
}

void UvResp(ConstColourView uvr, ConstColourView uvc, float gain, ResponseTable &raw,
            ResponseTable &corrected) {
    static int32_t sums[2][3][1350];
    int y0 = 50;
    while (y0 < 200 && !(uvr.Pixel(y0, 100)[0] > 15 && uvr.Pixel(y0, 200)[0] > 15))
        y0++;
    for (int p = 0; p < 1350; p++)
        for (int k = 0; k < 3; k++) {
            sums[0][k][p] = sums[1][k][p] = 0;
            for (int i = 0; i < 250; i++)
                sums[0][k][p] += uvr.Pixel(y0 + 350 + 2 * i, p)[k];
            for (int i = 0; i < 100; i++)
                sums[1][k][p] += uvc.Pixel(250 + 5 * i, p)[k];
        }
    const auto mean = [&](int sum, float samples) {
        return static_cast<uint8_t>(
            std::min(255, static_cast<int>(static_cast<float>(sum) * gain / samples)));
    };
    for (int k = 0; k < 3; k++)
        for (int p = 0; p < 1350; p++) {
            const int32_t *at = &sums[0][k][p];
            if (p > 0 && p < 1349)
                raw[6 - k][p] = mean(at[-1] + at[0] + at[1], 750.0F);
            corrected[6 - k][p] = mean(sums[1][k][p], 100.0F);
        }
}

} // namespace k274::reference
