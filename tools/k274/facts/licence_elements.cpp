// Licence texts begin "@", a line feed, a record separator, a return and "ANSI ", then come the issuer's
// number (6 digits), two versions (2 digits each), the number of subfiles (2), a table with a line of 10
// characters for each (type 2, offset 4, length 4), and the subfiles: the type, then elements that end with a
// line feed.
#include "tools/k274/facts/licence_elements.h"

#include <algorithm>
#include <iterator>

namespace host {

namespace {

constexpr size_t kMarkLength = 5; // "ANSI "
constexpr size_t kIssuerLength = 6;
constexpr size_t kTableLine = 10;

constexpr struct {
    char id[4];
    const char *name;
} kNames[] = {
    {"DAA", "full name"},
    {"DAC", "first name"},
    {"DAD", "middle names"},
    {"DAG", "street"},
    {"DAH", "street, second line"},
    {"DAI", "city"},
    {"DAJ", "state"},
    {"DAK", "postal code"},
    {"DAQ", "licence number"},
    {"DAU", "height"},
    {"DAW", "weight, pounds"},
    {"DAX", "weight, kilograms"},
    {"DAY", "eye colour"},
    {"DAZ", "hair colour"},
    {"DBA", "valid until"},
    {"DBB", "date of birth"},
    {"DBC", "sex"},
    {"DBD", "issued on"},
    {"DCA", "vehicle class"},
    {"DCB", "restrictions"},
    {"DCD", "endorsements"},
    {"DCE", "weight range"},
    {"DCF", "document discriminator"},
    {"DCG", "country"},
    {"DCI", "place of birth"},
    {"DCJ", "audit information"},
    {"DCK", "inventory number"},
    {"DCL", "race or ethnicity"},
    {"DCS", "family name"},
    {"DCT", "first and middle names"},
    {"DCU", "name suffix"},
    {"DDA", "compliance"},
    {"DDB", "card revised on"},
    {"DDD", "limited duration"},
    {"DDE", "family name shortened"},
    {"DDF", "first name shortened"},
    {"DDG", "middle names shortened"},
    {"DDH", "under 18 until"},
    {"DDI", "under 19 until"},
    {"DDJ", "under 21 until"},
    {"DDK", "organ donor"},
    {"DDL", "veteran"},
};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsCapital(char c) { return c >= 'A' && c <= 'Z'; }

/// The number in these characters; -1 when they are not all digits or not all there.
int Number(const std::string &text, size_t at, size_t digits) {
    if (at > text.size() || text.size() - at < digits)
        return -1;
    int value = 0;
    for (size_t i = at; i < at + digits; ++i) {
        if (!IsDigit(text[i]))
            return -1;
        value = value * 10 + (text[i] - '0');
    }
    return value;
}

std::string NameOf(const std::string &id) {
    for (const auto &entry : kNames) {
        if (id == entry.id)
            return entry.name;
    }
    return {};
}

bool IsDate(int year, int month, int day) {
    return year >= 1900 && year < 2100 && month >= 1 && month <= 12 && day >= 1 && day <= 31;
}

/// Eight digits, month, day and year, or year, month and day; no century begins with a month.
std::string DateOf(const std::string &value) {
    if (value.size() != 8 || Number(value, 0, 8) < 0)
        return {};
    if (IsDate(Number(value, 4, 4), Number(value, 0, 2), Number(value, 2, 2)))
        return value.substr(4, 4) + "-" + value.substr(0, 2) + "-" + value.substr(2, 2);
    if (IsDate(Number(value, 0, 4), Number(value, 4, 2), Number(value, 6, 2)))
        return value.substr(0, 4) + "-" + value.substr(4, 2) + "-" + value.substr(6, 2);
    return {};
}

std::string MeaningOf(const std::string &id, const std::string &value) {
    constexpr const char *kDates[] = {"DBA", "DBB", "DBD", "DDB", "DDH", "DDI", "DDJ"};
    if (std::find(std::begin(kDates), std::end(kDates), id) != std::end(kDates))
        return DateOf(value);
    if (id == "DBC")
        return value == "1" ? "male" : value == "2" ? "female" : value == "9" ? "not stated" : "";
    return {};
}

void AddElements(const std::string &lines, std::vector<LicenceElement> &elements) {
    for (size_t at = 0; at < lines.size();) {
        const size_t end = std::min(lines.find_first_of("\n\r", at), lines.size());
        const std::string line = lines.substr(at, end - at);
        at = end + 1;
        if (line.size() < 3 || !IsCapital(line[0]) ||
            !std::all_of(line.begin() + 1, line.begin() + 3,
                         [](char c) { return IsCapital(c) || IsDigit(c); }))
            continue;
        std::string value = line.substr(3);
        value.erase(value.find_last_not_of(' ') + 1);
        const std::string id = line.substr(0, 3);
        elements.push_back({id, NameOf(id), value, MeaningOf(id, value)});
    }
}

} // namespace

std::vector<LicenceElement> LicenceElements(const std::string &text) {
    std::vector<LicenceElement> elements;
    const size_t mark = text.find("ANSI ");
    if (text.empty() || text[0] != '@' || mark == std::string::npos || mark > 8)
        return elements;
    // The first version of such texts had no version of the issuer's own.
    const size_t versions = mark + kMarkLength + kIssuerLength;
    const size_t table = versions + (Number(text, versions, 2) >= 2 ? 6 : 4);
    const int count = Number(text, table - 2, 2);
    for (int i = 0; i < count; ++i) {
        const size_t line = table + static_cast<size_t>(i) * kTableLine;
        const int offset = Number(text, line + 2, 4), length = Number(text, line + 6, 4);
        if (offset < 0 || length < 2 || static_cast<size_t>(offset) >= text.size())
            continue;
        const std::string subfile = text.substr(static_cast<size_t>(offset), static_cast<size_t>(length));
        if (subfile.compare(0, 2, text, line, 2) == 0)
            AddElements(subfile.substr(2), elements);
    }
    return elements;
}

} // namespace host
