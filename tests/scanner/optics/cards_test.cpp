// Cards from their folders: what is taken, and what a damaged or careless one is told. Every scenario has a
// folder of its own, and the card "card" in it.
#include "scanner/cards/card.h"
#include "scanner/cards/hidden_light.h"
#include "tests/scanner/firmware/wire.h"
#include "tests/scanner/transcript.h"

#include <gtest/gtest.h>

namespace {

using namespace scanner;

/// A card by the first and the last point of its pictures, and by what else it is.
std::string CardText(const Card &card) {
    std::ostringstream text;
    text << card.name << ", corners " << card.cornerRadius << ", front, back and their glow";
    for (const Picture *picture : {&card.front, &card.back, &card.frontUv, &card.backUv}) {
        text << ' ' << +picture->rgb.front() << '-' << +picture->rgb.back();
        EXPECT_EQ(picture->rgb.size(), card.front.rgb.size());
    }
    for (const GreyPicture *picture : {&card.frontIr, &card.backIr})
        text << ", infrared " << +picture->grey.front() << '-' << +picture->grey.back();
    const Traits &traits = card.traits;
    for (const Track &track : traits.tracks)
        text << ", \"" << track.text << "\" of " << track.bits << " bits, fault "
             << static_cast<int>(track.fault);
    text << ", stripe " << traits.stripe << ", backward " << traits.swipedBackward << ", behaviour "
         << static_cast<int>(traits.behaviour) << ", dust " << static_cast<int>(traits.dust);
    return text.str();
}

struct Cards : Player {
    Cards() {
        wire::AddCard(folder, "card", 90);
        verbs = {
            {"text", [this](const auto &text) { WriteText(folder.File("card/card.txt"), text); }},
            {"picture",
             [this](const auto &what) {
                 std::string file;
                 int grey = 0;
                 Take(what, file, grey);
                 wire::WritePng(folder.File(file), static_cast<uint8_t>(grey));
             }},
            {"spoil", [this](const auto &what) { Spoil(what); }},
            {"remove", [this](const auto &file) { std::filesystem::remove(folder.File(file)); }},
            {"load", [this](const auto &card) { Tell(CardText(LoadCard(folder.File(card)))); }},
            {"list",
             [this](const auto &of) {
                 for (const std::string &card : ListCards(folder.File(of)))
                     Tell(card);
             }},
            {"hidden",
             [this](const auto &colours) {
                 const std::vector<int> rgb = Ints(colours);
                 const Picture art{1, 1, {rgb.begin(), rgb.end()}}, glow = DeriveUltraviolet(art);
                 Tell("infrared " + std::to_string(DeriveInfrared(art).grey[0]) + ", glow " +
                      testing::PrintToString(std::vector<int>(glow.rgb.begin(), glow.rgb.end())));
             }},
        };
    }
    std::string Do(const std::string &line) {
        try {
            Player::Do(line);
        } catch (const CardError &error) {
            Tell(error.what());
        }
        return told;
    }
};

TEST(Cards, ComeOutAsTheyStand) { ExpectTranscript<Cards>("scanner/optics/cards.txt"); }

} // namespace
