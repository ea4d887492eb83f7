// What a card says of itself, as JSON: the tracks of its stripe and its barcodes.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "include/k274.h"

namespace host {

nlohmann::ordered_json StripeJson(const K274_Magnetic &stripe);

/// Orientation, decoder and position are told only of a barcode that this process has decoded: scan files
/// do not keep the first two.
nlohmann::ordered_json BarcodesJson(const K274_Barcode &barcode, bool decodedHere);

/// The same for people, a line each, without line breaks; control characters are shown as pictures.
std::string TrackLine(const nlohmann::ordered_json &track);
std::string BarcodeLine(const nlohmann::ordered_json &code);
std::string ElementLine(const nlohmann::ordered_json &element);

} // namespace host
