// The curves in whole units: one a sensor position, four a step of brightness.
#include "tools/k274/report/plot.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

namespace host {

using nlohmann::ordered_json;

namespace {

// As the axes lie in page/plot.html.
constexpr int kStep = 4, kLeft = 180, kTop = 60;

int Y(int value) { return kTop + (255 - value) * kStep; }

bool IsUltraviolet(const Curve &curve) { return std::string(curve.name).compare(0, 2, "UV") == 0; }

std::string Style(const Curve &curve) {
    const std::string name = curve.name;
    return "curve " + (IsUltraviolet(curve) ? "uv-" + name.substr(3) : name);
}

bool HasValue(const Curve &curve) {
    return std::any_of(curve.values.begin(), curve.values.end(), [](int value) { return value != kNoValue; });
}

// Gaps interrupt the line. An ultraviolet position is as wide as two others.
std::string Path(const Curve &curve) {
    const int spread = IsUltraviolet(curve) ? 2 : 1;
    std::string points;
    bool drawing = false;
    for (size_t i = 0; i < curve.values.size(); ++i) {
        const int value = curve.values[i], x = kLeft + static_cast<int>(i) * spread;
        if (value != kNoValue)
            points += (drawing ? " " : " M") + std::to_string(x) + "," + std::to_string(Y(value));
        drawing = value != kNoValue;
    }
    return points.substr(points.empty() ? 0 : 1);
}

struct Extremes {
    int least = 255, most = 0;
    double mean = 0;
};

Extremes Measure(const Curve &curve) {
    Extremes extremes;
    int count = 0;
    for (const int value : curve.values) {
        if (value == kNoValue)
            continue;
        extremes.least = std::min(extremes.least, value);
        extremes.most = std::max(extremes.most, value);
        extremes.mean += value;
        ++count;
    }
    extremes.mean /= std::max(count, 1);
    return extremes;
}

} // namespace

bool HasValues(const std::vector<Curve> &curves) {
    return std::any_of(curves.begin(), curves.end(), HasValue);
}

ordered_json Plot(const std::vector<Curve> &curves, const std::string &title) {
    ordered_json drawn = ordered_json::array();
    int y = kTop + 60;
    for (const Curve &curve : curves) {
        if (!HasValue(curve))
            continue;
        const Extremes extremes = Measure(curve);
        drawn.push_back({{"name", curve.name},
                         {"style", Style(curve)},
                         {"path", Path(curve)},
                         {"lineY", y},
                         {"textY", y + 15},
                         {"lowest", extremes.least},
                         {"mean", std::lround(extremes.mean)},
                         {"highest", extremes.most}});
        y += 75;
    }
    return {{"title", title}, {"curves", drawn}};
}

} // namespace host
