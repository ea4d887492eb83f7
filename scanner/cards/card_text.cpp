// Reads card.txt. An unknown key is refused rather than skipped: it is most likely a slip of the pen.
#include "scanner/cards/card_text.h"

#include "scanner/cards/card.h"

#include <fstream>
#include <optional>
#include <set>
#include <sstream>
#include <string_view>

namespace scanner {
namespace {

constexpr size_t kMaxTextBytes = 64 << 10;
constexpr size_t kMaxNameBytes = 80;
constexpr int kMinDotsPerInch = 100, kMaxDotsPerInch = 2400;
constexpr int kMaxCornerRadius = 5000; // 1/10000 inch

std::string_view Trim(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r";
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// An unsigned decimal number times 10 to the given number of places; further places are refused.
std::optional<int> Decimal(std::string_view text, int places) {
    int value = 0, digits = 0, placesSeen = -1; // -1: before the point
    for (const char c : text) {
        if (c == '.' && placesSeen < 0) {
            placesSeen = 0;
            continue;
        }
        if (c < '0' || c > '9' || ++digits > 8 || (placesSeen >= 0 && ++placesSeen > places))
            return std::nullopt;
        value = 10 * value + (c - '0');
    }
    if (digits == 0)
        return std::nullopt;
    int64_t scaled = value;
    for (int i = placesSeen < 0 ? 0 : placesSeen; i < places; ++i)
        scaled *= 10;
    if (scaled > INT32_MAX)
        return std::nullopt;
    return static_cast<int>(scaled);
}

std::string ReadText(const std::filesystem::path &path) {
    std::ifstream stream(path, std::ios::binary);
    std::string text(kMaxTextBytes + 1, '\0');
    if (!stream)
        throw CardError(path.string() + ": cannot be read; check its permissions");
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<size_t>(stream.gcount()));
    if (text.size() > kMaxTextBytes)
        throw CardError(path.string() + ": longer than 64 KB; this is to be a short text");
    if (text.compare(0, 3, "\xEF\xBB\xBF") == 0) // editors on some systems mark UTF-8 so
        text.erase(0, 3);
    return text;
}

/// Takes one setting over; the text is empty when all is well, else what is wrong and what is right.
std::string Set(CardText &card, std::string_view key, std::string_view value) {
    if (key == "name") {
        if (value.empty() || value.size() > kMaxNameBytes)
            return "a name has 1 to 80 characters";
        card.name = value;
    } else if (key == "dpi") {
        const std::optional<int> number = Decimal(value, 0);
        if (!number || *number < kMinDotsPerInch || *number > kMaxDotsPerInch)
            return "dpi is a whole number from 100 to 2400";
        card.dotsPerInch = *number;
    } else if (key == "corner-radius-inches") {
        const std::optional<int> number = Decimal(value, 4);
        if (!number || *number > kMaxCornerRadius)
            return "corner-radius-inches is a number from 0 to 0.5 with at most four decimal places";
        card.cornerRadius = *number;
    } else {
        return "unknown key; the keys are name, dpi and corner-radius-inches";
    }
    return {};
}

} // namespace

CardText ReadCardText(const std::filesystem::path &path) {
    CardText card;
    std::set<std::string, std::less<>> seen;
    std::istringstream lines(ReadText(path));
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        const std::string_view text = Trim(line);
        if (text.empty() || text.front() == '#')
            continue;
        std::string wrong;
        const size_t equals = text.find('=');
        if (equals == std::string_view::npos || text.find('\0') != std::string_view::npos)
            wrong = "write 'key = value', or begin the line with # for a comment";
        else if (!seen.emplace(Trim(text.substr(0, equals))).second)
            wrong = "this key stands twice; remove one";
        else
            wrong = Set(card, Trim(text.substr(0, equals)), Trim(text.substr(equals + 1)));
        if (!wrong.empty())
            throw CardError(path.string() + ", line " + std::to_string(number) + ": " + wrong);
    }
    return card;
}

} // namespace scanner
