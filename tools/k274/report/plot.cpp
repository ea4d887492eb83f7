// Draws in whole units: one a sensor position, four a step of brightness.
#include "tools/k274/report/plot.h"

#include <algorithm>
#include <cmath>

#include "tools/k274/text.h"

namespace host {

namespace {

constexpr int kStep = 4;
constexpr int kLeft = 180, kTop = 60;
constexpr int kWidth = K274_RESP_POSITIONS, kHeight = 255 * kStep;
constexpr int kLegend = kLeft + kWidth + 60;
constexpr int kTotalWidth = kLegend + 420, kTotalHeight = kTop + kHeight + 190;
constexpr int kSidePositions = 1350;

std::string Attribute(const char *name, int value) {
    return std::string(" ") + name + "=\"" + std::to_string(value) + "\"";
}

std::string Line(const std::string &style, int x1, int y1, int x2, int y2) {
    return "<line class=\"" + style + "\"" + Attribute("x1", x1) + Attribute("y1", y1) + Attribute("x2", x2) +
           Attribute("y2", y2) + "/>";
}

std::string Text(int x, int y, const char *anchor, const std::string &text) {
    return "<text" + Attribute("x", x) + Attribute("y", y) + " text-anchor=\"" + anchor + "\">" +
           EscapeHtml(text) + "</text>\n";
}

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
    return "<path class=\"" + Style(curve) + "\" d=\"" + points.substr(points.empty() ? 0 : 1) + "\"/>\n";
}

std::string Axes() {
    std::string svg;
    for (const int value : {0, 64, 128, 192, 255})
        svg += Line("grid", kLeft, Y(value), kLeft + kWidth, Y(value)) +
               Text(kLeft - 20, Y(value) + 15, "end", std::to_string(value));
    for (int position = 0; position <= kWidth; position += 300)
        svg += Line("grid", kLeft + position, Y(255), kLeft + position, Y(0)) +
               Text(kLeft + position, Y(0) + 60, "middle", std::to_string(position));
    svg += Line("middle", kLeft + kSidePositions, Y(255), kLeft + kSidePositions, Y(0));
    svg += Text(kLeft + kSidePositions / 2, kTop - 14, "middle", "front");
    svg += Text(kLeft + kSidePositions + kSidePositions / 2, kTop - 14, "middle", "back");
    svg += Text(kLeft + kWidth / 2, Y(0) + 140, "middle",
                "sensor position (one of the ultraviolet is two wide)");
    svg += "<text transform=\"translate(50 " + std::to_string(Y(128)) +
           ") rotate(-90)\" text-anchor=\"middle\">brightness, 0 to 255</text>\n";
    return svg;
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

// The drawing in numbers.
std::string Table(const std::vector<Curve> &curves, const std::string &title) {
    std::string html =
        "<table>\n<caption>" + EscapeHtml(title) +
        ", in numbers</caption>\n<thead><tr><th scope=\"col\">Curve</th>"
        "<th scope=\"col\" class=\"number\">Lowest</th><th scope=\"col\" class=\"number\">Mean</th>"
        "<th scope=\"col\" class=\"number\">Highest</th></tr></thead>\n<tbody>\n";
    for (const Curve &curve : curves) {
        if (!HasValue(curve))
            continue;
        const Extremes extremes = Measure(curve);
        html += std::string("<tr><th scope=\"row\">") + curve.name + "</th><td class=\"number\">" +
                std::to_string(extremes.least) + "</td><td class=\"number\">" +
                std::to_string(std::lround(extremes.mean)) + "</td><td class=\"number\">" +
                std::to_string(extremes.most) + "</td></tr>\n";
    }
    return html + "</tbody>\n</table>\n";
}

} // namespace

bool HasValues(const std::vector<Curve> &curves) {
    return std::any_of(curves.begin(), curves.end(), HasValue);
}

std::string PlotCurves(const std::vector<Curve> &curves, const std::string &title) {
    std::string svg = "<h3>" + EscapeHtml(title) + "</h3>\n<svg class=\"plot\" role=\"img\" viewBox=\"0 0 " +
                      std::to_string(kTotalWidth) + " " + std::to_string(kTotalHeight) + "\">\n<title>" +
                      EscapeHtml(title) +
                      "; the table below tells their lowest, mean and highest values</title>\n" + Axes();
    int y = kTop + 60;
    for (const Curve &curve : curves) {
        if (!HasValue(curve))
            continue;
        svg += Path(curve);
        svg += Line(Style(curve), kLegend, y, kLegend + 110, y) +
               Text(kLegend + 135, y + 15, "start", curve.name);
        y += 75;
    }
    return svg + "</svg>\n" + Table(curves, title);
}

} // namespace host
