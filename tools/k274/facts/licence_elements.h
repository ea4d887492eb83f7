// The elements of a driving licence's PDF417 text: three-character identifiers with their values.
#pragma once

#include <string>
#include <vector>

namespace host {

struct LicenceElement {
    std::string id;   // "DCS"
    std::string name; // "family name"; empty when the identifier is not known
    std::string value;
    std::string meaning; // of a coded value: a date as 1992-09-14, a sex in words; else empty
};

/// In the order of the text; none when it is no licence text. Whatever stands in the text, nothing outside
/// it is read.
std::vector<LicenceElement> LicenceElements(const std::string &text);

} // namespace host
