// The fixed, process-wide buffers of the line transfer and the views that give them their geometry. Written
// by the monitor thread alone; RED0, RED1 and IRc under the barcode lock, since decoders copy them.
#pragma once

#include "include/k274.h"
#include "src/capture/red_contrast.h"
#include "src/common/geometry.h"
#include "src/common/view.h"

#include <atomic>

namespace k274 {

/// Visible light: one row per sensor position, one column per scan line. The raw image, and a copy of it
/// made after the pass and corrected.
extern uint8_t RGBr[kSensorRows * kRgbColumns * 3];
extern uint8_t RGBc[kSensorRows * kRgbColumns * 3];
/// Infrared, laid out alike.
extern uint8_t IRr[kSensorRows * kIrColumns];
extern uint8_t IRc[kSensorRows * kIrColumns];
/// Ultraviolet: one row per scan line.
extern uint8_t UVr[kUvLines * kUvPixels * 3];
extern uint8_t UVc[kUvLines * kUvPixels * 3];
/// The stripe in infrared light.
extern uint8_t MSIr[K274_MSIR_HEIGHT * K274_MSIR_WIDTH];
/// The barcode images: the red channel of RGBc; the same with more contrast, or the infrared image.
extern uint8_t RED0[kSensorRows * kRgbColumns];
extern uint8_t RED1[kSensorRows * kRgbColumns];

/// 1200 dpi: the line store and, right behind it, the turned image. Allocated by the first capture and kept:
/// the library stays loaded while one of its threads may be using them.
extern std::atomic<uint8_t *> hiresStore;

inline ColourView RawColour() { return {RGBr, kSensorRows, kRgbColumns}; }
inline ColourView CorrectedColour() { return {RGBc, kSensorRows, kRgbColumns}; }
inline GreyView RawInfrared() { return {IRr, kSensorRows, kIrColumns}; }
inline GreyView CorrectedInfrared() { return {IRc, kSensorRows, kIrColumns}; }
inline ColourView RawUltraviolet() { return {UVr, kUvLines, kUvPixels}; }
inline ColourView CorrectedUltraviolet() { return {UVc, kUvLines, kUvPixels}; }
inline GreyView RawStripe() { return {MSIr, K274_MSIR_HEIGHT, K274_MSIR_WIDTH}; }
inline GreyView Red0() { return {RED0, kSensorRows, kRgbColumns}; }
inline GreyView Red1() { return {RED1, kSensorRows, kRgbColumns}; }

/// Contrast of the red-channel barcode image; built when the session starts.
extern ContrastTable contrastTable;

} // namespace k274
