// Reads the library's stripe and barcode records. Counts in them are bounded here, once.
#include "tools/k274/facts/carddata.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tools/k274/base/text.h"
#include "tools/k274/facts/licence_elements.h"

namespace host {

using nlohmann::ordered_json;

namespace {

constexpr int kFrontOrientation = 3; // 3 and 4 lie on the front, 1 and 2 on the back

const char *LinearName(uint16_t code) {
    switch (code) {
    case 4:
        return "Code 128";
    case 5:
        return "Code 39";
    default:
        return "unknown";
    }
}

ordered_json CodeJson(const char *symbology, const uint8_t *text, size_t size) {
    return {{"symbology", symbology},
            {"text", Utf8Text(text, size)},
            {"base64", Base64(text, size)},
            {"length", size}};
}

size_t Bounded(int16_t length, size_t most) {
    return std::min(static_cast<size_t>(std::max<int16_t>(length, 0)), most);
}

} // namespace

ordered_json StripeJson(const K274_Magnetic &stripe) {
    ordered_json tracks = ordered_json::array();
    for (int i = 0; i < 3; ++i) {
        const K274_Track &track = stripe.tracks[i];
        const size_t count = std::min<size_t>(track.count, sizeof track.text);
        tracks.push_back({{"track", i + 1},
                          {"text", Utf8Text(track.text, count)},
                          {"base64", Base64(track.text, count)},
                          {"characters", count},
                          {"error", track.error},
                          {"bits", track.bits[0] | track.bits[1] << 8}});
    }
    return tracks;
}

ordered_json BarcodesJson(const K274_Barcode &barcode, bool decodedHere) {
    ordered_json json = {{"pdf417", nullptr}, {"linear", nullptr}};
    if (const size_t length = Bounded(barcode.pdfLength, sizeof barcode.pdfText)) {
        ordered_json &code = json["pdf417"] = CodeJson("PDF417", barcode.pdfText, length);
        code["rows"] = barcode.rows;
        code["columns"] = barcode.columns;
        code["correctionLevel"] = barcode.correctionLevel;
        code["moduleWidth"] = barcode.moduleWidth / 10.0;
        const std::string text(barcode.pdfText, barcode.pdfText + length);
        ordered_json elements = ordered_json::array();
        for (const LicenceElement &element : LicenceElements(text)) {
            ordered_json entry = {{"id", element.id}};
            entry["name"] = element.name.empty() ? ordered_json(nullptr) : ordered_json(element.name);
            entry["value"] =
                Utf8Text(reinterpret_cast<const uint8_t *>(element.value.data()), element.value.size());
            if (!element.meaning.empty())
                entry["meaning"] = element.meaning;
            elements.push_back(std::move(entry));
        }
        if (!elements.empty())
            code["elements"] = std::move(elements);
    }
    if (const size_t length = Bounded(barcode.linearLength, sizeof barcode.linearText))
        json["linear"] = CodeJson(LinearName(barcode.linearCode), barcode.linearText, length);
    json["durationMs"] = barcode.duration;
    if (decodedHere) {
        json["orientation"] = barcode.orientation;
        json["side"] = nullptr;
        if (barcode.orientation > 0)
            json["side"] = barcode.orientation >= kFrontOrientation ? "front" : "back";
        json["position"] = barcode.position;
        json["decoder"] = barcode.decoder;
        json["decoderVersion"] =
            std::to_string(barcode.decoderMajor) + "." + std::to_string(barcode.decoderMinor);
    }
    return json;
}

std::string TrackLine(const ordered_json &track) {
    std::string line = "track " + std::to_string(track.at("track").get<int>()) + "           ";
    if (track.at("characters") == 0)
        return line + (track.at("bits") == 0 ? "empty" : "not read");
    line += VisibleText(track.at("text"));
    return track.at("error") == 0 ? line : line + "   (damaged: the text ends where the error is)";
}

std::string BarcodeLine(const ordered_json &code) {
    std::string name = code.at("symbology");
    name.resize(std::max<size_t>(name.size(), 18), ' ');
    return name + VisibleText(code.at("text"));
}

std::string ElementLine(const ordered_json &element) {
    std::string name = "  " + element.at("id").get<std::string>();
    if (element.at("name").is_string())
        name += " " + element.at("name").get<std::string>();
    name.resize(std::max<size_t>(name.size() + 2, 30), ' ');
    name += VisibleText(element.at("value"));
    return element.contains("meaning") ? name + " (" + element.at("meaning").get<std::string>() + ")" : name;
}

} // namespace host
