// Values for the sensor test, the jitter test and the calibration.
#include "tools/k274/report/maint.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <vector>

#include "tools/k274/base/states.h"
#include "tools/k274/report/plot.h"
#include "tools/k274/report/sections.h"

namespace host {

using nlohmann::ordered_json;

namespace {

// The colour of a curve comes from its first word.
constexpr const char *kProfiles[K274_STILL_PROFILES] = {"blue A", "green A", "red A",
                                                        "red B",  "blue C",  "green C"};

std::string Pair(const ordered_json &values) {
    return std::to_string(values.at(0).get<int>()) + " / " + std::to_string(values.at(1).get<int>());
}

std::string GradeOf(int verdict) { return verdict > 0 ? "good" : verdict == 0 ? "marginal" : "bad"; }

ordered_json Still(const ordered_json &still) {
    std::vector<Curve> curves;
    ordered_json profiles = ordered_json::array();
    for (size_t i = 0; i < K274_STILL_PROFILES; ++i) {
        const ordered_json &profile = still.at("profiles").at(i);
        Curve curve = {kProfiles[i], {}};
        for (size_t x = 0; x < curve.values.size(); ++x)
            curve.values[x] = std::clamp(profile.at("values").at(x).get<int>(), 0, 255);
        curves.push_back(curve);
        const ordered_json &defects = profile.at("defects");
        const bool sound = defects.at(0) == 0 && defects.at(1) == 0;
        profiles.push_back(
            {{"name", kProfiles[i]},
             {"mean", Pair(profile.at("mean"))},
             {"lowest", Pair(profile.at("lowest"))},
             {"highest", Pair(profile.at("highest"))},
             {"defects", Pair(defects)},
             {"verdict", sound ? Verdict("good", "no defects") : Verdict("marginal", "defects")}});
    }
    return {{"verdict", Verdict(GradeOf(still.at("verdict")), still.at("verdictName"))},
            {"profiles", profiles},
            {"plot", Plot(curves, "Profiles of the still image")}};
}

ordered_json Jitter(const ordered_json &jitter) {
    const int score = jitter.at("score");
    const std::string grade = score < 50 ? "good" : score < 100 ? "marginal" : "bad";
    const ordered_json &most = jitter.at("largestOfFive");
    return {{"score", score},
            {"verdict", Verdict(grade, grade)},
            {"series", most.is_null() ? ordered_json() : ordered_json{{"largest", most.get<int>()}}}};
}

ordered_json Calibration(const ordered_json &calibration) {
    ordered_json rounds = ordered_json::array();
    for (const ordered_json &round : calibration.at("rounds")) {
        const int state = round.at("state");
        rounds.push_back({{"scan", round.at("scan").get<int>()},
                          {"state", state},
                          {"text", state == 0 ? "no calibration card" : DescribeState(state).text}});
    }
    return {{"rounds", rounds}, {"measures", Measures(calibration)}};
}

} // namespace

ordered_json MaintSection(const ordered_json &results) {
    if (results.empty())
        return nullptr;
    const auto part = [&results](const char *name, ordered_json (*make)(const ordered_json &)) {
        return results.contains(name) ? make(results.at(name)) : ordered_json();
    };
    return {{"still", part("still", Still)},
            {"jitter", part("jitter", Jitter)},
            {"calibration", part("calibration", Calibration)}};
}

} // namespace host
