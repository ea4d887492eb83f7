// Cards from their folders: what is taken, and what a damaged or careless one is told.
#include "scanner/cards/card.h"
#include "scanner/cards/hidden_light.h"
#include "tests/scanner/firmware/wire.h"
#include "tests/support/data.h"

#include <gmock/gmock.h>

namespace {

using namespace scanner;
using testing::ElementsAre;
using testing::HasSubstr;
using wire::AddCard;
using wire::kHeight;
using wire::kWidth;

/// A PNG with another size in its header, and the checksum that belongs to it.
std::string Resized(std::string png, uint32_t width, uint32_t height, uint32_t checksum) {
    for (const auto &[at, value] : {std::pair(16u, width), {20u, height}, {29u, checksum}})
        for (const unsigned k : {0u, 1u, 2u, 3u})
            png[at + k] = static_cast<char>(value >> (24 - 8 * k));
    return png;
}

/// What LoadCard says; empty when it takes the card.
std::string Complaint(const std::string &folder) {
    try {
        LoadCard(folder);
    } catch (const CardError &error) {
        return error.what();
    }
    return {};
}

struct Cards : testing::Test {
    TempFolder folder_;
};

TEST_F(Cards, FolderBecomesACard) {
    const std::string path = AddCard(folder_, "plain", 90);
    Card card = LoadCard(path + "/");
    EXPECT_EQ(card.name, "plain");
    EXPECT_EQ(card.cornerRadius, 13) << "an eighth of an inch unless the text says otherwise";
    EXPECT_EQ(card.front.rgb.front(), 80);
    EXPECT_EQ(card.front.rgb.back(), 90);
    EXPECT_EQ(card.back.rgb, std::vector<uint8_t>(card.front.rgb.size(), 255)) << "no picture: white";
    EXPECT_EQ(card.frontIr.grey, DeriveInfrared(card.front).grey);
    EXPECT_EQ(card.backUv.rgb, DeriveUltraviolet(card.back).rgb);
    EXPECT_FALSE(card.traits.stripe);

    uint8_t grey = 20;
    for (const char *file : {"/back.png", "/front-ir.png", "/back-ir.png", "/front-uv.png", "/back-uv.png"})
        wire::WritePng(path + file, grey = static_cast<uint8_t>(grey + 10));
    WriteText(path + "/card.txt", "\xEF\xBB\xBF# a comment\r\n\r\n  name =  A card = a name \r\ndpi=100\r\n"
                                  "corner-radius-inches = .2\r\ninsert = turned\ntrack2 = 12=34\n"
                                  "track2-fault = lrc\ntrack3-bits = 5\nswipe = backward\n"
                                  "behaviour = slipping\ndust = heavy");
    card = LoadCard(path);
    EXPECT_EQ(card.name, "A card = a name");
    EXPECT_EQ(card.cornerRadius, 20);
    // Turned: what was on the left is on the right.
    const Picture *colour[] = {&card.front, &card.back, &card.frontUv, &card.backUv};
    for (const int k : {0, 1, 2, 3})
        EXPECT_EQ(colour[k]->rgb.back(), std::vector({80, 20, 50, 60})[size_t(k)]);
    EXPECT_TRUE(card.frontIr.grey.back() == 30 && card.backIr.grey.back() == 40);
    EXPECT_EQ(card.traits.tracks[1].text, "12=34");
    EXPECT_EQ(card.traits.tracks[1].fault, TrackFault::kLrc);
    EXPECT_TRUE(card.traits.swipedBackward);
    EXPECT_TRUE(card.traits.stripe) << "it has a track";
    EXPECT_EQ(card.traits.behaviour, Behaviour::kSlipping);
    EXPECT_EQ(card.traits.dust, Dust::kHeavy);
}

TEST(HiddenLight, ShowsBlackInInfraredAndPaperInUltraviolet) {
    // white, paper, black, red, blue
    const Picture art{5, 1, {255, 255, 255, 250, 250, 250, 0, 0, 0, 230, 0, 0, 0, 20, 230}};
    const std::vector<uint8_t> ir = DeriveInfrared(art).grey, uv = DeriveUltraviolet(art).rgb;
    EXPECT_THAT(ir, ElementsAre(255, 250, 0, testing::Gt(200), testing::Gt(200)));
    EXPECT_EQ(std::vector<uint8_t>(uv.begin(), uv.begin() + 3), std::vector<uint8_t>(3, 255));
    EXPECT_TRUE(uv[3] < uv[4] && uv[4] < uv[5] && uv[5] > 80 && uv[5] < 140) << "weak and blue";
    EXPECT_THAT(std::vector<uint8_t>(uv.begin() + 6, uv.end()), testing::Each(0));
}

TEST_F(Cards, DamagedPicturesAreNamed) {
    const std::string png = ReadText(AddCard(folder_, "good") + "/front.png");
    std::string flipped = png;
    flipped[png.size() / 2] ^= 1;
    const struct {
        const char *what, *file;
        std::string bytes;
        const char *complaint;
    } kCases[] = {
        {"cut in half", "front.png", png.substr(0, png.size() / 2), "cut short"},
        {"one bit flipped", "front.png", flipped, "checksum"},
        {"monstrous", "front.png", Resized(png, 0xFFFFFFFF, 0x7FFFFFFF, 0x91C871AD), "8192"},
        {"fewer pixels than it says", "front.png", Resized(png, kWidth, kHeight + 2, 0x6DB486EC), "decoded"},
        {"not a card's size", "front.png", Resized(png, kWidth, 2 * kHeight, 0x7C7F9347), "inches"},
        {"back of another size", "back.png", Resized(png, kWidth - 1, kHeight, 0xCB4B9CE4), "one size"},
        {"infrared damaged", "front-ir.png", flipped, "checksum"},
        {"ultraviolet of another size", "back-uv.png", Resized(png, kWidth, kHeight - 1, 0xEB20F442),
         "one size"},
    };
    for (const auto &c : kCases) {
        const std::string path = AddCard(folder_, c.what);
        ASSERT_EQ(Complaint(path), "");
        WriteText(path + "/" + c.file, c.bytes);
        EXPECT_THAT(Complaint(path), testing::AllOf(HasSubstr(c.file), HasSubstr(c.complaint))) << c.what;
    }
}

TEST_F(Cards, WrongTextIsNamedByItsLine) {
    const std::string path = AddCard(folder_, "card");
    for (const auto &row : Table("scanner/optics/card_texts.txt")) { // the text, and what is said about it
        WriteText(path + "/card.txt", row.at(0));
        const std::string complaint = Complaint(path);
        EXPECT_EQ(complaint.empty(), row.at(1).empty()) << row[0];
        EXPECT_THAT(complaint, HasSubstr(row[1])) << row[0];
    }
    WriteText(path + "/card.txt", "dpi = 100\n" + std::string(65537, '#'));
    EXPECT_THAT(Complaint(path), HasSubstr("longer than 64 KB"));
}

TEST_F(Cards, ListsAreNotEmpty) {
    EXPECT_THROW(ListCards(folder_.Path().string()), CardError);
    const std::string a = AddCard(folder_, "a");
    std::filesystem::create_directory(folder_.File("b"));
    WriteText(folder_.File("b/card.txt"), "dpi = 100"); // listed: loading it tells what is missing
    EXPECT_THAT(ListCards(folder_.Path().string()), ElementsAre(a, folder_.File("b")));
    EXPECT_THAT(ListCards(a), ElementsAre(a));
    EXPECT_THAT(Complaint(folder_.File("b")), HasSubstr("front.png: no such file"));
    EXPECT_THAT(Complaint(folder_.File("none")), HasSubstr("none: no such folder"));
}

} // namespace
