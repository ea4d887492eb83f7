// Values for the head, the tables and the lists of a report.
#include "tools/k274/report/sections.h"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "tools/k274/base/states.h"
#include "tools/k274/base/text.h"
#include "tools/k274/facts/summary.h"

namespace host {

using nlohmann::ordered_json;

namespace {

bool IsFile(const ordered_json &scan) { return scan.at("format") == "k274-file"; }

std::string Plain(const ordered_json &value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
}

// Texts from cards. Control characters are shown by their names: few fonts have pictures of them.
std::string Shown(const ordered_json &text) {
    constexpr const char *kNames[32] = {"NUL", "SOH", "STX", "ETX", "EOT", "ENQ", "ACK", "BEL",
                                        "BS",  "HT",  "LF",  "VT",  "FF",  "CR",  "SO",  "SI",
                                        "DLE", "DC1", "DC2", "DC3", "DC4", "NAK", "SYN", "ETB",
                                        "CAN", "EM",  "SUB", "ESC", "FS",  "GS",  "RS",  "US"};
    std::string html;
    for (const char c : EscapeHtml(text.get<std::string>())) {
        const auto byte = static_cast<uint8_t>(c);
        if (byte < 32 || byte == 127)
            html += std::string("<i class=\"control\">") + (byte < 32 ? kNames[byte] : "DEL") + "</i><wbr>";
        else
            html += c;
    }
    return html;
}

void AddFact(ordered_json &facts, const char *name, const std::string &value) {
    if (!value.empty())
        facts.push_back({{"name", name}, {"value", value}});
}

ordered_json Tracks(const ordered_json &scan) {
    ordered_json tracks = ordered_json::array();
    for (const ordered_json &track : scan.at("stripe")) {
        const bool empty = track.at("characters") == 0;
        const char *state = !empty ? "" : track.at("bits") == 0 ? "nothing on it" : "not readable";
        tracks.push_back(
            {{"track", track.at("track")},
             {"content", Shown(track.at("text"))},
             {"state", state},
             {"verdict", empty                    ? ordered_json()
                         : track.at("error") == 0 ? Verdict("good", "good")
                                                  : Verdict("bad", "damaged, the text ends there")},
             {"characters", track.at("characters")},
             {"bits", track.at("bits")}});
    }
    return tracks;
}

ordered_json Code(const ordered_json &code, const ordered_json &barcodes) {
    ordered_json properties = ordered_json::array();
    const auto add = [&](const char *name, const ordered_json &value, const char *unit = "") {
        if (!value.is_null())
            properties.push_back({{"name", name}, {"value", Plain(value) + unit}});
    };
    add("Length", code.at("length"), " bytes");
    add("Rows", code.value("rows", ordered_json()));
    add("Columns", code.value("columns", ordered_json()));
    add("Error correction level", code.value("correctionLevel", ordered_json()));
    add("Narrowest bar", code.value("moduleWidth", ordered_json()), " pixels");
    add("Side", barcodes.value("side", ordered_json()));
    add("Orientation", barcodes.value("orientation", ordered_json()));
    add("Read by decoder", barcodes.value("decoder", ordered_json()));
    add("Time", barcodes.at("durationMs"), " ms");
    return {{"symbology", code.at("symbology").get<std::string>()},
            {"content", Shown(code.at("text"))},
            {"properties", properties},
            {"licence", nullptr}};
}

ordered_json Elements(const ordered_json &code) {
    ordered_json elements = ordered_json::array();
    for (const ordered_json &element : code.at("elements"))
        elements.push_back({{"name", element.at("name")},
                            {"unknown", element.at("name").is_null()},
                            {"id", element.at("id").get<std::string>()},
                            {"content", Shown(element.at("value"))},
                            {"meaning", element.value("meaning", "")}});
    return elements;
}

void AddBarcodes(const ordered_json &scan, ordered_json &page) {
    const ordered_json &barcodes = scan.at("barcodes");
    ordered_json codes = ordered_json::array();
    if (!barcodes.is_null()) {
        for (const char *kind : {"pdf417", "linear"}) {
            const ordered_json &code = barcodes.at(kind);
            if (code.is_null())
                continue;
            codes.push_back(Code(code, barcodes));
            if (code.contains("elements"))
                codes.back()["licence"] = {{"elements", Elements(code)}};
        }
    }
    page["notDecoded"] = barcodes.is_null();
    page["nothingRead"] = !barcodes.is_null() && codes.empty();
    page["codes"] = codes;
}

bool IsWhite(const ordered_json &scan) {
    return scan.at("kind").is_object() && scan.at("kind").at("kind") == "white";
}

std::string Title(const ordered_json &scan) {
    const std::string when = IsFile(scan) ? scan.at("information").at("date") : scan.at("started");
    return "Card scan of " + when;
}

ordered_json VerdictsOf(const ordered_json &scan) {
    const Verdicts counts = CountVerdicts(scan.at("measures"));
    ordered_json verdicts = ordered_json::array();
    for (const auto &[grade, count] : {std::pair("good", counts.good), std::pair("marginal", counts.marginal),
                                       std::pair("bad", counts.bad)}) {
        if (count != 0)
            verdicts.push_back(Verdict(grade, std::to_string(count) + " " + grade));
    }
    return verdicts;
}

ordered_json Facts(const ordered_json &scan) {
    ordered_json facts = ordered_json::array();
    if (IsFile(scan)) {
        const ordered_json &head = scan.at("information");
        AddFact(facts, "File", scan.at("file"));
        AddFact(facts, "Second serial number", head.at("serialNumber2"));
        AddFact(facts, "Firmware", head.at("firmware"));
        AddFact(facts, "FPGA", head.at("fpga"));
        AddFact(facts, "Hardware", Plain(head.at("hardware")));
        AddFact(facts, "Library", head.at("library"));
        AddFact(facts, "Card", IsWhite(scan) ? "white card" : "ordinary card");
        return facts;
    }
    const ordered_json &versions = scan.at("versions"), &card = scan.at("card");
    char size[80];
    std::snprintf(size, sizeof size, "%.2f mm long, %.2f mm high (back %.2f mm)",
                  card.at("widthMm").get<double>(), card.at("frontHeightMm").get<double>(),
                  card.at("backHeightMm").get<double>());
    AddFact(facts, "Device", scan.at("device"));
    AddFact(facts, "Serial number", Plain(versions.at("serialNumber")));
    AddFact(facts, "Firmware", versions.at("firmware"));
    AddFact(facts, "FPGA", versions.at("fpga"));
    AddFact(facts, "Hardware", Plain(versions.at("hardware")));
    AddFact(facts, "Library", versions.at("library"));
    AddFact(facts, "Mode", scan.at("options").at("mode"));
    AddFact(facts, "Card", size);
    AddFact(facts, "Kind", scan.at("kind").is_null() ? "" : IsWhite(scan) ? "white card" : "ordinary card");
    AddFact(facts, "Virtual card", scan.value("virtual", ordered_json::object()).value("card", ""));
    return facts;
}

const char *MeasuresNote(const ordered_json &scan) {
    if (scan.at("kind").is_null())
        return "This scan was not analysed: only scans with all passes are.";
    return IsWhite(scan)
               ? "This is a white card: its brightness and evenness tell how well the scanner is "
                 "calibrated."
               : "Brightness and evenness follow the picture of an ordinary card. They are judged on "
                 "white cards only.";
}

void AddCourse(const ordered_json &scan, const std::string &log, ordered_json &page) {
    page["course"] = page["log"] = page["missing"] = nullptr;
    if (scan.contains("states")) {
        ordered_json stages = ordered_json::array();
        for (const ordered_json &state : scan.at("states")) {
            const int code = state.at("state");
            stages.push_back(
                {{"ms", state.at("ms").get<int64_t>()}, {"text", DescribeState(code).text}, {"code", code}});
        }
        page["course"] = {{"stages", stages}};
    }
    if (!log.empty())
        page["log"] = {{"text", Utf8Text(reinterpret_cast<const uint8_t *>(log.data()), log.size())}};
    else
        page["missing"] =
            scan.contains("states") ? "No log was kept." : "A scan file keeps neither the times nor the log.";
}

} // namespace

// Colour is never alone: a mark and the word go with it.
ordered_json Verdict(const std::string &grade, const std::string &text) {
    return {{"grade", grade},
            {"mark", grade == "good"       ? "&#10003;"
                     : grade == "marginal" ? "&#9650;"
                                           : "&#10007;"},
            {"text", text}};
}

ordered_json Measures(const ordered_json &scan) {
    ordered_json measures = ordered_json::array();
    for (const ordered_json &measure : scan.at("measures")) {
        const ordered_json &grade = measure.at("grade");
        const bool judged = grade == "good" || grade == "marginal" || grade == "bad";
        measures.push_back({{"name", measure.at("name").get<std::string>()},
                            {"value", ValueText(measure)},
                            {"limits", measure.at("limits").get<std::string>()},
                            {"verdict", judged ? Verdict(grade, grade) : ordered_json()},
                            {"unjudged", grade.is_null()}});
    }
    return measures;
}

void AddSections(const ordered_json &scan, const std::string &log, ordered_json &page) {
    page["title"] = Title(scan);
    page["verdicts"] = VerdictsOf(scan);
    page["facts"] = Facts(scan);
    page["tracks"] = Tracks(scan);
    AddBarcodes(scan, page);
    page["measures"] = Measures(scan);
    page["measuresNote"] = MeasuresNote(scan);
    AddCourse(scan, log, page);
}

} // namespace host
