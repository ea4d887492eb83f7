// Cards from their folders: what is taken, and what a damaged or careless one is told.
#include "scanner/cards/card.h"
#include "tests/scanner/firmware/wire.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>

namespace {

using namespace scanner;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using wire::TempFolder;

constexpr int kWidth = 338, kHeight = 213; // of the cards that the folder makes, at 100 dots per inch

std::string ReadAll(const std::string &path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}
void WriteAll(const std::string &path, const std::string &bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

void PutBig32(std::string &bytes, size_t at, uint32_t value) {
    for (const int shift : {24, 16, 8, 0})
        bytes[at++] = static_cast<char>(value >> shift);
}

/// Another size in a PNG's header, with the checksum that belongs to it.
std::string Resized(std::string png, uint32_t width, uint32_t height) {
    PutBig32(png, 16, width);
    PutBig32(png, 20, height);
    uint32_t crc = 0xFFFFFFFF;
    for (size_t i = 12; i < 29; i++) {
        crc ^= static_cast<uint8_t>(png[i]);
        for (int bit = 0; bit < 8; bit++)
            crc = crc >> 1 ^ ((crc & 1) != 0 ? 0xEDB88320u : 0);
    }
    PutBig32(png, 29, ~crc);
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

class Cards : public testing::Test {
protected:
    TempFolder folder_;
};

TEST_F(Cards, FolderBecomesACard) {
    const std::string path = folder_.AddCard("plain", 90);
    Card card = LoadCard(path);
    EXPECT_EQ(card.name, "plain");
    EXPECT_EQ(LoadCard(path + "/").name, "plain");
    EXPECT_EQ(card.dotsPerInch, 100);
    EXPECT_EQ(card.cornerRadius, 13) << "an eighth of an inch unless the text says otherwise";
    EXPECT_EQ(card.front.width, kWidth);
    EXPECT_EQ(card.front.height, kHeight);
    EXPECT_EQ(card.front.rgb, std::vector<uint8_t>(size_t{3} * kWidth * kHeight, 90));
    EXPECT_EQ(card.back.width, kWidth);
    EXPECT_EQ(card.back.height, kHeight);
    EXPECT_EQ(card.back.rgb, std::vector<uint8_t>(size_t{3} * kWidth * kHeight, 255)) << "no picture: white";

    WriteAll(path + "/back.png", ReadAll(folder_.AddCard("other", 30) + "/front.png"));
    WriteAll(path + "/card.txt", "\xEF\xBB\xBF# a comment\r\n\r\n  name =  A card = a name \r\ndpi=100\r\n"
                                 "corner-radius-inches = .2\r\n");
    card = LoadCard(path);
    EXPECT_EQ(card.name, "A card = a name");
    EXPECT_EQ(card.cornerRadius, 20);
    EXPECT_EQ(card.front.rgb[0], 90);
    EXPECT_EQ(card.back.rgb[0], 30);
}

TEST_F(Cards, DamagedPicturesAreNamed) {
    const std::string png = ReadAll(folder_.AddCard("good") + "/front.png");
    ASSERT_EQ(Complaint(folder_.Path("good")), "");
    std::string flipped = png, otherSize = png;
    flipped[png.size() / 2] ^= 1;
    PutBig32(otherSize, 16, kWidth + 1);
    const struct {
        const char *what, *file;
        std::string bytes;
        const char *complaint;
    } kCases[] = {
        {"empty", "front.png", "", "not a PNG"},
        {"not a PNG", "front.png", "GIF89a and more", "not a PNG"},
        {"signature alone", "front.png", png.substr(0, 8), "cut short"},
        {"cut in its header", "front.png", png.substr(0, 30), "cut short"},
        {"cut in half", "front.png", png.substr(0, png.size() / 2), "cut short"},
        {"without its end", "front.png", png.substr(0, png.size() - 12), "cut short"},
        {"one bit flipped", "front.png", flipped, "checksum"},
        {"header changed", "front.png", otherSize, "checksum"},
        {"no header", "front.png", png.substr(0, 8) + png.substr(33), "damaged"},
        {"monstrous", "front.png", Resized(png, 0xFFFFFFFF, 0x7FFFFFFF), "8192"},
        {"a little too large", "front.png", Resized(png, 8193, 1), "8192"},
        {"no width", "front.png", Resized(png, 0, kHeight), "8192"},
        {"fewer pixels than it says", "front.png", Resized(png, kWidth, kHeight + 2), "decoded"},
        {"not a card's size", "front.png", Resized(png, kWidth, 2 * kHeight), "inches"},
        {"back damaged", "back.png", flipped, "checksum"},
        {"back not a PNG", "back.png", "?", "not a PNG"},
        {"back of another size", "back.png", Resized(png, kWidth - 1, kHeight), "one size"},
    };
    for (const auto &c : kCases) {
        const TempFolder folder;
        const std::string path = folder.AddCard("card");
        WriteAll(path + "/" + c.file, c.bytes);
        EXPECT_THAT(Complaint(path), AllOf(HasSubstr(c.file), HasSubstr(c.complaint))) << c.what;
    }
}

TEST_F(Cards, MissingFilesAreNamed) {
    EXPECT_THAT(Complaint(folder_.Path("none")), AllOf(HasSubstr("none"), HasSubstr("no such folder")));
    const std::string path = folder_.AddCard("card");
    EXPECT_THAT(Complaint(path + "/front.png"), HasSubstr("no such folder")) << "a file is no card";
    std::filesystem::remove(path + "/front.png");
    EXPECT_THAT(Complaint(path), AllOf(HasSubstr("front.png"), HasSubstr("no such file")));
    std::filesystem::create_directory(path + "/front.png");
    EXPECT_THAT(Complaint(path), AllOf(HasSubstr("front.png"), HasSubstr("no such file")));
}

TEST_F(Cards, WrongTextIsNamedByItsLine) {
    const struct {
        std::string text;
        const char *complaint; // null: the card is taken
    } kCases[] = {
        {"dpi = 100", nullptr},
        {"dpi = 100\ncorner-radius-inches = 0", nullptr},
        {"dpi = 100\ncorner-radius-inches = 0.5", nullptr},
        {"dpi = 100\ncorner-radius-inches = 0.5001", "line 2: corner-radius-inches"},
        {"dpi = 100\ncorner-radius-inches = 0.12345", "line 2: corner-radius-inches"},
        {"dpi = 100\ncorner-radius-inches = 1.2.3", "line 2: corner-radius-inches"},
        {"dpi = 100\ncorner-radius-inches = -0.1", "line 2: corner-radius-inches"},
        {"dpi = 99", "line 1: dpi"},
        {"dpi = 2401", "line 1: dpi"},
        {"dpi = 0", "line 1: dpi"},
        {"dpi = -550", "line 1: dpi"},
        {"dpi = 4294967396", "line 1: dpi"},
        {"dpi = 99999999999999999999999999", "line 1: dpi"},
        {"dpi = 100.0", "line 1: dpi"},
        {"dpi = fine", "line 1: dpi"},
        {"dpi =", "line 1: dpi"},
        {"dpi = 550", "inches"}, // allowed, but not for a picture of this size
        {"", "inches"},
        {"dpi = 100\n\nname =", "line 3: a name"},
        {"dpi = 100\nname = " + std::string(81, 'n'), "line 2: a name"},
        {"dpi = 100\ndpi = 100", "line 2: this key stands twice"},
        {"dpi = 100\ncolour = red", "line 2: unknown key"},
        {"# text\nrubbish", "line 2: write 'key = value'"},
        {std::string("dpi\0= 100", 9), "line 1: write 'key = value'"},
        {"\x7F\x45\x4C\x46\x02\x01", "line 1: write 'key = value'"},
        {std::string(65537, '#'), "longer than 64 KB"},
    };
    const std::string path = folder_.AddCard("card");
    for (const auto &c : kCases) {
        WriteAll(path + "/card.txt", c.text);
        const std::string complaint = Complaint(path);
        if (c.complaint == nullptr)
            EXPECT_EQ(complaint, "") << c.text;
        else
            EXPECT_THAT(complaint, HasSubstr(c.complaint)) << c.text.substr(0, 60);
    }
}

TEST_F(Cards, ListIsInTheOrderOfTheNames) {
    EXPECT_THROW(ListCards(folder_.Path()), CardError) << "empty";
    EXPECT_THROW(ListCards(folder_.Path("none")), CardError);
    for (const char *name : {"b", "a", "c"})
        folder_.AddCard(name);
    std::filesystem::create_directory(folder_.Path("no-card"));
    WriteAll(folder_.Path("aa.png"), "a file between the cards");
    std::filesystem::remove(
        folder_.Path("c/front.png")); // listed all the same: loading it tells what is missing
    EXPECT_THAT(ListCards(folder_.Path()),
                ElementsAre(folder_.Path("a"), folder_.Path("b"), folder_.Path("c")));
    EXPECT_THAT(ListCards(folder_.Path("a")), ElementsAre(folder_.Path("a")));
    EXPECT_THROW(ListCards(folder_.Path("aa.png")), CardError);
}

TEST(SampleDeck, EveryCardLoads) {
    const std::vector<std::string> cards = ListCards(K274_SOURCE_DIR "/scanner/cards/samples");
    EXPECT_EQ(cards.size(), 5u);
    for (const std::string &path : cards) {
        const Card card = LoadCard(path);
        EXPECT_EQ(card.front.width, 1856) << path;
        EXPECT_EQ(card.front.height, 1169) << path;
        EXPECT_EQ(card.cornerRadius, 69) << path;
    }
}

} // namespace
