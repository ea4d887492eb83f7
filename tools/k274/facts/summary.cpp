// Lines for a terminal.
#include "tools/k274/facts/summary.h"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "tools/k274/facts/carddata.h"

namespace host {

using nlohmann::ordered_json;

namespace {

std::string Padded(std::string name) {
    name.resize(name.size() < 18 ? 18 : name.size(), ' ');
    return name;
}

void AddBarcodes(const ordered_json &barcodes, std::vector<std::string> &lines) {
    if (barcodes.is_null())
        return;
    bool found = false;
    for (const char *kind : {"pdf417", "linear"}) {
        if (barcodes.at(kind).is_null())
            continue;
        lines.push_back(BarcodeLine(barcodes.at(kind)));
        for (const ordered_json &element : barcodes.at(kind).value("elements", ordered_json::array()))
            lines.push_back(ElementLine(element));
        found = true;
    }
    if (!found)
        lines.push_back(Padded("barcodes") + "none read");
}

} // namespace

Verdicts CountVerdicts(const ordered_json &measures) {
    Verdicts verdicts;
    for (const ordered_json &measure : measures) {
        const ordered_json &grade = measure.at("grade");
        verdicts.good += grade == "good" ? 1 : 0;
        verdicts.marginal += grade == "marginal" ? 1 : 0;
        verdicts.bad += grade == "bad" ? 1 : 0;
    }
    return verdicts;
}

std::string ValueText(const ordered_json &measure) {
    if (!measure.at("value").is_number())
        return "none";
    char text[40];
    std::snprintf(text, sizeof text, "%.7g", measure.at("value").get<double>());
    const std::string unit = measure.at("unit");
    return unit.empty() ? text : text + (" " + unit);
}

std::vector<std::string> SummaryLines(const ordered_json &description) {
    std::vector<std::string> lines;
    for (const ordered_json &track : description.at("stripe"))
        lines.push_back(TrackLine(track));
    AddBarcodes(description.at("barcodes"), lines);
    const ordered_json &measures = description.at("measures");
    const Verdicts verdicts = CountVerdicts(measures);
    lines.push_back(Padded("measures") + std::to_string(verdicts.good) + " good, " +
                    std::to_string(verdicts.marginal) + " marginal, " + std::to_string(verdicts.bad) +
                    " bad");
    for (const ordered_json &measure : measures) {
        const ordered_json &grade = measure.at("grade");
        if (grade == "marginal" || grade == "bad")
            lines.push_back("  " + grade.get<std::string>() + ": " + measure.at("name").get<std::string>() +
                            " " + ValueText(measure) + " (" + measure.at("limits").get<std::string>() + ")");
    }
    return lines;
}

} // namespace host
