// Puts the values of the page together.
#include "tools/k274/report/report.h"

#include <utility>

#include "tools/k274/base/errors.h"
#include "tools/k274/base/text.h"
#include "tools/k274/files/picture.h"
#include "tools/k274/files/png.h"
#include "tools/k274/report/maint.h"
#include "tools/k274/report/plot.h"
#include "tools/k274/report/render.h"
#include "tools/k274/report/sections.h"

namespace host {

using nlohmann::ordered_json;

namespace {

// Of packed images in a page: beyond it pages become slow to open, and the larger ones go in as JPEG.
constexpr size_t kMostPngBytes = 10'000'000;
constexpr size_t kSmallPngBytes = 300'000;
constexpr int kJpegQuality = 90;

constexpr struct {
    const char *name, *title;
} kTitles[] = {{"front", "Visible light, front"},
               {"back", "Visible light, back"},
               {"ir-front", "Infrared, front"},
               {"ir-back", "Infrared, back"},
               {"uv-front", "Ultraviolet, front"},
               {"uv-back", "Ultraviolet, back"},
               {"edge", "Edge of the card's back"},
               {"stripe", "Magnetic stripe, infrared"},
               {"stripe-bleed", "Magnetic stripe, bleed image"}};

std::string TitleOf(const std::string &name) {
    for (const auto &entry : kTitles) {
        if (name == entry.name)
            return entry.title;
    }
    return name;
}

std::string SourceOf(const PackedImage &image, bool asJpeg) {
    if (!asJpeg)
        return "data:image/png;base64," + Base64(image.png.data(), image.png.size());
    const Picture picture = DecodePng(image.png, image.name);
    const std::vector<uint8_t> jpeg =
        EncodeJpeg(picture.pixels.data(), picture.width, picture.height, picture.channels, kJpegQuality);
    return "data:image/jpeg;base64," + Base64(jpeg.data(), jpeg.size());
}

void AddImages(const Package &package, ordered_json &page) {
    size_t total = 0;
    for (const PackedImage &image : package.images)
        total += image.png.size();
    const bool tooLarge = total > kMostPngBytes;
    ordered_json images = ordered_json::array();
    for (const PackedImage &image : package.images)
        images.push_back({{"title", TitleOf(image.name)},
                          {"width", image.width},
                          {"height", image.height},
                          {"source", SourceOf(image, tooLarge && image.png.size() > kSmallPngBytes)}});
    page["images"] = std::move(images);
    page["compressed"] = tooLarge;
}

ordered_json Responses(const Curves &curves) {
    ordered_json plots = ordered_json::array();
    if (HasValues(curves.raw))
        plots.push_back(Plot(curves.raw, "Before correction"));
    if (HasValues(curves.corrected))
        plots.push_back(Plot(curves.corrected, "After correction"));
    return plots;
}

} // namespace

std::string BuildReport(const Package &package) {
    try {
        ordered_json page;
        AddSections(package.description, package.log, page);
        AddImages(package, page);
        page["plots"] = Responses(package.curves);
        page["maint"] = MaintSection(package.maint);
        return RenderPage(page);
    } catch (const ordered_json::exception &) {
        throw HostError(Exit::kBadFile, "the scan's description is incomplete: scan the card again");
    }
}

} // namespace host
