// Sensor test, jitter test and calibration: tables with marks, and the profiles of the still image.
#include "tools/k274/report/workshop.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <vector>

#include "tools/k274/report/html.h"
#include "tools/k274/report/plot.h"
#include "tools/k274/report/sections.h"
#include "tools/k274/states.h"
#include "tools/k274/text.h"

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

std::string StillPart(const ordered_json &still) {
    std::vector<Curve> curves;
    std::string rows;
    for (size_t i = 0; i < K274_STILL_PROFILES; ++i) {
        const ordered_json &profile = still.at("profiles").at(i);
        Curve curve = {kProfiles[i], {}};
        for (size_t x = 0; x < curve.values.size(); ++x)
            curve.values[x] = std::clamp(profile.at("values").at(x).get<int>(), 0, 255);
        curves.push_back(curve);
        const ordered_json &defects = profile.at("defects");
        const bool sound = defects.at(0) == 0 && defects.at(1) == 0;
        rows += RowHead(kProfiles[i]) + Cell(Pair(profile.at("mean")), "number") +
                Cell(Pair(profile.at("lowest")), "number") + Cell(Pair(profile.at("highest")), "number") +
                Cell(Pair(defects), "number") +
                Cell(sound ? Verdict("good", "no defects") : Verdict("marginal", "defects")) + "</tr>\n";
    }
    const std::string verdict = EscapeHtml(still.at("verdictName").get<std::string>());
    return "<h3>Sensor test</h3>\n<p>" + Verdict(GradeOf(still.at("verdict")), verdict) + "</p>\n" +
           Table("Profiles of the still image, front / back",
                 {"Profile", "#Mean", "#Lowest", "#Highest", "#Defects", "Verdict"}, rows) +
           PlotCurves(curves, "Profiles of the still image");
}

std::string JitterPart(const ordered_json &jitter) {
    const int score = jitter.at("score");
    const std::string grade = score < 50 ? "good" : score < 100 ? "marginal" : "bad";
    const ordered_json &most = jitter.at("largestOfFive");
    std::string rows = RowHead("This card") + Cell(std::to_string(score), "number") +
                       Cell(Verdict(grade, grade)) + "</tr>\n";
    if (!most.is_null())
        rows += RowHead("Largest of five") + Cell(std::to_string(most.get<int>()), "number") + Cell("") +
                "</tr>\n";
    return "<h3>Jitter test</h3>\n" + Table("Jitter, 0 at best", {"Scan", "#Score", "Verdict"}, rows);
}

std::string CalibrationPart(const ordered_json &calibration) {
    std::string rows;
    for (const ordered_json &round : calibration.at("rounds")) {
        const int state = round.at("state");
        rows += RowHead(std::to_string(round.at("scan").get<int>())) + Cell(std::to_string(state), "number") +
                Cell(EscapeHtml(state == 0 ? "no calibration card" : DescribeState(state).text)) + "</tr>\n";
    }
    return "<h3>Calibration</h3>\n" + Table("Cards", {"Card", "#Code", "What the library did"}, rows) +
           Table("Measures of the last card", {"Measure", "#Value", "Good", "Verdict"},
                 MeasureRows(calibration));
}

} // namespace

std::string WorkshopSection(const ordered_json &results) {
    std::string html;
    if (results.contains("still"))
        html += StillPart(results.at("still"));
    if (results.contains("jitter"))
        html += JitterPart(results.at("jitter"));
    if (results.contains("calibration"))
        html += CalibrationPart(results.at("calibration"));
    return html.empty() ? html
                        : "<section class=\"whole\" aria-labelledby=\"workshop\">\n<h2 "
                          "id=\"workshop\">Workshop</h2>\n" +
                              html + "</section>\n";
}

} // namespace host
