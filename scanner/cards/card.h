// A card on its way into the virtual scanner: pictures of its two sides and what else it carries.
// A card is a folder; `docs/cards.md` describes it for people who draw their own.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace scanner {

/// Rows from the top, pixels red, green, blue.
struct Picture {
    int width = 0, height = 0;
    std::vector<uint8_t> rgb;
};

/// Both pictures are of the same size.
struct Card {
    std::string name;
    Picture front, back;
    int cornerRadius = 0; // pixels of the art
    int dotsPerInch = 550;
};

struct CardError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Loads one card. Throws CardError with a text that names the file and the cure.
Card LoadCard(const std::string &folder);

/// The cards below a folder in the order of their names; the folder itself when it is a card.
/// Throws CardError when there is none.
std::vector<std::string> ListCards(const std::string &folder);

} // namespace scanner
