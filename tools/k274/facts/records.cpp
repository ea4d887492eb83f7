// Puts names to the fields of the library's records.
#include "tools/k274/facts/records.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace host {

using nlohmann::ordered_json;

namespace {

// The scan's raster, along the card and across it.
constexpr double kDotsPerInch = 550;

double Millimetres(uint16_t dots) { return std::round(dots / kDotsPerInch * 25.4 * 100) / 100; }

} // namespace

std::string Dotted(const uint8_t *numbers, int count) {
    std::string text;
    for (int i = 0; i < count; ++i)
        text += (i == 0 ? "" : ".") + std::to_string(numbers[i]);
    return text;
}

std::string SecondSerial(const K274_Version &version) {
    return std::to_string((uint64_t{version.serialNumber2High} << 32) | version.serialNumber2Low);
}

ordered_json VersionJson(const K274_Version &version) {
    return {{"serialNumber", version.serialNumber},
            {"serialNumber2", SecondSerial(version)},
            {"library", Dotted(version.library, 3)},
            {"barcodeLibrary", Dotted(version.barcodeLibrary, 2)},
            {"firmware", Dotted(version.firmware, 3)},
            {"fpga", Dotted(version.fpga, 2)},
            {"hardware", version.hardware},
            {"device38", version.device38}};
}

ordered_json StatusJson(const K274_Status &status) {
    return {{"statusWord", status.statusWord},     {"cardWidth", status.cardWidth},
            {"frontHeight", status.frontHeight},   {"backHeight", status.backHeight},
            {"topEdge", status.topEdge},           {"backOffset", status.backOffset},
            {"rgbDeviation", status.rgbDeviation}, {"irDeviation", status.irDeviation},
            {"uvDeviation", status.uvDeviation},   {"device5", status.device5},
            {"device17", status.device17},         {"device18", status.device18},
            {"device20", status.device20},         {"device36", status.device36},
            {"device38", status.device38},         {"device40", status.device40},
            {"device42", status.device42},         {"device44", status.device44},
            {"device48", status.device48},         {"device50", status.device50},
            {"device52", status.device52},         {"device56", status.device56}};
}

ordered_json CardJson(const K274_Status &status) {
    return {{"widthMm", Millimetres(status.cardWidth)},
            {"frontHeightMm", Millimetres(status.frontHeight)},
            {"backHeightMm", Millimetres(status.backHeight)}};
}

} // namespace host
