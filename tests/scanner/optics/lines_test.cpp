// Lines of every kind under what may befall a card, a lamp or the sensor, as means of parts of the line and
// the checksum of all its bytes; where cards lie, and what registers make of the light.
#include "scanner/cards/hidden_light.h"
#include "scanner/optics/optics.h"
#include "tests/scanner/transcript.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <set>

namespace {

using namespace scanner;

constexpr size_t kParts = 20;

/// Red grows from the left to the right, green from the top to the bottom, and blue is checked.
Card CardOf(std::map<std::string, int> &v) {
    Card card;
    const int width = v["width"], height = v["height"];
    const bool white = v["white"] != 0;
    card.front = {width, height, {}};
    for (int i = 0; i < width * height; i++) {
        const int x = i % width, y = i / width;
        for (const int level : {255 * x / width, 255 * y / height, (x / 16 + y / 16) % 2 * 255})
            card.front.rgb.push_back(static_cast<uint8_t>(white ? 255 : level));
    }
    card.back = card.frontUv = card.backUv = card.front;
    card.frontIr = card.backIr = Luminance(card.front);
    card.dotsPerInch = v["dpi"];
    card.cornerRadius = v["corner"];
    card.traits.stripe = v["striped"] != 0;
    card.traits.dust = static_cast<Dust>(v["dust"]);
    card.traits.behaviour = v["slipping"] != 0 ? Behaviour::kSlipping : Behaviour::kNormal;
    return card;
}

/// Means of the parts of a line, a line for each colour, and its checksum.
std::string LineText(const std::vector<uint8_t> &bytes, size_t colours) {
    std::string seen;
    for (size_t colour = 0; colour < colours; colour++) {
        seen += " ";
        for (size_t part = 0, pixels = bytes.size() / colours / kParts; part < kParts; part++) {
            size_t sum = 0;
            for (size_t p = part * pixels; p < (part + 1) * pixels; p++)
                sum += bytes[colours * p + colour];
            seen += " " + std::to_string(sum / pixels);
        }
        seen += colour + 1 < colours ? "\n" : "";
    }
    return seen + ", " + std::to_string(crc32(0, bytes.data(), static_cast<uInt>(bytes.size()))) + "\n";
}

/// How bright every light is on the front and on the back with one register at so many sixteenths.
std::string GainsText(size_t word, int sixteenths) {
    AfeRegisters registers = kFactoryAfe;
    registers[word] = static_cast<uint16_t>(registers[word] * sixteenths / 16);
    const SensorGains gains = GainsUnder(registers);
    std::string text;
    for (const Side side : {Side::kFront, Side::kBack}) {
        text += " ";
        for (int light = 0; light < kLights; light++)
            text += " " + std::to_string(gains.Of(Light(light), side));
        text += "\n";
    }
    return text;
}

/// Where the ends of leading edge, front and back lie, in 1/256, and how many skews there are.
std::string PlacesText(uint32_t cards) {
    std::set<int> places[3], skews;
    for (uint32_t k = 0; k < cards; k++) {
        const Placement p = PlaceCard(k / 10, k % 10);
        places[0].insert({p.leadColumn, p.leadColumn + p.skew * 1169 / 256});
        places[1].insert({p.frontEdgeRow, p.frontEdgeRow + p.skew * 1856 / 256});
        places[2].insert({p.backEdgeRow, p.backEdgeRow + p.skew * 1856 / 256});
        skews.insert(p.skew);
    }
    std::string text;
    for (const auto &seen : places)
        text += "  " + std::to_string(*seen.begin()) + " to " + std::to_string(*seen.rbegin()) + ",";
    return text + " " + std::to_string(skews.size()) + "\n";
}

/// Of a line "KIND NUMBER", then values that are not as usual, by name.
struct Optics {
    static std::string Do(const std::string &text) {
        std::istringstream words(text);
        std::string kind, name;
        int line = 0;
        words >> kind >> line;
        std::map<std::string, int> v = {{"width", 338}, {"height", 213}, {"dpi", 100},
                                        {"corner", 12}, {"seed", 1},     {"noise", 1}};
        for (int value; words >> name >> value;)
            v[name] = value;
        if (kind == "places")
            return PlacesText(static_cast<uint32_t>(line));
        if (kind == "register")
            return GainsText(static_cast<size_t>(line), v["sixteenths"]);

        const Card card = CardOf(v);
        static const WhiteResponse lamps = LampResponse();
        const auto seed = static_cast<uint32_t>(v["seed"]);
        Scene scene = MakeScene(card, lamps, seed, static_cast<uint32_t>(v["scan"]));
        if (v["lead"] != 0)
            scene.placement = {v["lead"], v["front"], v["back"], v["skew"]};
        if (v["gain"] != 0)
            scene.gains.Set(Light(v["light"]), Side(v["side"]),
                            static_cast<uint32_t>(v["gain"]) * kUnityGain / 16);
        scene.jitter = v["jitter"] * 65536;
        scene.card = v["none"] != 0 ? nullptr : &card;
        const StillDefects defects{v["dead"], v["dead-count"], v["step"], v["step-levels"], v["noise"]};

        const std::map<std::string, std::pair<size_t, std::function<void(uint8_t *)>>> kKinds = {
            {"rgb", {kRgbLineBytes, [&](uint8_t *to) { RenderRgbLine(scene, line, to); }}},
            {"ir", {kLinePixels, [&](uint8_t *to) { RenderIrLine(scene, line, to); }}},
            {"uv", {kUvLineBytes, [&](uint8_t *to) { RenderUvLine(scene, line, to); }}},
            {"stripe", {kStripeLinePixels, [&](uint8_t *to) { RenderStripeLine(scene, line, to); }}},
            {"full", {kHiresLineBytes, [&](auto *to) { RenderHiresLine(scene, HiresWay::kFull, line, to); }}},
            {"strip",
             {kHiresLineBytes, [&](auto *to) { RenderHiresLine(scene, HiresWay::kStrip, line, to); }}},
            {"still",
             {kStillLineBytes,
              [&](uint8_t *to) { RenderStillLine(lamps, scene.gains, defects, seed, line, to); }}},
            {"focus", {kFocusLineBytes, [&](uint8_t *to) { RenderFocusLine(v["blur"], seed, line, to); }}},
        };
        const auto &[size, render] = kKinds.at(kind);
        std::vector<uint8_t> bytes(size);
        render(bytes.data());
        return LineText(bytes, kind == "ir" || kind == "stripe" ? 1 : 3);
    }
};

TEST(OpticsLines, ComeOutAsTheyStand) { ExpectTranscript<Optics>("scanner/optics/lines.txt"); }

} // namespace
