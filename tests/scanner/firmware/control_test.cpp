// The user's side: cards and folders of cards, events, the environment, the device log.
#include "host.h"
#include "scanner/firmware/environment.h"
#include "scanner/firmware/scanner.h"

#include <gmock/gmock.h>

#include <fstream>
#include <limits>
#include <sstream>

namespace {

using namespace wire;
using testing::ElementsAre;
using testing::HasSubstr;

class Control : public ScannerTest {
protected:
    /// One scan as a host makes it, with a few lines only. @return one byte from the middle of the card
    int Scan(Host &host) {
        if (!host.PollFor(0x0004, 20))
            return -1;
        Bytes block;
        for (const int first : {2188, 1100, 100}) {
            block = host.Exchange(RgbFields(first, 12));
            if (first == 1100)
                middle = block;
        }
        for (int k = 0; k < 20 && host.Poll() != 0; k++) {
        }
        return middle.size() == 97920 ? middle[24 + 3 * 600] : -1;
    }
    Bytes middle;
    TempFolder folder;
};

TEST_F(Control, CardsOfAFolderAreScannedOneAfterTheOther) {
    folder.AddCard("b", 240);
    folder.AddCard("a", 40);
    folder.AddCard("c", 240);
    std::ofstream(folder.Path("b/front.png"), std::ios::binary) << "no picture";
    Host host;
    EXPECT_EQ(VS_CardWaiting(), 0);
    ASSERT_EQ(VS_SetCards(folder.Path().c_str()), VS_OK);
    EXPECT_EQ(VS_CardWaiting(), 1);
    const uint32_t before = Observed().scans;
    testing::internal::CaptureStderr();
    const int dark = Scan(host);
    EXPECT_EQ(VS_CardWaiting(), 1);
    const int bright = Scan(host);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("front.png")) << "the bad card is named";
    EXPECT_GT(dark, 0);
    EXPECT_GT(bright, dark + 50);
    EXPECT_EQ(VS_CardWaiting(), 0);
    EXPECT_EQ(Observed().scans, before + 2);
    EXPECT_FALSE(host.PollFor(0x0001, 20));

    ASSERT_EQ(VS_SetCards(folder.Path().c_str()), VS_OK);
    ASSERT_EQ(VS_SetCards(""), VS_OK);
    EXPECT_EQ(VS_CardWaiting(), 0);
}

TEST_F(Control, SlotTakesOneCard) {
    const std::string card = folder.AddCard("card");
    Host host;
    EXPECT_EQ(VS_InsertCard(nullptr), VS_BAD_ARGUMENT);
    EXPECT_EQ(VS_InsertCard(""), VS_BAD_ARGUMENT);
    EXPECT_EQ(VS_InsertCard(folder.Path("none").c_str()), VS_BAD_CARD);
    EXPECT_THAT(VS_LastError(), HasSubstr("none"));
    EXPECT_EQ(VS_SetCards(folder.Path("none").c_str()), VS_BAD_CARD);
    ASSERT_EQ(VS_InsertCard(card.c_str()), VS_OK);
    EXPECT_STREQ(VS_LastError(), "");
    EXPECT_EQ(VS_InsertCard(card.c_str()), VS_SLOT_BUSY);
    EXPECT_EQ(VS_CardWaiting(), 1);
    ASSERT_TRUE(host.PollFor(0x0004));
    EXPECT_EQ(VS_InsertCard(card.c_str()), VS_SLOT_BUSY);
    VS_PressEject();
    host.Poll();
    host.Poll();
    EXPECT_EQ(VS_InsertCard(card.c_str()), VS_OK);
    EXPECT_GT(Scan(host), 0);
}

TEST_F(Control, SameSeedAndCardGiveTheSameBytes) {
    const std::string card = folder.AddCard("card");
    Host host;
    std::vector<Bytes> scans;
    for (const uint32_t seed : {5u, 6u, 5u}) {
        VS_SetSeed(seed);
        ASSERT_EQ(VS_InsertCard(card.c_str()), VS_OK);
        ASSERT_GT(Scan(host), 0);
        scans.emplace_back(middle.begin() + 24, middle.end());
    }
    ASSERT_EQ(VS_InsertCard(card.c_str()), VS_OK);
    ASSERT_GT(Scan(host), 0);
    EXPECT_EQ(scans[0], scans[2]);
    EXPECT_NE(scans[0], scans[1]);
    EXPECT_NE(scans[2], Bytes(middle.begin() + 24, middle.end())) << "no two scans of a seed are alike";
}

TEST_F(Control, UnpluggedInMidScanTheCardIsOut) {
    Host host;
    ASSERT_EQ(VS_InsertCard(folder.AddCard("card").c_str()), VS_OK);
    ASSERT_TRUE(host.PollFor(0x0004));
    VS_Unplug();
    EXPECT_EQ(VS_CardWaiting(), 0);
    VS_PlugIn();
    ASSERT_TRUE(host.WaitForNews(2, 1));
    EXPECT_FALSE(host.PollFor(0x0001, 10));
}

