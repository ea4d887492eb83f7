// The files of a scan, out and in.
#include "tools/k274/files/package.h"

#include <algorithm>
#include <array>
#include <system_error>

#include "tools/k274/base/errors.h"
#include "tools/k274/facts/carddata.h"
#include "tools/k274/facts/measures.h"
#include "tools/k274/files/png.h"

namespace host {

namespace fs = std::filesystem;
using nlohmann::ordered_json;

namespace {

// The two lengths that the library loads: whole files with ultraviolet pages, and shorter ones.
constexpr std::array<uintmax_t, 2> kLoadable = {22915520, 22418936};

std::string AsText(const std::vector<uint8_t> &bytes) { return std::string(bytes.begin(), bytes.end()); }

/// A file that the description names: in the folder itself and nowhere else.
fs::path Beside(const fs::path &folder, const std::string &name) {
    if (name.empty() || fs::path(name).filename() != fs::path(name))
        throw HostError(Exit::kBadFile,
                        (folder / "scan.json").string() + " names a file elsewhere: \"" + name + "\"");
    return folder / name;
}

ordered_json ReadMaint(const fs::path &folder) {
    ordered_json results = ordered_json::object();
    for (const char *name : {"still", "jitter", "calibration"}) {
        const fs::path file = folder / (std::string(name) + ".json");
        std::error_code ignored;
        if (!fs::exists(file, ignored))
            continue;
        results[name] = ordered_json::parse(ReadFile(file), nullptr, false);
        if (results[name].is_discarded())
            throw HostError(Exit::kBadFile, file.string() + " is damaged: run k274 " +
                                                (std::string(name) == "calibration" ? "calibrate" : name) +
                                                " again, or remove it");
    }
    return results;
}

Package ReadFolder(const fs::path &folder) {
    Package package = {};
    package.curves = NoCurves();
    const fs::path file = folder / "scan.json";
    try {
        package.description = ordered_json::parse(ReadFile(file));
        if (package.description.at("format") != "k274-scan" || package.description.at("formatVersion") != 1)
            throw HostError(Exit::kBadFile, file.string() + " is of another version of k274");
        for (const ordered_json &image : package.description.at("images")) {
            package.images.push_back({image.at("name"), image.at("width"), image.at("height"),
                                      image.at("channels"), ReadFile(Beside(folder, image.at("file")))});
        }
        const ordered_json files = package.description.value("files", ordered_json::object());
        if (files.contains("responses")) {
            const fs::path responses = Beside(folder, files.at("responses"));
            package.curves = ParseCurvesCsv(AsText(ReadFile(responses)), responses.string());
        }
        if (files.contains("log"))
            package.log = AsText(ReadFile(Beside(folder, files.at("log"))));
        package.maint = ReadMaint(folder);
    } catch (const ordered_json::exception &) {
        throw HostError(Exit::kBadFile, file.string() + " is damaged: scan the card again");
    }
    return package;
}

} // namespace

std::vector<PackedImage> PackImages(const Capture &capture) {
    std::vector<PackedImage> packed;
    for (const CapturedImage &image : capture.images) {
        const ImageSource &source = *image.source;
        packed.push_back({source.name, source.width, source.height, source.channels,
                          EncodePng(image.pixels.data(), source.width, source.height, source.channels)});
    }
    return packed;
}

void DescribeCard(const Capture &capture, const K274_Barcode *barcode, bool decodedHere,
                  ordered_json &description) {
    description["kind"] = CardKindJson(capture);
    description["stripe"] = StripeJson(capture.stripe);
    description["barcodes"] = nullptr;
    if (barcode != nullptr)
        description["barcodes"] = BarcodesJson(*barcode, decodedHere);
    description["measures"] = MeasuresJson(capture);
}

void AddImages(FileSet &files, Package &package) {
    ordered_json images = ordered_json::array();
    for (const PackedImage &image : package.images) {
        const std::string file = image.name + ".png";
        files.Add(file, image.png.data(), image.png.size());
        images.push_back({{"name", image.name},
                          {"file", file},
                          {"width", image.width},
                          {"height", image.height},
                          {"channels", image.channels},
                          {"bytes", image.png.size()}});
    }
    package.description["images"] = std::move(images);
}

void AddFile(FileSet &files, Package &package, const char *key, const std::string &name,
             const std::string &content) {
    files.Add(name, content.data(), content.size());
    package.description["files"][key] = name;
}

void AddDescription(FileSet &files, const Package &package) {
    const std::string text =
        package.description.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
    files.Add("scan.json", text.data(), text.size());
}

Package ReadPackage(const fs::path &path) {
    std::error_code ignored;
    return fs::is_directory(path, ignored) ? ReadFolder(path) : ReadScanFile(path);
}

Package ReadScanFile(const fs::path &path) {
    std::error_code error;
    const uintmax_t size = fs::file_size(path, error);
    uint32_t variant = 0;
    const int32_t result = error ? -1 : K274_Open(path.string().c_str(), &variant);
    if (error)
        throw HostError(Exit::kBadFile, "cannot read " + path.string() + ": there is no such file");
    if (result != 0)
        throw HostError(Exit::kBadFile, path.string() + " is not a scan file of this scanner");
    const bool loaded = std::find(kLoadable.begin(), kLoadable.end(), size) != kLoadable.end();
    Capture capture = TakeCapture(variant == 0 ? Extent::kFile : Extent::kFileNoLast);

    Package package = {};
    package.curves = NoCurves();
    package.description = {{"format", "k274-file"},     {"formatVersion", 1},
                           {"host", K274_HOST_VERSION}, {"file", path.string()},
                           {"loaded", loaded},          {"information", InformationJson(capture)}};
    if (!loaded) // the library shows the head of such a file and nothing else of it
        return package;
    DescribeCard(capture, &capture.barcode, false, package.description);
    package.curves = CurvesOf(capture);
    package.images = PackImages(capture);
    return package;
}

} // namespace host
