// Reads what the analysis of a scan left behind: the scan information, and one byte each at the end of row 6
// of the two response tables, which the ultraviolet response does not reach.
#include "tools/k274/facts/measures.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string>

#include "tools/k274/facts/records.h"

namespace host {

using nlohmann::ordered_json;

namespace {

constexpr int kOrdinaryCard = 0xFF; // low byte of -1

// Entries of the raw response's row 6
constexpr int kHigh = 2670; // blue, green, red, infrared, ultraviolet; each front and back
constexpr int kUnevenness = 2680;
constexpr int kLow = 2690;
constexpr int kClass = 2695, kVariant = 2696, kCode = 2697, kForward = 2698, kMark = 2699;
constexpr int kAnalysed = 15;
// of the corrected response's row 6
constexpr int kMean = 2670;  // blue, green, red, infrared, ultraviolet
constexpr int kGrade = 2680; // red, green, blue, infrared, ultraviolet
// of both
constexpr int kDips = 2693; // rows 0 and 2: blue and red raw, red and blue corrected

constexpr double kMismatch = 2.5;     // percent between the three lengths
constexpr double kDustLimit = 5;      // a verification reports dust from here on
constexpr double kColourBalance = 33; // sum of the differences of the three means

enum class Grade { kNone, kGood, kMarginal, kBad };

const char *Name(Grade grade) {
    switch (grade) {
    case Grade::kGood:
        return "good";
    case Grade::kMarginal:
        return "marginal";
    case Grade::kBad:
        return "bad";
    case Grade::kNone:
        break;
    }
    return nullptr;
}

Grade GoodIf(bool good) { return good ? Grade::kGood : Grade::kBad; }

/// Means of a white card, as each position of its response is graded.
struct Band {
    const char *key, *name;
    int bad, marginal;
    bool brightIsMarginal; // at 255
};
constexpr Band kBands[] = {{"meanBlue", "mean, blue", 176, 184, false},
                           {"meanGreen", "mean, green", 184, 192, true},
                           {"meanRed", "mean, red", 184, 192, true},
                           {"meanIr", "mean, infrared", 176, 184, true},
                           {"meanUv", "mean, ultraviolet", 176, 184, true}};

Grade Judge(const Band &band, int value) {
    if (value < band.bad)
        return Grade::kBad;
    return value < band.marginal || (band.brightIsMarginal && value == 255) ? Grade::kMarginal : Grade::kGood;
}

class List {
public:
    void Add(const char *key, const char *name, double value, const char *unit,
             const std::string &limits = "", Grade grade = Grade::kNone) {
        ordered_json entry = {
            {"key", key}, {"name", name}, {"value", value}, {"unit", unit}, {"limits", limits}};
        if (!std::isfinite(value)) { // neither a number of JSON nor one to judge
            entry["value"] = nullptr;
            grade = Grade::kNone;
        } else if (value == std::floor(value))
            entry["value"] = static_cast<int64_t>(value);
        entry["grade"] = nullptr;
        if (const char *text = Name(grade))
            entry["grade"] = text;
        list_.push_back(std::move(entry));
    }
    ordered_json Take() { return std::move(list_); }

private:
    ordered_json list_ = ordered_json::array();
};

template <typename Number>
Number InformationAt(const Capture &capture, size_t at) {
    Number number = 0;
    std::memcpy(&number, capture.information.data() + at, sizeof number);
    return number;
}

double Rounded(double value) { return std::round(value * 1000) / 1000; }

uint8_t Raw(const Capture &capture, int entry) { return capture.rawResponse[6][static_cast<size_t>(entry)]; }
uint8_t Corrected(const Capture &capture, int entry) {
    return capture.correctedResponse[6][static_cast<size_t>(entry)];
}

bool Analysed(const Capture &capture) {
    return capture.extent != Extent::kVisible && Raw(capture, kMark) == kAnalysed;
}
bool IsWhite(const Capture &capture) { return Raw(capture, kClass) != kOrdinaryCard; }

void AddDeviations(const K274_Status &status, List &list) {
    const float lengths[] = {status.rgbDeviation, status.irDeviation, status.uvDeviation};
    list.Add("rgbDeviation", "card length, visible", Rounded(lengths[0]), "%");
    list.Add("irDeviation", "card length, infrared", Rounded(lengths[1]), "%");
    list.Add("uvDeviation", "card length, ultraviolet", Rounded(lengths[2]), "%");
    const auto [least, most] = std::minmax_element(lengths, lengths + 3);
    const double spread = *most - *least;
    list.Add("deviationSpread", "spread of the three lengths", Rounded(spread), "%", "at most 2.5",
             GoodIf(spread <= kMismatch));
}

void AddLevels(const Capture &capture, bool white, List &list) {
    const auto high = [&](int value, const char *key, const char *name, int least) {
        if (white)
            list.Add(key, name, value, "", "at least " + std::to_string(least), GoodIf(value >= least));
        else
            list.Add(key, name, value, "");
    };
    constexpr const char *kVisible[6][2] = {
        {"highBlueFront", "brightest, blue, front"},   {"highBlueBack", "brightest, blue, back"},
        {"highGreenFront", "brightest, green, front"}, {"highGreenBack", "brightest, green, back"},
        {"highRedFront", "brightest, red, front"},     {"highRedBack", "brightest, red, back"}};
    for (int i = 0; i < 6; ++i)
        list.Add(kVisible[i][0], kVisible[i][1], Raw(capture, kHigh + i), "");
    // A calibration looks at the greater of green and red.
    high(std::max(Raw(capture, kHigh + 2), Raw(capture, kHigh + 4)), "highVisibleFront",
         "brightest, green or red, front", 200);
    high(std::max(Raw(capture, kHigh + 3), Raw(capture, kHigh + 5)), "highVisibleBack",
         "brightest, green or red, back", 200);
    high(Raw(capture, kHigh + 6), "highIrFront", "brightest, infrared, front", 200);
    high(Raw(capture, kHigh + 7), "highIrBack", "brightest, infrared, back", 200);
    high(Raw(capture, kHigh + 8), "highUvFront", "brightest, ultraviolet, front", 170);
    high(Raw(capture, kHigh + 9), "highUvBack", "brightest, ultraviolet, back", 170);
    list.Add("lowVisible", "darkest, visible", Raw(capture, kLow), "");
    list.Add("lowIr", "darkest, infrared", Raw(capture, kLow + 1), "");
    list.Add("lowUv", "darkest, ultraviolet", Raw(capture, kLow + 2), "");
}

// Brightness after correction follows the picture on an ordinary card; only a white card can be judged by it.
void AddMeans(const Capture &capture, bool white, List &list) {
    int means[5];
    for (int i = 0; i < 5; ++i) {
        const Band &band = kBands[i];
        means[i] = Corrected(capture, kMean + i);
        const std::string limits = std::to_string(band.marginal) + " to " +
                                   (band.brightIsMarginal ? "254" : "255") + ", bad below " +
                                   std::to_string(band.bad);
        list.Add(band.key, band.name, means[i], "", white ? limits : "",
                 white ? Judge(band, means[i]) : Grade::kNone);
    }
    const int balance =
        std::abs(means[1] - means[0]) + std::abs(means[1] - means[2]) + std::abs(means[0] - means[2]);
    if (white)
        list.Add("colourBalance", "differences of the colour means", balance, "", "at most 33",
                 GoodIf(balance <= kColourBalance));
    constexpr struct {
        const char *key, *name;
        int most;
    } kSums[] = {{"gradeRed", "uneven positions, red", 8},
                 {"gradeGreen", "uneven positions, green", 8},
                 {"gradeBlue", "uneven positions, blue", 8},
                 {"gradeIr", "uneven positions, infrared", 12},
                 {"gradeUv", "uneven positions, ultraviolet", 15}};
    for (int i = 0; i < 5; ++i) {
        const int sum = Corrected(capture, kGrade + i);
        if (white)
            list.Add(kSums[i].key, kSums[i].name, sum, "", "at most " + std::to_string(kSums[i].most),
                     GoodIf(sum <= kSums[i].most));
        else
            list.Add(kSums[i].key, kSums[i].name, sum, "");
    }
}

} // namespace

int VariantOf(const Capture &capture) { return InformationAt<uint16_t>(capture, 56); }

ordered_json InformationJson(const Capture &capture) {
    const auto text = [&](size_t at, size_t size) {
        const auto *from = reinterpret_cast<const char *>(capture.information.data() + at);
        return std::string(from, std::find(from, from + size, '\0'));
    };
    // The scanner's versions as the file keeps them: those of the library follow none of the record's.
    const uint8_t *bytes = capture.information.data();
    return {{"time", InformationAt<int64_t>(capture, 24)},
            {"date", text(192, 20)},
            {"variant", VariantOf(capture)},
            {"serialNumber2", std::to_string(InformationAt<uint64_t>(capture, 16))},
            {"library", Dotted(bytes + 32, 3)},
            {"firmware", Dotted(bytes + 35, 3)},
            {"fpga", Dotted(bytes + 38, 2)},
            {"hardware", bytes[8]}};
}

ordered_json CardKindJson(const Capture &capture) {
    if (!Analysed(capture))
        return nullptr;
    if (!IsWhite(capture))
        return {{"kind", "ordinary"}};
    const auto letter = [&](int entry) {
        const uint8_t value = Raw(capture, entry);
        return value >= ' ' && value < 0x7F ? std::string(1, static_cast<char>(value)) : std::string();
    };
    return {{"kind", "white"},
            {"class", Raw(capture, kClass)},
            {"code", letter(kCode)},
            {"variant", letter(kVariant)},
            {"forward", Raw(capture, kForward) != 0}};
}

ordered_json MeasuresJson(const Capture &capture) {
    List list;
    const bool file = capture.extent == Extent::kFile || capture.extent == Extent::kFileNoLast;
    if (!file)
        list.Add("transferErrors", "transfers repeated", capture.transferErrors, "", "none",
                 capture.transferErrors == 0 ? Grade::kGood : Grade::kMarginal);
    if (capture.extent == Extent::kFull)
        AddDeviations(capture.status, list);
    if (!Analysed(capture))
        return list.Take();
    const bool white = IsWhite(capture);
    const int dust = InformationAt<uint16_t>(capture, 58);
    list.Add("dust", "dusty sensor positions", dust, "", "below 5", GoodIf(dust < kDustLimit));
    list.Add("stripeContrast", "stripe contrast, stripe against card",
             Rounded(InformationAt<float>(capture, 64)), "");
    list.Add("uvWhiteRatio", "ultraviolet white level, of full scale",
             Rounded(InformationAt<float>(capture, 68)), "");
    list.Add("uvGain", "ultraviolet gain", Rounded(InformationAt<float>(capture, 76)), "", "1 to 3");
    AddLevels(capture, white, list);
    AddMeans(capture, white, list);
    if (white) {
        const int score = Raw(capture, kUnevenness);
        list.Add("unevenness", "unevenness along the card", score, "", "0",
                 score == 0 ? Grade::kGood : Grade::kMarginal);
    }
    list.Add("rawDipsBlue", "dips before correction, blue", Raw(capture, kDips), "");
    list.Add("rawDipsRed", "dips before correction, red", Raw(capture, kDips + 1), "");
    list.Add("dipsRed", "dips after correction, red", Corrected(capture, kDips), "");
    list.Add("dipsBlue", "dips after correction, blue", Corrected(capture, kDips + 1), "");
    return list.Take();
}

} // namespace host
