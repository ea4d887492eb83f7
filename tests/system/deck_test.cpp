// Every card of the sample deck: the states, records and log lines that its scan must give (deck.txt).
#include "tests/support/data.h"
#include "tests/support/host.h"
#include "tests/support/regex.h"

#include <algorithm>
#include <thread>

namespace {

struct DeckTest : HostTest {};

/// From state 1 on, without those of barcodes and of the card path.
std::vector<int64_t> OfTheScan(const std::vector<int> &states) {
    std::vector<int64_t> kept(std::find(states.begin(), states.end(), 1), states.end());
    kept.erase(std::remove_if(kept.begin(), kept.end(),
                              [](int64_t state) { return state == 4 || state == 20 || state == 21; }),
               kept.end());
    return kept;
}

std::string Text(const uint8_t *bytes, int length) { return {bytes, bytes + length}; }

TEST_F(DeckTest, EveryCardGivesWhatItHolds) {
    Start();
    K274_SetBcDecMode(1); // the first decoder may take its time, however slow the machine
    std::this_thread::sleep_for(std::chrono::milliseconds(3100)); // until events are told
    for (const auto &row : Table("system/deck.txt")) {
        SCOPED_TRACE(row[0]);
        const auto states = Numbers(row[1]);
#ifdef K274_SLOW_BUILD
        if (states.back() == 38) // known by its barcode, which may not be read in time
            continue;
#endif
        const size_t lines = Log().size();
        Insert(row[0]);
        EXPECT_EQ(WaitFor({21}), 21);
        const bool scanned = std::count(states.begin(), states.end(), 8) != 0;
        if (scanned && row[0] != "white")
            EXPECT_EQ(WaitFor({4}), 4);
        EXPECT_EQ(OfTheScan(StatesSinceMark()), states);
        std::string log;
        const std::vector<std::string> all = Log();
        for (size_t i = lines; i < all.size(); ++i)
            log += all[i] + " / ";
        EXPECT_THAT(log, PartMatches(row[2]));
        if (!scanned)
            continue;
        K274_Status status;
        K274_UpdateStatus(&status);
        if (!std::count(states.begin(), states.end(), 23)) // the length is as it should be
            EXPECT_NEAR(status.cardWidth, 1856, 6);
        if (std::count(states.begin(), states.end(), 30)) { // a white card, whose edges are sharp
            EXPECT_NEAR(status.frontHeight, 1169, 12);
            EXPECT_NEAR(status.backHeight, 1169, 12);
        }
        uint8_t information[256];
        K274_GetInfo(information);
        EXPECT_EQ((information[58] | information[59] << 8) >= 5, row[0] == "dusty");
        K274_Magnetic magnetic;
        K274_GetMag(&magnetic);
        for (size_t k = 0; k < 3; ++k) {
            EXPECT_EQ(Text(magnetic.tracks[k].text, magnetic.tracks[k].count), row[3 + k]);
            EXPECT_EQ(magnetic.tracks[k].error, 0);
        }
#ifndef K274_SLOW_BUILD
        K274_Barcode barcode;
        K274_GetBC(&barcode);
        EXPECT_EQ(Text(barcode.pdfText, barcode.pdfLength), row[6]);
        EXPECT_EQ(Text(barcode.linearText, barcode.linearLength), row[7]);
        EXPECT_EQ(std::to_string(barcode.orientation), row[8]);
#endif
    }
}

TEST_F(DeckTest, ModeCardSetsTheMode) {
    Start();
    K274_SetBcDecMode(2); // the first decoder may take its time
    ASSERT_EQ(Scan("decode-mode"), 8);
    EXPECT_EQ(WaitFor({4}), 4);
#ifndef K274_SLOW_BUILD
    EXPECT_EQ(K274_GetBcDecMode(), 1);
#endif
}

} // namespace
