// Fills the page: every value on it is escaped here or in the file that makes its section.
#include "tools/k274/report/report.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string_view>

#include "tools/k274/errors.h"
#include "tools/k274/picture.h"
#include "tools/k274/png.h"
#include "tools/k274/report/plot.h"
#include "tools/k274/report/sections.h"
#include "tools/k274/report/templates.h"
#include "tools/k274/report/workshop.h"
#include "tools/k274/text.h"

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

std::string Figure(const PackedImage &image, bool asJpeg) {
    const std::string title = EscapeHtml(TitleOf(image.name));
    const std::string size = std::to_string(image.width) + " &times; " + std::to_string(image.height);
    std::string source = "data:image/png;base64,";
    if (asJpeg) {
        const Picture picture = DecodePng(image.png, image.name);
        const std::vector<uint8_t> jpeg =
            EncodeJpeg(picture.pixels.data(), picture.width, picture.height, picture.channels, kJpegQuality);
        source = "data:image/jpeg;base64," + Base64(jpeg.data(), jpeg.size());
    } else {
        source += Base64(image.png.data(), image.png.size());
    }
    return "<figure><button type=\"button\" aria-label=\"Enlarge: " + title + "\"><img alt=\"" + title +
           " of the card\" width=\"" + std::to_string(image.width) + "\" height=\"" +
           std::to_string(image.height) + "\" src=\"" + source + "\"></button><figcaption>" + title + ", " +
           size + " pixels</figcaption></figure>\n";
}

struct Images {
    std::string html, note;
};

Images ImageSection(const Package &package) {
    size_t total = 0;
    for (const PackedImage &image : package.images)
        total += image.png.size();
    const bool tooLarge = total > kMostPngBytes;
    Images images;
    for (const PackedImage &image : package.images)
        images.html += Figure(image, tooLarge && image.png.size() > kSmallPngBytes);
    if (tooLarge)
        images.note =
            "<p class=\"soft\">The larger images are compressed here; the exact ones are in the files "
            "of the scan.</p>";
    return images;
}

std::string ResponseSection(const Curves &curves) {
    std::string html;
    if (HasValues(curves.raw))
        html += PlotCurves(curves.raw, "Before correction");
    if (HasValues(curves.corrected))
        html += PlotCurves(curves.corrected, "After correction");
    return html.empty() ? "<p class=\"soft\">No response was kept.</p>\n" : html;
}

/// Puts the values in the place of {{name}}; what they contain is not looked at.
std::string Fill(std::string_view page, const std::map<std::string, std::string> &values) {
    std::string filled;
    for (;;) {
        const size_t begin = page.find("{{");
        filled += page.substr(0, begin);
        if (begin == std::string_view::npos)
            return filled;
        const size_t end = page.find("}}", begin);
        filled += values.at(std::string(page.substr(begin + 2, end - begin - 2)));
        page.remove_prefix(end + 2);
    }
}

} // namespace

std::string BuildReport(const Package &package) {
    try {
        const ordered_json &scan = package.description;
        Images images = ImageSection(package);
        return Fill(kPageHtml, {{"style", kPageCss},
                                {"script", kPageJs},
                                {"title", EscapeHtml(TitleLine(scan))},
                                {"verdict", VerdictLine(scan)},
                                {"facts", FactItems(scan)},
                                {"images", std::move(images.html)},
                                {"imagesNote", std::move(images.note)},
                                {"stripe", StripeSection(scan)},
                                {"barcodes", BarcodeSection(scan)},
                                {"measures", MeasureRows(scan)},
                                {"measuresNote", MeasuresNote(scan)},
                                {"responses", ResponseSection(package.curves)},
                                {"course", CourseSection(scan, package.log)},
                                {"workshop", WorkshopSection(package.workshop)}});
    } catch (const ordered_json::exception &) {
        throw HostError(Exit::kBadFile, "the scan's description is incomplete: scan the card again");
    }
}

} // namespace host
