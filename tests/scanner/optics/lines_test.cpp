// Lines of every kind under what may befall a card, a lamp or the sensor, as means of parts of the line and
// the checksum of all its bytes.
#include "scanner/cards/hidden_light.h"
#include "scanner/optics/optics.h"
#include "tests/scanner/transcript.h"

#include <zlib.h>

#include <map>

namespace {

using namespace scanner;
using Bytes = std::vector<uint8_t>;

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
    card.traits.dust = static_cast<Dust>(v["dust"]);
    card.traits.behaviour = v["slipping"] != 0 ? Behaviour::kSlipping : Behaviour::kNormal;
    return card;
}

/// "KIND LINE", then values that are not as usual, by name.
std::string LineText(const std::string &text) {
    std::istringstream words(text);
    std::string kind, name;
    int line = 0;
    words >> kind >> line;
    std::map<std::string, int> v = {{"width", 338}, {"height", 213}, {"dpi", 100},
                                    {"corner", 12}, {"seed", 1},     {"noise", 1}};
    for (int value; words >> name >> value;)
        v[name] = value;
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

    Bytes bytes(kFocusLineBytes);
    size_t size = 0, colours = 3;
    uint8_t *to = bytes.data();
    if (kind == "rgb")
        RenderRgbLine(scene, line, to), size = kRgbLineBytes;
    else if (kind == "ir")
        RenderIrLine(scene, line, to), size = kLinePixels, colours = 1;
    else if (kind == "uv")
        RenderUvLine(scene, line, to), size = kUvLineBytes;
    else if (kind == "stripe")
        RenderStripeLine(scene, line, to), size = kStripeLinePixels, colours = 1;
    else if (kind == "still")
        RenderStillLine(lamps, scene.gains, defects, seed, line, to), size = kStillLineBytes;
    else if (kind == "focus")
        RenderFocusLine(v["blur"], seed, line, to), size = kFocusLineBytes;
    else
        RenderHiresLine(scene, kind == "full" ? HiresWay::kFull : HiresWay::kStrip, line, to),
            size = kHiresLineBytes;

    std::string seen;
    for (size_t colour = 0; colour < colours; colour++) {
        seen += " ";
        for (size_t part = 0, pixels = size / colours / kParts; part < kParts; part++) {
            size_t sum = 0;
            for (size_t p = part * pixels; p < (part + 1) * pixels; p++)
                sum += bytes[colours * p + colour];
            seen += " " + std::to_string(sum / pixels);
        }
        seen += colour + 1 < colours ? "\n" : "";
    }
    return seen + ", " + std::to_string(crc32(0, to, static_cast<uInt>(size))) + "\n";
}

TEST(OpticsLines, ComeOutAsTheyStand) {
    ExpectTranscript("scanner/optics/lines.txt", [](const Lines &lines) {
        Lines seen;
        for (const std::string &line : lines)
            seen.push_back(line.empty() || line[0] == '#' || line[0] == '=' ? "" : LineText(line));
        return seen;
    });
}

} // namespace
