// What a scan computes, written as plain loops, one statement a rule: what the tests hold the fast functions
// to and the benchmarks measure them against. Slow on purpose; keep them literal.
#pragma once

#include "src/capture/hires.h"
#include "src/capture/ir_crop.h"
#include "src/capture/red_contrast.h"
#include "src/capture/rgb_gain.h"
#include "src/capture/uv_correct.h"
#include "src/state/scan_measures.h"

namespace k274::reference {

/// Every byte of an image by its row, column and channel.
template <int Channels, typename Formula>
void Fill(ImageView<uint8_t, Channels> image, const Formula &formula) {
    for (int r = 0; r < image.rows; r++)
        for (int c = 0; c < image.columns; c++)
            for (int k = 0; k < Channels; k++)
                image.Pixel(r, c)[k] = static_cast<uint8_t>(formula(r, c, k));
}

template <int Channels>
void Copy(ImageView<const uint8_t, Channels> from, ImageView<uint8_t, Channels> to) {
    Fill(to, [&](int r, int c, int k) { return from.Pixel(r, c)[k]; });
}

using SensorGains = uint16_t[kSensorRows];

// Visible light
void RgbLineStore(const uint8_t *block, int linesLeft, ColourView raw);
void RgbIllumGain(ConstColourView raw, const RgbGains &gains, ColourView corrected);
void RgbWccGain(char kind, const RgbGains &gains, ColourView corrected);
/// Cuts; the card must have been found.
void RgbCrop(ConstColourView raw, ConstColourView corrected, const CardPosition &at, ColourView natFr,
             ColourView natBk, ColourView edge);
void RgbResp(ConstColourView rgbr, ResponseTable &raw);
void RgbCorResp(ConstColourView rgbc, ResponseTable &corrected);
void BuildRedImage(ConstColourView corrected, GreyView red0);
void RedContrast(const ContrastTable &table, ConstGreyView red0, GreyView red1);

// Infrared
void IrLineStore(const uint8_t *block, int firstLine, GreyView raw);
void IrIllumGain(ConstGreyView raw, const SensorGains &gains, GreyView corrected);
/// Cuts and stretches where FindIrEdges finds the card; then, when asked to, IrDestripe.
void IrCrop(ConstGreyView raw, ConstGreyView corrected, const CardPosition &card, bool enhance, GreyView irFr,
            GreyView irBk);
void IrDestripe(GreyView image);
void IrResp(ConstGreyView irr, ConstGreyView irc, ResponseTable &raw, ResponseTable &corrected);
void BuildIrBarcodeImage(ConstGreyView corrected, GreyView red1);

// Ultraviolet
void UvBrighten(ColourView raw);
void UvRealign(ColourView raw);
void UvBlackSub(ColourView raw);
void UvIllumGain(const SensorGains &gains, ConstColourView raw, ColourView corrected);
void UvGain(float gain, ColourView corrected);
void UvBlackTable(int medianLevel, float gain, ColourView corrected);
/// The steps from UvRealign on, in their order, by the white level that UvWhiteLevel finds.
void UvCorrect(const UvOptions &options, const SensorGains &gains, ColourView raw, ColourView corrected);
void UvCropFront(ConstColourView corrected, int frontEdgeRow, ColourView uvFr);
void UvCropBack(ConstColourView corrected, ColourView uvBk);
void UvResp(ConstColourView uvr, ConstColourView uvc, float gain, ResponseTable &raw,
            ResponseTable &corrected);

// 1200 dpi
void HrRealign(HrMode mode, ColourView lines);
void HrGain(HrMode mode, const RgbGains &gains, ColourView lines);
void HrTurn(HrMode mode, ConstColourView lines, ColourView turned);
void HrSplit(ConstColourView turned, ColourView sliFr, ColourView sliBk);

} // namespace k274::reference
