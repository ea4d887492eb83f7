// Finds the virtual scanner's control functions in the driver library that is in place.
#include "tools/k274/scan/virtual_device.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "scanner/virtual_scanner.h"
#include "tools/k274/base/errors.h"
#include "tools/k274/base/system.h"

namespace host {

namespace fs = std::filesystem;

namespace {

template <typename Function>
Function *Control(const char *name) {
    void *symbol = DriverSymbol(name);
    if (symbol == nullptr)
        throw HostError(Exit::kNoVirtualScanner,
                        std::string("the driver library in place has no virtual scanner (no ") + name +
                            "): use the wdapi1140 library that came with k274, or a real scanner");
    return reinterpret_cast<Function *>(symbol);
}

std::string LastError() {
    const char *text = Control<decltype(VS_LastError)>("VS_LastError")();
    return text == nullptr ? "" : text;
}

bool IsCard(const fs::path &folder) {
    std::error_code ignored;
    return fs::exists(folder / "front.png", ignored) || fs::exists(folder / "card.txt", ignored);
}

// The folder itself when it is a card, else the cards in it in the order of their names, as the virtual
// scanner takes them by itself.
std::vector<std::string> CardsOf(const std::string &deck) {
    if (IsCard(deck))
        return {deck};
    std::vector<std::string> cards;
    std::error_code error;
    for (fs::directory_iterator entry(deck, error), end; !error && entry != end; entry.increment(error)) {
        if (IsCard(entry->path()))
            cards.push_back(entry->path().string());
    }
    if (error)
        throw HostError(Exit::kBadCard, "cannot read the cards in " + deck + ": " + error.message());
    if (cards.empty())
        throw HostError(Exit::kBadCard,
                        "there are no cards in " + deck + ": a card is a folder with a front.png");
    std::sort(cards.begin(), cards.end());
    return cards;
}

} // namespace

std::string DeviceName() {
    const char *name = std::getenv("K274_DEVICE");
    return name == nullptr || *name == '\0' ? "usb" : name;
}

void SelectDevice(const Options &options) {
    if (options.virtualScanner || !options.cards.empty() || !options.deck.empty())
        SetEnvironment("K274_DEVICE", "virtual");
    if (DeviceName() != "virtual") {
        if (options.seed || options.speed)
            throw HostError(Exit::kUsage, "--seed and --speed need --virtual, --card or --cards");
        return;
    }
    // The scanner comes into being with the first of these calls, so they are made even without options:
    // a driver that has no virtual scanner must not pass for one.
    const auto setSeed = Control<decltype(VS_SetSeed)>("VS_SetSeed");
    const auto setSpeed = Control<decltype(VS_SetSpeed)>("VS_SetSpeed");
    if (options.seed)
        setSeed(*options.seed);
    if (options.speed && setSpeed(*options.speed) != VS_OK)
        throw HostError(Exit::kUsage, "--speed: " + LastError());
    if (!options.cards.empty() || !options.deck.empty()) // our cards, not those of K274_CARDS
        Control<decltype(VS_SetCards)>("VS_SetCards")(nullptr);
}

CardFeeder::CardFeeder(const Options &options) : cards_(options.cards) {
    for (const std::string &card : cards_) {
        std::error_code ignored;
        if (!fs::is_directory(card, ignored))
            throw HostError(Exit::kBadCard, "there is no card folder " + card);
    }
    if (!options.deck.empty()) {
        const std::vector<std::string> deck = CardsOf(options.deck);
        cards_.insert(cards_.end(), deck.begin(), deck.end());
    }
}

bool CardFeeder::Insert(size_t number) {
    if (Control<decltype(VS_CardWaiting)>("VS_CardWaiting")() != 0)
        return false;
    switch (Control<decltype(VS_InsertCard)>("VS_InsertCard")(Name(number).c_str())) {
    case VS_OK:
        return true;
    case VS_SLOT_BUSY:
        return false;
    default:
        throw HostError(Exit::kBadCard, "cannot use the card " + Name(number) + ": " + LastError());
    }
}

} // namespace host
