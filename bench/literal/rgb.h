// The visible-light pass written as plain loops, one statement per rule: what the tests hold the fast
// functions to, and what the benchmark measures them against. Slow on purpose; keep them literal.
#pragma once

#include "src/capture/red_contrast.h"
#include "src/capture/rgb_crop.h"
#include "src/capture/rgb_gain.h"
#include "src/capture/rgb_store.h"
#include "src/state/scan_measures.h"

namespace k274::reference {

void RgbLineStore(const uint8_t *block, int linesLeft, ColourView raw);
void CopyImage(ConstColourView from, ColourView to);
void RgbIllumGain(const RgbGains &gains, ColourView corrected);
void RgbWccGain(char kind, const RgbGains &gains, ColourView corrected);
CardPosition FindCard(ColourView raw);
void RgbCrop(ColourView raw, ConstColourView corrected, CardPosition &position, ColourView natFr,
             ColourView natBk, ColourView edge);
void RedContrast(const ContrastTable &table, ConstGreyView red0, GreyView red1);
void RgbResp(ConstColourView rgbr, ResponseTable &raw);
void RgbCorResp(ConstColourView rgbc, ResponseTable &corrected);
/// Truncated means of the front and the back.
void RgbLevels(ConstColourView raw, int &front, int &back);

/// What the white-card test counts, front and back.
struct WhiteCounts {
    int samples[2], dark[2], mean[2];
    bool white;
};
WhiteCounts WhiteTest(ConstColourView raw);

} // namespace k274::reference
