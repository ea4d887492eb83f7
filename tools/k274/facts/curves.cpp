// Response tables to curves, and curves to text and back.
#include "tools/k274/facts/curves.h"

#include <charconv>
#include <string_view>

#include "tools/k274/base/errors.h"

namespace host {

namespace {

constexpr size_t kTables = K274_RESP_TABLES, kPositions = K274_RESP_POSITIONS;
constexpr const char *kRawNames[kTables] = {"blue",   "green",    "red",    "infrared",
                                            "UV red", "UV green", "UV blue"};
constexpr const char *kCorrectedNames[kTables] = {"red",    "green",    "blue",   "infrared",
                                                  "UV red", "UV green", "UV blue"};
constexpr size_t kInfraredTable = 3;
constexpr size_t kUvPositions = 1350;
// The raw tables up to the infrared one keep the dust counts here, each one position further.
constexpr size_t kDustPosition = 1347;

bool Measured(Extent extent, size_t table) {
    return table < kInfraredTable ||
           (extent != Extent::kVisible && (table == kInfraredTable || extent != Extent::kFileNoLast));
}

bool IsCurve(size_t table, size_t position, bool raw) {
    if (table > kInfraredTable) // smoothing leaves out the ends of the raw ones
        return position < kUvPositions && !(raw && (position == 0 || position == kUvPositions - 1));
    return !raw || position != kDustPosition + table;
}

std::vector<Curve> Named(const char *const (&names)[kTables]) {
    std::vector<Curve> curves(kTables);
    for (size_t table = 0; table < kTables; ++table) {
        curves[table].name = names[table];
        curves[table].values.fill(kNoValue);
    }
    return curves;
}

void Fill(const ResponseTable &from, Extent extent, bool raw, std::vector<Curve> &curves) {
    for (size_t table = 0; table < kTables; ++table) {
        for (size_t position = 0; position < kPositions; ++position) {
            if (Measured(extent, table) && IsCurve(table, position, raw))
                curves[table].values[position] = from[table][position];
        }
    }
}

std::string Head() {
    std::string line = "position";
    for (const char *name : kRawNames)
        line += std::string(",raw ") + name;
    for (const char *name : kCorrectedNames)
        line += std::string(",corrected ") + name;
    return line + "\n";
}

/// The next field of the text, up to a comma or the end of the line, which are skipped.
std::string_view Field(std::string_view &text) {
    const size_t end = text.find_first_of(",\n");
    const std::string_view field = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return field;
}

bool Parse(std::string_view field, int most, int &value) {
    const auto result = std::from_chars(field.data(), field.data() + field.size(), value);
    return result.ec == std::errc() && result.ptr == field.data() + field.size() && value >= 0 &&
           value <= most;
}

} // namespace

Curves NoCurves() { return {Named(kRawNames), Named(kCorrectedNames)}; }

Curves CurvesOf(const Capture &capture) {
    Curves curves = NoCurves();
    Fill(capture.rawResponse, capture.extent, true, curves.raw);
    Fill(capture.correctedResponse, capture.extent, false, curves.corrected);
    return curves;
}

std::string CurvesCsv(const Curves &curves) {
    std::string text = Head();
    for (size_t position = 0; position < kPositions; ++position) {
        text += std::to_string(position);
        for (const auto *set : {&curves.raw, &curves.corrected}) {
            for (const Curve &curve : *set) {
                text += ',';
                if (curve.values[position] != kNoValue)
                    text += std::to_string(curve.values[position]);
            }
        }
        text += '\n';
    }
    return text;
}

Curves ParseCurvesCsv(const std::string &text, const std::string &file) {
    const auto refuse = [&] {
        throw HostError(Exit::kBadFile, file + " is not the table of a scan's response: scan the card again");
    };
    const std::string head = Head();
    if (text.compare(0, head.size(), head) != 0)
        refuse();
    Curves curves = NoCurves();
    std::string_view rest(text);
    rest.remove_prefix(head.size());
    for (size_t position = 0; position < kPositions; ++position) {
        int value = 0;
        if (!Parse(Field(rest), K274_RESP_POSITIONS - 1, value) || value != static_cast<int>(position))
            refuse();
        for (auto *set : {&curves.raw, &curves.corrected}) {
            for (Curve &curve : *set) {
                const std::string_view field = Field(rest);
                if (field.empty())
                    continue;
                if (!Parse(field, 255, value))
                    refuse();
                curve.values[position] = value;
            }
        }
    }
    return curves;
}

} // namespace host
