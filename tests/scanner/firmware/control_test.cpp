// The user's side: cards and folders of cards, events, the environment, the device log.
#include "host.h"
#include "scanner/firmware/environment.h"
#include "scanner/firmware/scanner.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace {

using namespace wire;
using testing::HasSubstr;

struct Control : ScannerTest {
    TempFolder folder;
};

/// One scan as a host makes it, with a few lines only. @return one byte from the middle of the card
int Scan(Host &host) {
    host.PollFor(0x0004, 20);
    const Bytes middle = host.Exchange(LineFields(1, 1100, 12));
    host.Exchange(LineFields(1, 100, 12));
    host.PollFor(0x8000, 20);
    host.Poll();
    return middle.size() == 97920 ? middle[24 + 3 * 600] : -1;
}

TEST_F(Control, CardsOfAFolderAreScannedOneAfterTheOther) {
    Host host;
    AddCard(folder, "a", 40);
    WriteText(AddCard(folder, "b") + "/front.png", "no picture");
    AddCard(folder, "c", 240);
    ASSERT_EQ(VS_SetCards(folder.Path().string().c_str()), VS_OK);
    const uint32_t before = Observed().scans;
    testing::internal::CaptureStderr();
    const int dark = Scan(host);
    EXPECT_EQ(VS_CardWaiting(), 1);
    const int bright = Scan(host);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("front.png")) << "the bad card is named";
    EXPECT_TRUE(dark > 0 && bright > dark + 50) << dark << " " << bright;
    EXPECT_EQ(VS_CardWaiting(), 0);
    EXPECT_EQ(Observed().scans, before + 2);
}

TEST_F(Control, BadArgumentsAndASecondCardAreRefused) {
    const std::string card = AddCard(folder, "card"), none = folder.File("none");
    EXPECT_EQ(VS_SetCards(none.c_str()), VS_BAD_CARD);
    EXPECT_EQ(VS_InsertCard(none.c_str()), VS_BAD_CARD);
    EXPECT_THAT(VS_LastError(), HasSubstr("none"));
    ASSERT_EQ(VS_InsertCard(card.c_str()), VS_OK);
    EXPECT_EQ(VS_InsertCard(card.c_str()), VS_SLOT_BUSY);
    for (const double bad : {-1.0, std::numeric_limits<double>::infinity(), std::nan("")})
        EXPECT_EQ(VS_SetSpeed(bad), VS_BAD_ARGUMENT);
    for (const size_t length : {0, 128})
        EXPECT_EQ(VS_PostEvent(std::string(length, 'e').c_str()), VS_BAD_ARGUMENT);
    while (VS_PostEvent(std::string(127, 'e').c_str()) == VS_OK) {
    }
    EXPECT_EQ(VS_PostEvent("x"), VS_QUEUE_FULL);
}

TEST(ScannerEnvironment, WhatCannotBeUsedIsNamedAndLeftOut) {
    const auto read = [](const std::string &text) {
        const Variable speed("K274_SPEED", text), seed("K274_SEED", text), jitter("K274_JITTER", text);
        const scanner::Settings settings = scanner::ReadEnvironment();
        return std::tuple(settings.speed, settings.seed, settings.jitter);
    };
    testing::internal::CaptureStderr();
    EXPECT_EQ(read(""), std::tuple(1.0, 1u, 0.0));
    EXPECT_EQ(read("2.5"), std::tuple(2.5, 1u, 2.5)) << "no seed";
    EXPECT_EQ(read("4294967295"), std::tuple(4294967295.0, 4294967295u, 0.0)) << "no jitter";
    for (const char *bad : {"-1", "inf", "nan", "10x", " 7", "1e400", "fast"})
        EXPECT_EQ(read(bad), std::tuple(1.0, 1u, 0.0)) << bad;
    const Variable cards("K274_CARDS", "/none"), log("K274_SCANNER_LOG", "/none/log"),
        flash("K274_FLASH", "/");
    const scanner::Scanner bare(scanner::ReadEnvironment());
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 2 + 7 * 3 + 3) << said;
}

} // namespace
