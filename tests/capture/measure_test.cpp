// Levels, edges, card size, card length, white level and lamp on drawn images, and the tables that tones
// come from (measured.txt).
#include "src/capture/measure.h"

#include "include/k274.h"
#include "src/capture/ir_crop.h"
#include "src/capture/red_contrast.h"
#include "src/capture/uv_crop.h"
#include "src/capture/uv_tones.h"
#include "tests/capture/drawings.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>

namespace k274 {
namespace {

TEST(MeasureTest, DrawnImages) {
    ColourImage rgb, uv = UvImage(), uvBk(K274_UV_HEIGHT, K274_UV_WIDTH, 0);
    GreyImage ir;
    PlayDrawings("capture/measured.txt",
                 {{"rgb", rgb.View()}, {"ir", ir.View()}, {"uv", uv.View()}, {"uvBk", uvBk.View()}},
                 {{"Levels",
                   [&](auto &) {
                       const Levels visible = RgbLevels(rgb.View()), infrared = IrLevels(ir.View()),
                                    ultraviolet = UvLevels(uv.View());
                       return Words(visible.front, visible.back, infrared.front, infrared.back,
                                    ultraviolet.front, ultraviolet.back);
                   }},
                  {"FindIrEdges",
                   [&](auto &) {
                       const IrPosition at = FindIrEdges(ir.View());
                       return Words(at.frontLeadCol, at.backLeadCol);
                   }},
                  {"MeasureCard",
                   [&](auto &) {
                       const CardMeasure card = MeasureCard(rgb.View());
                       return Words(card.top, card.backOffset, card.width, card.frontHeight, card.backHeight,
                                    card.aspectDeviation);
                   }},
                  {"RgbLengthCheck",
                   [&](auto &) {
                       const LengthResult length = RgbLengthCheck(rgb.View());
                       return Words(length.deviation, length.mismatch);
                   }},
                  {"LengthCheck",
                   [&](auto &) {
                       const LengthResults length = LengthCheck(rgb.View(), ir.View(), uv.View());
                       return Words(length.rgb, length.ir, length.uv, length.mismatch);
                   }},
                  {"UvWhiteLevel",
                   [&](auto &) {
                       const UvMeasure level = UvWhiteLevel(uv.View());
                       return Words(level.uvWhite, level.medianLevel, level.whiteRatio, level.gain);
                   }},
                  {"UvLedCheck", [&](auto &) { return Words(UvLedCheck(uvBk.View())); }},
                  {"ContrastTable", [&](auto &places) { return WordsAt(BuildContrastTable(), places); }},
                  {"UvBlackTable", [&](auto &places) {
                       int median = 0;
                       float gain = 0;
                       places >> median >> gain;
                       return WordsAt(UvBlackTable(median, gain), places);
                   }}});
}

} // namespace
} // namespace k274
