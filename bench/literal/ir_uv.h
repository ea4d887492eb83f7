// The infrared and ultraviolet passes, their profiles and the barcode images written as plain loops, one
// statement per rule: what the tests hold the fast functions to, and what the benchmark measures them
// against. Slow on purpose; keep them literal.
#pragma once

#include "src/capture/ir_crop.h"
#include "src/capture/ir_destripe.h"
#include "src/capture/ir_gain.h"
#include "src/capture/ir_store.h"
#include "src/capture/stretch.h"
#include "src/capture/uv_correct.h"
#include "src/capture/uv_crop.h"
#include "src/state/scan_measures.h"

namespace k274::reference {

using SensorGains = uint16_t[kSensorRows];

void IrLineStore(const uint8_t *block, int firstLine, GreyView raw);
void CopyImage(ConstGreyView from, GreyView to);
void IrIllumGain(const SensorGains &gains, GreyView corrected);
/// Cuts and stretches; the edges must have been found.
void IrCrop(ConstGreyView raw, ConstGreyView corrected, const CardPosition &card, const IrPosition &position,
            GreyView irFr, GreyView irBk);
void IrDestripe(GreyView image);
void IrResp(ConstGreyView irr, ConstGreyView irc, ResponseTable &raw, ResponseTable &corrected);

void UvBrighten(ColourView raw);
void UvRealign(ColourView raw);
void UvBlackSub(ColourView raw);
void UvIllumGain(const SensorGains &gains, ConstColourView raw, ColourView corrected);
UvMeasure UvWhiteLevel(ConstColourView corrected);
void UvGain(float gain, ColourView corrected);
void UvBlackTable(int medianLevel, float gain, ColourView corrected);
void UvCropFront(ConstColourView corrected, int frontEdgeRow, ColourView uvFr);
void UvCropBack(ConstColourView corrected, ColourView uvBk);
void UvResp(ConstColourView uvr, ConstColourView uvc, float gain, ResponseTable &raw,
            ResponseTable &corrected);

/// The steps from UvRealign on, in their order.
UvMeasure UvCorrect(const UvOptions &options, const SensorGains &gains, ColourView raw, ColourView corrected);

void BuildRedImage(ConstColourView corrected, GreyView red0);
void BuildIrBarcodeImage(ConstGreyView corrected, GreyView red1);

} // namespace k274::reference
