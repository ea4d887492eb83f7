// The device alone: what its lines show, and what becomes of the file that keeps its flash. All else that
// passes between it and a host stands in transcripts.
#include "device_fixture.h"

#include <gmock/gmock.h>

#include <numeric>

namespace {

using namespace wire;
using testing::Each;
using testing::HasSubstr;

TEST_F(DeviceTest, LinesAreThoseOfTheOpticsAndStayUntilTheyAreCleared) {
    clock.SetSpeed(0);
    device.SetSeed(77);
    const auto card = PlainCard();
    const WhiteResponse lamps = LampResponse();
    const Scene scene = MakeScene(*card, lamps, 77, 0);
    std::vector<Bytes> expected;
    BringTo(0x0007);
    for (const Fetched &f : kPassesFetched) {
        PollTo(f.word);
        Fetch(f);
        Bytes lines(2 * f.LineBytes());
        f.render(scene, 1000, lines.data());
        f.render(scene, 1001, &lines[f.LineBytes()]);
        EXPECT_FALSE(std::equal(lines.begin(), lines.begin() + static_cast<ptrdiff_t>(f.LineBytes()),
                                &lines[f.LineBytes()]));
        for (const auto &[seed, scan] : {std::pair(78u, 0u), {77u, 1u}}) {
            Bytes other(f.LineBytes());
            f.render(MakeScene(*card, lamps, seed, scan), 1000, other.data());
            EXPECT_FALSE(std::equal(other.begin(), other.end(), lines.begin())) << "no two scans are alike";
        }
        lines.resize(lines.size() - 24); // the header takes the room of the last line's end
        expected.push_back(lines);
        EXPECT_EQ(Lines(f, 1000, 2), lines);
        // Lines beyond the far end are black; a packet that no host has room for is refused.
        const Bytes end = Lines(f, Info(f.pass).lines - 1, 3);
        EXPECT_NE(end, Bytes(end.size()));
        EXPECT_THAT(Bytes(end.begin() + static_cast<ptrdiff_t>(f.LineBytes()), end.end()), Each(0));
        EXPECT_THAT(Lines(f, 65535, 2), Each(0));
        for (const int count : {0, static_cast<int>(kMaxReplyBytes / f.LineBytes()) + 1, 65535})
            EXPECT_EQ(Send(LineFields(f.Code(), 1000, count)), OutResult::Stall) << count;
    }
    Send({0x1A}); // in the middle of a scan, it leaves the lines alone
    PollTo(0);
    for (const bool cleared : {false, true}) {
        for (const Fetched &f : kPassesFetched)
            EXPECT_EQ(Lines(f, 1000, 2),
                      cleared ? Bytes(expected[size_t(f.pass)].size()) : expected[size_t(f.pass)]);
        Send({0x1A});
    }
}

TEST_F(DeviceTest, StripePictureShowsADarkStripeBesideBrightPaper) {
    clock.SetSpeed(0);
    for (const bool stripe : {true, false}) {
        BringTo(0x0003, {{}, false, stripe});
        const Bytes image = Exchange({0x07, 0, 600, 41}); // one line more than there are
        const auto mean = [&image](ptrdiff_t pixel, ptrdiff_t count) {
            const auto from = image.begin() + 256 + pixel;
            return std::accumulate(from, from + count, 0.0) / static_cast<double>(count);
        };
        EXPECT_NEAR(mean(50, 300), 150, 10);
        EXPECT_NEAR(mean(550, 300), stripe ? 26 : 150, 10);
        EXPECT_NEAR(mean(384, 2), 150, 20) << "the edge lies behind";
        EXPECT_NEAR(mean(400, 2), stripe ? 26 : 150, 20) << "the edge lies before";
        EXPECT_TRUE(mean(39 * 900, 900) > 0.5 && mean(39 * 900, 900) < 6) << "behind the card";
        EXPECT_EQ(mean(40 * 900, 900), 0);
        PollTo(0);
    }
}

TEST_F(DeviceTest, ADamagedFlashFileIsNamedAndLeftAlone) {
    const TempFolder folder;
    const std::string path = folder.File("flash.bin");
    DeviceState &state = device.State();
    const Fields write{0x19, 'w', 0, 0, 0, 0, 0, 256, 0, 128, Bytes(128, 5)};
    state.flashFile.Open(state, path);
    EXPECT_EQ(ReadText(path), "") << "nothing was stored yet";
    Send(write);
    const std::string sound = ReadText(path);
    const auto changed = [&sound](size_t at) {
        std::string text = sound;
        text[at] ^= 1;
        return text;
    };
    for (const std::string &bad : {std::string(), sound.substr(1), sound + "x", sound.substr(0, 4096),
                                   changed(0), changed(20), changed(8192), changed(sound.size() - 1)}) {
        WriteText(path, bad);
        state.stored = {};
        testing::internal::CaptureStderr();
        state.flashFile.Open(state, path);
        Send(write);
        const std::string said = testing::internal::GetCapturedStderr();
        EXPECT_THAT(said, HasSubstr(path));
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
        EXPECT_EQ(ReadText(path), bad);
    }
    // A place that takes no file costs no more than a line.
    state.flashFile.Open(state, folder.File("none/flash.bin"));
    testing::internal::CaptureStderr();
    EXPECT_EQ(Exchange(write).at(2), 0);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("cannot be written"));
}

} // namespace
