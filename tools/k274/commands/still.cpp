// Takes a still image and puts what the library makes of it into words.
#include "tools/k274/commands/still.h"

#include <cstddef>
#include <utility>

#include "tools/k274/commands/maint.h"

namespace host {

namespace {

using nlohmann::ordered_json;

constexpr const char *kProfiles[] = {"blue A", "green A", "red A", "red B", "blue C", "green C"};

const char *VerdictWord(int32_t verdict) {
    switch (verdict) {
    case 2:
        return "perfect";
    case 1:
        return "good";
    case 0:
        return "acceptable";
    default:
        return "failed";
    }
}

} // namespace

StillImage TakeStill() {
    StillImage still = {std::vector<uint8_t>(K274_STILL_BYTES), {}, {}};
    if (K274_StillImage(still.pixels.data()) != 0)
        NoAnswer("still image");
    K274_SiDat(&still.result);
    const K274_StillResult &result = still.result;
    std::vector<uint8_t> profiles(size_t{K274_STILL_PROFILES} * K274_RESP_POSITIONS);
    K274_SiAry(profiles.data());
    ordered_json rows = ordered_json::array();
    for (size_t i = 0; i < K274_STILL_PROFILES; ++i) {
        const auto begin = profiles.begin() + static_cast<std::ptrdiff_t>(i * K274_RESP_POSITIONS);
        rows.push_back({{"name", kProfiles[i]},
                        {"mean", result.means[i]},
                        {"lowest", result.floors[i]},
                        {"highest", result.peaks[i]},
                        {"defects", result.defects[i]},
                        {"values", std::vector<int>(begin, begin + K274_RESP_POSITIONS)}});
    }
    ordered_json summary = {{"verdict", result.verdict},
                            {"verdictName", VerdictWord(result.verdict)},
                            {"noise", result.noise},
                            {"darkSamples", result.darkCount},
                            {"steps", {{"A", result.stepsA}, {"C", result.stepsC}}},
                            {"balance", {result.balance[0], result.balance[1], result.balance[2]}},
                            {"ranges", {result.rangeA, result.rangeB, result.rangeC}},
                            {"edges", result.edges},
                            {"widthDifference", result.widthDifference},
                            {"sideScores", result.sideScores},
                            {"segmentScores", result.segmentScores},
                            {"profiles", rows}};
    still.description = std::move(summary);
    return still;
}

} // namespace host
