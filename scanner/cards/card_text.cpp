// Reads card.txt. An unknown key is refused rather than skipped: it is most likely a slip of the pen.
#include "scanner/cards/card_text.h"

#include "scanner/cards/card.h"

#include <algorithm>
#include <fstream>
#include <initializer_list>
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

/// One word of a list, which stands in order from 0.
template <typename Value>
bool OneOf(std::initializer_list<std::string_view> words, std::string_view text, Value *value) {
    const auto *const found = std::find(words.begin(), words.end(), text);
    if (found == words.end())
        return false;
    *value = static_cast<Value>(found - words.begin());
    return true;
}

// ---- Keys. A handler takes one setting over; its text is empty when all is well, else what is right.

std::string SetName(CardText &card, std::string_view value) {
    if (value.empty() || value.size() > kMaxNameBytes)
        return "a name has 1 to 80 characters";
    card.name = value;
    return {};
}

std::string SetDpi(CardText &card, std::string_view value) {
    const std::optional<int> number = Decimal(value, 0);
    if (!number || *number < kMinDotsPerInch || *number > kMaxDotsPerInch)
        return "dpi is a whole number from 100 to 2400";
    card.dotsPerInch = *number;
    return {};
}

std::string SetCornerRadius(CardText &card, std::string_view value) {
    const std::optional<int> number = Decimal(value, 4);
    if (!number || *number > kMaxCornerRadius)
        return "corner-radius-inches is a number from 0 to 0.5 with at most four decimal places";
    card.cornerRadius = *number;
    return {};
}

template <size_t Number>
std::string SetTrack(CardText &card, std::string_view value) {
    card.traits.tracks[Number - 1].text = value;
    return value.empty() ? "a track has at least one character; leave the line out for a blank track" : "";
}

std::string SetTrack3Bits(CardText &card, std::string_view value) {
    if (value != "7" && value != "5")
        return "track3-bits is 7 or 5";
    card.traits.tracks[2].bits = value == "7" ? 7 : 5;
    return {};
}

template <size_t Number>
std::string SetFault(CardText &card, std::string_view value) {
    const bool known = OneOf({"none", "parity", "lrc"}, value, &card.traits.tracks[Number - 1].fault);
    return known ? "" : "a track's fault is none, parity or lrc";
}

std::string SetSwipe(CardText &card, std::string_view value) {
    return OneOf({"forward", "backward"}, value, &card.traits.swipedBackward)
               ? ""
               : "swipe is forward or backward";
}

std::string SetStripe(CardText &card, std::string_view value) {
    return OneOf({"no", "yes"}, value, &card.traits.stripe) ? "" : "stripe is yes or no";
}

std::string SetInsert(CardText &card, std::string_view value) {
    return OneOf({"upright", "turned"}, value, &card.traits.turned) ? "" : "insert is upright or turned";
}

std::string SetBehaviour(CardText &card, std::string_view value) {
    const bool known = OneOf({"normal", "cleaning", "slipping", "jamming"}, value, &card.traits.behaviour);
    return known ? "" : "behaviour is normal, cleaning, slipping or jamming";
}

std::string SetDust(CardText &card, std::string_view value) {
    return OneOf({"none", "light", "heavy"}, value, &card.traits.dust) ? "" : "dust is none, light or heavy";
}

constexpr struct {
    std::string_view key;
    std::string (*set)(CardText &, std::string_view);
} kKeys[] = {
    {"name", SetName},
    {"dpi", SetDpi},
    {"corner-radius-inches", SetCornerRadius},
    {"track1", SetTrack<1>},
    {"track2", SetTrack<2>},
    {"track3", SetTrack<3>},
    {"track3-bits", SetTrack3Bits},
    {"track1-fault", SetFault<1>},
    {"track2-fault", SetFault<2>},
    {"track3-fault", SetFault<3>},
    {"swipe", SetSwipe},
    {"stripe", SetStripe},
    {"insert", SetInsert},
    {"behaviour", SetBehaviour},
    {"dust", SetDust},
};

std::string Set(CardText &card, std::string_view key, std::string_view value) {
    std::string known;
    for (const auto &entry : kKeys) {
        if (entry.key == key)
            return entry.set(card, value);
        known.append(known.empty() ? "" : ", ").append(entry.key);
    }
    return "unknown key; the keys are " + known;
}

// ---- What can be judged only when the last line has been read

struct Alphabet {
    char first, last, start; // its characters and the start sentinel among them; '?' is the end sentinel
    size_t longest;          // text that fits on a card
    const char *is;
};
constexpr Alphabet kSevenBits = {' ', '_', '%', 76,
                                 "capital letters, digits and signs from blank to _ without % and ?"};
constexpr Alphabet kFiveBits = {'0', '>', ';', 104, "digits and : < = >"};
constexpr size_t kLongestTrack2 = 37; // it is recorded wider than the others

/// What is wrong with a track, empty when nothing is.
std::string Complaint(const Track &track, size_t number) {
    const Alphabet &alphabet = track.bits == 7 ? kSevenBits : kFiveBits;
    const size_t longest = number == 2 ? kLongestTrack2 : alphabet.longest;
    const auto allowed = [&alphabet](char c) {
        return c >= alphabet.first && c <= alphabet.last && c != alphabet.start && c != '?';
    };
    if (track.text.size() > longest || !std::all_of(track.text.begin(), track.text.end(), allowed))
        return "at " + std::to_string(track.bits) + " bits it has at most " + std::to_string(longest) +
               " characters, which are " + alphabet.is + "; the sentinels and the LRC are added";
    if (track.text.empty() && track.fault != TrackFault::kNone)
        return "it has a fault but no text; add its line or take the fault out";
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
    bool recorded = false;
    for (size_t i = 0; i < card.traits.tracks.size(); ++i) {
        const std::string wrong = Complaint(card.traits.tracks[i], i + 1);
        if (!wrong.empty())
            throw CardError(path.string() + ": track" + std::to_string(i + 1) + ": " + wrong);
        recorded |= !card.traits.tracks[i].text.empty();
    }
    if (seen.count("stripe") == 0)
        card.traits.stripe = recorded;
    return card;
}

} // namespace scanner
