// A card on its way into the virtual scanner: pictures of its two sides and what else it carries.
// A card is a folder; `docs/cards.md` describes it for people who draw their own.
#pragma once

#include <array>
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

/// Rows from the top, one byte a pixel.
struct GreyPicture {
    int width = 0, height = 0;
    std::vector<uint8_t> grey;
};

enum class TrackFault { kNone, kParity, kLrc };

/// One track of the magnetic stripe.
struct Track {
    std::string text; // without sentinels and LRC; empty: the track is blank
    int bits = 7;     // of a character, parity included: 7 or 5
    TrackFault fault = TrackFault::kNone;
};

enum class Behaviour { kNormal, kCleaning, kSlipping, kJamming };
enum class Dust { kNone, kLight, kHeavy };

/// What a card is beside its pictures.
struct Traits {
    std::array<Track, 3> tracks{Track{{}, 7, {}}, Track{{}, 5, {}}, Track{{}, 7, {}}};
    bool swipedBackward = false;
    bool stripe = false; // there is a stripe to be seen
    bool turned = false; // the pictures are stored as the scanner sees them: turned already
    Behaviour behaviour = Behaviour::kNormal;
    Dust dust = Dust::kLight; // on the glass while this card is scanned
};

/// All pictures are of the same size.
struct Card {
    std::string name;
    Picture front, back;
    int cornerRadius = 0; // pixels of the art
    int dotsPerInch = 550;
    GreyPicture frontIr{}, backIr{}; // 255: as bright as the white target
    Picture frontUv{}, backUv{};     // what glows; 255: as the white target does
    Traits traits{};
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
