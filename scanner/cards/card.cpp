// Loads a card from its folder: the pictures of its sides and the text file card.txt.
#include "scanner/cards/card.h"

#include "scanner/cards/card_text.h"
#include "scanner/cards/hidden_light.h"
#include "scanner/cards/png.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <system_error>

namespace scanner {
namespace {

namespace fs = std::filesystem;

constexpr const char *kFrontFile = "front.png";
constexpr const char *kBackFile = "back.png";
constexpr const char *kFrontIrFile = "front-ir.png", *kBackIrFile = "back-ir.png";
constexpr const char *kFrontUvFile = "front-uv.png", *kBackUvFile = "back-uv.png";
constexpr const char *kTextFile = "card.txt";

// What the card path takes, in 1/100 inch: a card is 3.375 x 2.125; art with some bleed is welcome.
constexpr int kMinWidth = 200, kMaxWidth = 350;
constexpr int kMinHeight = 125, kMaxHeight = 220;

bool Exists(const fs::path &path) {
    std::error_code error;
    return fs::exists(path, error);
}

/// A card is known by its front; a folder with the text file alone is a card whose front was forgotten.
bool IsCard(const fs::path &folder) { return Exists(folder / kFrontFile) || Exists(folder / kTextFile); }

std::string FolderName(const fs::path &folder) {
    std::error_code error;
    const fs::path path = fs::absolute(folder, error).lexically_normal();
    return (path.has_filename() ? path : path.parent_path()).filename().string();
}

std::string Hundredths(int value) {
    const std::string digits = std::to_string(value % 100);
    return std::to_string(value / 100) + (digits.size() < 2 ? ".0" : ".") + digits;
}

void CheckInches(const PngFile &file, int dotsPerInch) {
    const int width = file.width * 100 / dotsPerInch, height = file.height * 100 / dotsPerInch;
    if (width >= kMinWidth && width <= kMaxWidth && height >= kMinHeight && height <= kMaxHeight)
        return;
    throw CardError(file.path.string() + ": " + std::to_string(file.width) + " x " +
                    std::to_string(file.height) + " pixels at " + std::to_string(dotsPerInch) +
                    " dots per inch make a card of " + Hundredths(width) + " x " + Hundredths(height) +
                    " inches, and the scanner takes " + Hundredths(kMinWidth) + " x " +
                    Hundredths(kMinHeight) + " to " + Hundredths(kMaxWidth) + " x " + Hundredths(kMaxHeight) +
                    "; correct the picture's size or the line 'dpi' in card.txt");
}

/// A further picture of a card; empty when there is none.
std::optional<Picture> ReadFurther(const fs::path &path, const Picture &front) {
    if (!Exists(path))
        return std::nullopt;
    const PngFile file = ReadPng(path);
    if (file.width != front.width || file.height != front.height)
        throw CardError(file.path.string() + ": " + std::to_string(file.width) + " x " +
                        std::to_string(file.height) + " pixels, but front.png has " +
                        std::to_string(front.width) + " x " + std::to_string(front.height) +
                        "; draw all pictures of the card at one size");
    return DecodePng(file);
}

/// By half a turn.
void Turn(Picture *picture) {
    std::vector<uint8_t> &rgb = picture->rgb;
    std::reverse(rgb.begin(), rgb.end());
    for (size_t i = 0; i + 3 <= rgb.size(); i += 3) // the colours in their order again
        std::swap(rgb[i], rgb[i + 2]);
}
void Turn(GreyPicture *picture) { std::reverse(picture->grey.begin(), picture->grey.end()); }

} // namespace

Card LoadCard(const std::string &folder) {
    const fs::path path(folder);
    std::error_code error;
    if (!fs::is_directory(path, error))
        throw CardError(folder + ": no such folder; name a folder that holds front.png");

    CardText text;
    if (Exists(path / kTextFile))
        text = ReadCardText(path / kTextFile);
    Card card;
    card.name = text.name;
    if (card.name.empty())
        card.name = FolderName(path);
    card.dotsPerInch = text.dotsPerInch;
    card.traits = text.traits;
    card.cornerRadius = static_cast<int>((int64_t{text.cornerRadius} * text.dotsPerInch + 5000) / 10000);

    const PngFile front = ReadPng(path / kFrontFile);
    CheckInches(front, card.dotsPerInch);
    if (2 * card.cornerRadius > std::min(front.width, front.height))
        throw CardError((path / kTextFile).string() +
                        ": the corners are larger than the card; correct the line 'corner-radius-inches'");
    card.front = DecodePng(front);

    if (std::optional<Picture> back = ReadFurther(path / kBackFile, card.front))
        card.back = std::move(*back);
    else
        card.back = {front.width, front.height, std::vector<uint8_t>(card.front.rgb.size(), 255)};

    const struct {
        const char *irFile, *uvFile;
        const Picture &art;
        GreyPicture &ir;
        Picture &uv;
    } kSides[] = {{kFrontIrFile, kFrontUvFile, card.front, card.frontIr, card.frontUv},
                  {kBackIrFile, kBackUvFile, card.back, card.backIr, card.backUv}};
    for (const auto &side : kSides) {
        const std::optional<Picture> ir = ReadFurther(path / side.irFile, card.front);
        side.ir = ir ? Luminance(*ir) : DeriveInfrared(side.art);
        std::optional<Picture> uv = ReadFurther(path / side.uvFile, card.front);
        side.uv = uv ? std::move(*uv) : DeriveUltraviolet(side.art);
    }
    if (card.traits.turned) {
        for (Picture *picture : {&card.front, &card.back, &card.frontUv, &card.backUv})
            Turn(picture);
        for (GreyPicture *picture : {&card.frontIr, &card.backIr})
            Turn(picture);
    }
    return card;
}

std::vector<std::string> ListCards(const std::string &folder) {
    const fs::path path(folder);
    std::error_code error;
    if (!fs::is_directory(path, error))
        throw CardError(folder + ": no such folder; name a card or a folder of cards");
    if (IsCard(path))
        return {folder};

    std::vector<std::string> cards;
    for (fs::directory_iterator entry(path, error), end; entry != end; entry.increment(error)) {
        if (IsCard(entry->path()))
            cards.push_back(entry->path().string());
    }
    if (error)
        throw CardError(folder + ": cannot be read; check its permissions");
    if (cards.empty())
        throw CardError(folder + ": no cards here; a card is a folder that holds front.png");
    std::sort(cards.begin(), cards.end());
    return cards;
}

} // namespace scanner
