// White-card test, dust, statistics, quality and summary of a scan, on drawn images and response tables
// (measured.txt).
#include "src/analysis/scan_analysis.h"

#include "src/analysis/dust.h"
#include "src/analysis/white_test.h"
#include "tests/capture/drawings.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace k274 {
namespace {

TEST(ScanAnalysisTest, DrawnImagesAndTables) {
    ColourImage rgb, uv = UvImage();
    GreyImage ir, raw(kResponseTables, kSensorRows, 0), corrected = raw;
    const auto table = [](GreyImage &image) -> ResponseTable & {
        return *reinterpret_cast<ResponseTable *>(image.bytes.data());
    };
    const auto owned = std::make_unique<ScanMeasures>();
    ScanMeasures &m = *owned;
    const auto values = [](const auto &...of) { return [&](auto &) { return Words(of...); }; };
    PlayDrawings("analysis/measured.txt",
                 {{"rgb", rgb.View()},
                  {"ir", ir.View()},
                  {"uv", uv.View()},
                  {"raw", raw.View()},
                  {"corrected", corrected.View()},
                  {"profile", GreyView{m.ftProfile[0], kFtPlanes, kFtPoints}}},
                 {{"card",
                   [&](auto &words) {
                       words >> m.cardClass >> m.cardVariant >> m.cardCode >> m.forwardRead;
                       return "";
                   }},
                  {"WhiteTest",
                   [&](auto &) {
                       const bool white = WhiteTest(rgb.View(), m);
                       return Words(white, m.cardClass, m.cardVariant, m.cardCode, m.whiteSamples,
                                    m.whiteDark, m.whiteMean);
                   }},
                  {"DustCheck",
                   [&](auto &) {
                       DustCheck(rgb.View(), ir.View(), m);
                       return Words(m.dustCount, m.dustPerChannel);
                   }},
                  {"ScanAnalysis",
                   [&](auto &) {
                       ScanAnalysis({rgb.View(), ir.View(), uv.View()}, m, table(raw), table(corrected));
                       return "";
                   }},
                  {"High", values(m.respHigh)},
                  {"Low", values(m.respLow)},
                  {"Means", values(m.correctedMeans)},
                  {"Grades", values(m.gradeSums)},
                  {"Windows", values(m.windowMeans)},
                  {"Steps", values(m.stepMaxima)},
                  {"Ratios", values(m.ratios)},
                  {"Scores", values(m.profileScore, m.streakScore)}});
}

} // namespace
} // namespace k274