TEST_F(Control, PeopleAtTheScannerAreReported) {
    Host host;
    host.Poll();
    host.DropEvents();
    VS_OpenDoor();
    VS_CloseDoor();
    VS_PressEject();
    EXPECT_EQ(VS_PostEvent("Card jammed illum = 5"), VS_OK);
    EXPECT_EQ(VS_PostEvent(std::string(127, 'e').c_str()), VS_OK);
    EXPECT_EQ(VS_PostEvent(nullptr), VS_BAD_ARGUMENT);
    EXPECT_EQ(VS_PostEvent(""), VS_BAD_ARGUMENT);
    EXPECT_EQ(VS_PostEvent(std::string(128, 'e').c_str()), VS_BAD_ARGUMENT);
    std::vector<std::string> texts;
    for (host.Poll(); host.Kind() == 2; host.Poll())
        texts.push_back(host.Event());
    EXPECT_THAT(texts, ElementsAre("Door opened", "Door closed", "Eject button", "Card jammed illum = 5",
                                   std::string(127, 'e')));
    VS_RestartFirmware();
    host.Poll();
    EXPECT_EQ(host.Kind(), 1);
    EXPECT_EQ(host.Event(), "Reset - Button");
    while (VS_PostEvent("x") == VS_OK) {
    }
    EXPECT_EQ(VS_PostEvent("x"), VS_QUEUE_FULL);
}

TEST_F(Control, SpeedIsANumberFromZeroUpwards) {
    for (const double bad :
         {-1.0, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(VS_SetSpeed(bad), VS_BAD_ARGUMENT);
    EXPECT_EQ(VS_SetSpeed(1e9), VS_OK);
    Host host;
    ASSERT_EQ(VS_InsertCard(folder.AddCard("card").c_str()), VS_OK);
    EXPECT_GT(Scan(host), 0);
}

TEST_F(Control, NullsAreTolerated) {
    VS_GetIdentity(nullptr);
    VS_SetIdentity(nullptr);
    VS_SetAfeRegisters(nullptr);
    VS_GetObserved(nullptr);
}

struct EnvironmentCase {
    const char *speed, *seed;
    double readSpeed;
    uint32_t readSeed;
    int complaints;
};

TEST(ScannerEnvironment, NumbersThatAreNoneAreNamedAndLeftOut) {
    const EnvironmentCase cases[] = {
        {nullptr, nullptr, 1, 1, 0}, {"", "", 1, 1, 0},
        {"0", "0", 0, 0, 0},         {"2.5", "4294967295", 2.5, 4294967295, 0},
        {"-1", "-1", 1, 1, 2},       {"inf", "4294967296", 1, 1, 2},
        {"nan", "1.5", 1, 1, 2},     {"10x", " 7", 1, 1, 2},
        {"fast", "12", 1, 12, 1},    {"1e400", "0x10", 1, 1, 2},
    };
    for (const EnvironmentCase &c : cases) {
        const Environment speed("K274_SPEED", c.speed), seed("K274_SEED", c.seed);
        testing::internal::CaptureStderr();
        const scanner::Settings settings = scanner::ReadEnvironment();
        const std::string said = testing::internal::GetCapturedStderr();
        EXPECT_EQ(settings.speed, c.readSpeed) << c.speed;
        EXPECT_EQ(settings.seed, c.readSeed) << c.seed;
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), c.complaints) << said;
    }
}

TEST(ScannerEnvironment, CardsAndLogAreTakenFromIt) {
    TempFolder folder;
    folder.AddCard("deck/one");
    const std::string deck = folder.Path("deck"), log = folder.Path("device.log");
    {
        const Environment cards("K274_CARDS", deck.c_str()), file("K274_SCANNER_LOG", log.c_str()),
            speed("K274_SPEED", "0");
        scanner::Scanner own(scanner::ReadEnvironment());
        std::unique_lock<std::mutex> lock(own.mutex);
        EXPECT_TRUE(own.CardsWaiting());
        own.FeedSlot(lock);
        EXPECT_FALSE(own.device.SlotFree());
        EXPECT_FALSE(own.CardsWaiting());
        for (const Fields &fields : {PollFields(), PollFields(), Fields{0x74, 0, 0, 0, 5}, Fields{0xE7}}) {
            const Bytes packet = Packet(fields, 1);
            own.device.Out(packet.data(), packet.size());
        }
    }
    std::stringstream text;
    text << std::ifstream(log).rdbuf();
    for (const char *line : {"power on", "card one", "stage card in", "status word 0x0001", "0x74 beep",
                             "args 5", "0xE7 unknown command"})
        EXPECT_THAT(text.str(), HasSubstr(line));

    // A folder without cards and a log that cannot be written are named, and the scanner works all the same.
    const Environment cards("K274_CARDS", folder.Path("none").c_str()),
        file("K274_SCANNER_LOG", folder.Path("none/device.log").c_str());
    testing::internal::CaptureStderr();
    scanner::Scanner bare(scanner::ReadEnvironment());
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_THAT(said, HasSubstr("K274_CARDS"));
    EXPECT_THAT(said, HasSubstr("K274_SCANNER_LOG"));
    const std::lock_guard<std::mutex> lock(bare.mutex);
    EXPECT_TRUE(bare.device.SlotFree());
}

} // namespace
