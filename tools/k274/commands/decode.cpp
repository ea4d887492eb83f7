// k274 decode: reads the barcode of a picture, without a scanner.
#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>

#include "include/k274.h"
#include "tools/k274/base/errors.h"
#include "tools/k274/base/output.h"
#include "tools/k274/commands/commands.h"
#include "tools/k274/facts/carddata.h"
#include "tools/k274/files/files.h"
#include "tools/k274/files/picture.h"

namespace host {

namespace {

using nlohmann::ordered_json;

constexpr int kMostRows = 2700, kMostColumns = 2300;
constexpr int kDecoderRows = 2540; // what of them the decoder is shown
constexpr int32_t kGrey = 1, kColour = 3;

// As the library wants it: the last row first, colours blue, green, red.
std::vector<uint8_t> BottomUp(const Picture &picture) {
    const size_t row = static_cast<size_t>(picture.width) * static_cast<size_t>(picture.channels);
    std::vector<uint8_t> turned;
    turned.reserve(picture.pixels.size());
    for (int y = picture.height - 1; y >= 0; --y) {
        const uint8_t *from = picture.pixels.data() + static_cast<size_t>(y) * row;
        for (size_t x = 0; x < row; x += static_cast<size_t>(picture.channels)) {
            if (picture.channels == 1)
                turned.push_back(from[x]);
            else
                turned.insert(turned.end(), {from[x + 2], from[x + 1], from[x]});
        }
    }
    return turned;
}

// Which way it reads: the record's code also tells the half of the picture, which for pictures means nothing.
const char *Direction(int32_t orientation) {
    if (orientation == 0)
        return "unknown";
    return orientation % 2 == 1 ? "forward" : "backward";
}

void Decode(const std::string &name, Output &output) {
    const std::vector<uint8_t> file = ReadFile(name);
    const PictureSize size = ReadPngSize(file, name);
    if (size.height > kMostRows || size.width > kMostColumns)
        throw HostError(Exit::kBadFile, name + " is too large, " + std::to_string(size.height) + " rows of " +
                                            std::to_string(size.width) +
                                            ": make it at most 2700 rows of 2300 columns");
    const Picture picture = DecodePng(file, name);
    if (picture.height > kDecoderRows)
        output.Note("only the first 2540 rows are searched");
    K274_SetLogPath(nullptr);
    const std::vector<uint8_t> rows = BottomUp(picture);
    K274_ReParseBC(rows.data(), picture.height, picture.width, picture.channels == 1 ? kGrey : kColour);
    K274_Barcode record = {};
    K274_GetBC(&record);

    ordered_json barcodes = BarcodesJson(record, true);
    barcodes.erase("side");
    barcodes["direction"] = Direction(record.orientation);
    output.Object({{"event", "decode"}, {"file", name}, {"barcodes", barcodes}});
    bool found = false;
    for (const char *kind : {"pdf417", "linear"}) {
        const ordered_json &code = barcodes.at(kind);
        if (code.is_null())
            continue;
        found = true;
        output.Note(BarcodeLine(code));
        for (const ordered_json &element : code.value("elements", ordered_json::array()))
            output.Note(ElementLine(element));
        output.Note("orientation       " + std::to_string(record.orientation) + ", reads " +
                    Direction(record.orientation));
    }
    if (!found)
        throw HostError(Exit::kNothingFound,
                        "no barcode was found in " + name +
                            ": crop it to the code with some white around, or enlarge it");
}

} // namespace

void AddDecode(CLI::App &app, const Options &, Command &chosen) {
    CLI::App *command = app.add_subcommand("decode", "read the barcode of a PNG picture");
    const auto name = std::make_shared<std::string>();
    command->add_option("image", *name, "PNG file, at most 2700 rows of 2300 columns")
        ->type_name("IMAGE.png")
        ->required();
    command->callback([name, &chosen] { chosen = [name](Output &output) { Decode(*name, output); }; });
}

} // namespace host
