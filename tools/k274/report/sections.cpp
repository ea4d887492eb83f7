// Tables and lists of a report.
#include "tools/k274/report/sections.h"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "tools/k274/report/html.h"
#include "tools/k274/states.h"
#include "tools/k274/summary.h"
#include "tools/k274/text.h"

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

std::string Fact(const char *name, const std::string &value) {
    return value.empty()
               ? ""
               : std::string("<div><dt>") + name + "</dt><dd>" + EscapeHtml(value) + "</dd></div>\n";
}

std::string Milliseconds(const ordered_json &number) { return std::to_string(number.get<int64_t>()); }

std::string TrackState(const ordered_json &track) {
    if (track.at("characters") == 0)
        return track.at("bits") == 0 ? "nothing on it" : "not readable";
    return track.at("error") == 0 ? Verdict("good", "good") : Verdict("bad", "damaged, the text ends there");
}

std::string CodeTable(const ordered_json &code, const ordered_json &barcodes) {
    std::string rows = RowHead("Text") + Cell(Shown(code.at("text")), "text") + "</tr>\n";
    const auto add = [&](const char *name, const ordered_json &value, const char *unit = "") {
        if (!value.is_null())
            rows += RowHead(name) + Cell(EscapeHtml(Plain(value) + unit)) + "</tr>\n";
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
    return Table(EscapeHtml(code.at("symbology")), {"Property", "Value"}, rows);
}

std::string ElementTable(const ordered_json &elements) {
    std::string rows;
    for (const ordered_json &element : elements) {
        const ordered_json &name = element.at("name");
        rows += RowHead(name.is_null() ? "<span class=\"soft\">not known</span>" : EscapeHtml(name)) +
                Cell(EscapeHtml(element.at("id")), "text") + Cell(Shown(element.at("value")), "text") +
                Cell(EscapeHtml(element.value("meaning", ""))) + "</tr>\n";
    }
    return Table("What the licence's code says", {"Element", "Identifier", "Value", "Meaning"}, rows);
}

bool IsWhite(const ordered_json &scan) {
    return scan.at("kind").is_object() && scan.at("kind").at("kind") == "white";
}

} // namespace

std::string TitleLine(const ordered_json &scan) {
    const std::string when = IsFile(scan) ? scan.at("information").at("date") : scan.at("started");
    return "Card scan of " + when;
}

std::string VerdictLine(const ordered_json &scan) {
    const Verdicts verdicts = CountVerdicts(scan.at("measures"));
    const auto part = [](const char *grade, int count) {
        return count == 0 ? std::string() : Verdict(grade, std::to_string(count) + " " + grade) + " ";
    };
    return "Measures: " + part("good", verdicts.good) + part("marginal", verdicts.marginal) +
           part("bad", verdicts.bad);
}

std::string FactItems(const ordered_json &scan) {
    if (IsFile(scan)) {
        const ordered_json &head = scan.at("information");
        return Fact("File", scan.at("file")) + Fact("Second serial number", head.at("serialNumber2")) +
               Fact("Firmware", head.at("firmware")) + Fact("FPGA", head.at("fpga")) +
               Fact("Hardware", Plain(head.at("hardware"))) + Fact("Library", head.at("library")) +
               Fact("Card", IsWhite(scan) ? "white card" : "ordinary card");
    }
    const ordered_json &versions = scan.at("versions"), &card = scan.at("card");
    char size[80];
    std::snprintf(size, sizeof size, "%.2f mm long, %.2f mm high (back %.2f mm)",
                  card.at("widthMm").get<double>(), card.at("frontHeightMm").get<double>(),
                  card.at("backHeightMm").get<double>());
    return Fact("Device", scan.at("device")) + Fact("Serial number", Plain(versions.at("serialNumber"))) +
           Fact("Firmware", versions.at("firmware")) + Fact("FPGA", versions.at("fpga")) +
           Fact("Hardware", Plain(versions.at("hardware"))) + Fact("Library", versions.at("library")) +
           Fact("Mode", scan.at("options").at("mode")) + Fact("Card", size) +
           Fact("Kind", scan.at("kind").is_null() ? ""
                        : IsWhite(scan)           ? "white card"
                                                  : "ordinary card") +
           Fact("Virtual card", scan.value("virtual", ordered_json::object()).value("card", ""));
}

std::string StripeSection(const ordered_json &scan) {
    std::string rows;
    for (const ordered_json &track : scan.at("stripe")) {
        rows += RowHead(Plain(track.at("track"))) + Cell(Shown(track.at("text")), "text") +
                Cell(TrackState(track)) + Cell(Plain(track.at("characters")), "number") +
                Cell(Plain(track.at("bits")), "number") + "</tr>\n";
    }
    return Table("Tracks of the magnetic stripe", {"Track", "Text", "State", "#Characters", "#Bits"}, rows);
}

std::string BarcodeSection(const ordered_json &scan) {
    const ordered_json &barcodes = scan.at("barcodes");
    if (barcodes.is_null())
        return "<p class=\"soft\">Barcodes were not decoded.</p>\n";
    std::string html;
    for (const char *kind : {"pdf417", "linear"}) {
        const ordered_json &code = barcodes.at(kind);
        if (code.is_null())
            continue;
        html += CodeTable(code, barcodes);
        if (code.contains("elements"))
            html += ElementTable(code.at("elements"));
    }
    return html.empty() ? "<p>No barcode was read.</p>\n" : html;
}

std::string MeasureRows(const ordered_json &scan) {
    std::string rows;
    for (const ordered_json &measure : scan.at("measures")) {
        const ordered_json &grade = measure.at("grade");
        rows += RowHead(EscapeHtml(measure.at("name"))) + Cell(EscapeHtml(ValueText(measure)), "number") +
                Cell(EscapeHtml(measure.at("limits"))) +
                Cell(grade.is_null() ? "<span class=\"soft\">not judged</span>"
                     : grade == "good" || grade == "marginal" || grade == "bad" ? Verdict(grade, grade)
                                                                                : std::string()) +
                "</tr>\n";
    }
    return rows;
}

std::string MeasuresNote(const ordered_json &scan) {
    if (scan.at("kind").is_null())
        return "This scan was not analysed: only scans with all passes are.";
    return IsWhite(scan)
               ? "This is a white card: its brightness and evenness tell how well the scanner is "
                 "calibrated."
               : "Brightness and evenness follow the picture of an ordinary card. They are judged on "
                 "white cards only.";
}

std::string CourseSection(const ordered_json &scan, const std::string &log) {
    std::string html;
    if (scan.contains("states")) {
        std::string rows;
        for (const ordered_json &state : scan.at("states")) {
            const int code = state.at("state");
            rows += "<tr><th scope=\"row\" class=\"number\">" + Milliseconds(state.at("ms")) + "</th>" +
                    Cell(EscapeHtml(DescribeState(code).text)) + Cell(std::to_string(code), "number") +
                    "</tr>\n";
        }
        html += Table("Stages, in milliseconds since the card came in", {"#Time", "Stage", "#Code"}, rows);
    }
    if (!log.empty()) {
        const auto *bytes = reinterpret_cast<const uint8_t *>(log.data());
        html += "<h3>Log</h3>\n<pre tabindex=\"0\">" + EscapeHtml(Utf8Text(bytes, log.size())) + "</pre>\n";
    }
    return html.empty() ? "<p class=\"soft\">A scan file keeps neither the times nor the log.</p>\n"
                        : html + (log.empty() ? "<p class=\"soft\">No log was kept.</p>\n" : "");
}

} // namespace host
