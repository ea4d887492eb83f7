// What a workshop does to the scanner: programming of firmware and FPGA with all that may come between, data
// areas, and the file that keeps them.
#include "device_fixture.h"
#include "host.h"
#include "scanner/firmware/faults.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <numeric>

namespace {

using namespace wire;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

Bytes Noise(size_t count, uint32_t seed = 5) {
    Bytes bytes(count);
    FillWithNoise(seed, bytes.data(), count);
    return bytes;
}

/// An image as hosts send it. The version is in the bytes behind the word parameters.
Fields Load(const Bytes &image, uint8_t build = 7) {
    Fields fields{0x10, 1, 0, 0, 2, 3, static_cast<uint32_t>(image.size())};
    fields.dataAt = 18;
    fields.data = {build};
    fields.data.resize(256 - fields.dataAt);
    wire::Store32(&fields.data[44 - fields.dataAt], fields.dword0);
    fields.data.insert(fields.data.end(), image.begin(), image.end());
    return fields;
}

class Maintenance : public DeviceTest {
protected:
    Bytes Versions() {
        const Bytes reply = Exchange({0x7F});
        return {reply[16], reply[17], reply[18], reply[27], reply[26]};
    }
    bool WantsFirmware() { return (Word(Exchange({0x72, 1}), 42) & 0x10) != 0; }
    /// @return  the byte that says what the firmware is about
    int Activity() {
        const Bytes reply = Exchange(PollFields());
        kind = reply.at(4);
        return reply.at(17);
    }
    Bytes Block(unsigned number) {
        const Bytes reply = Exchange({0x65, 0, static_cast<uint16_t>(number), 0, 0, 0, 0, 24});
        return Bytes(reply.begin() + 256, reply.end());
    }
    /// Loads and starts a job.
    void Start(uint8_t code, uint8_t sub, const Bytes &image) {
        if (code == 0x10) {
            ASSERT_EQ(Exchange(Load(image)).at(2), 0);
            ASSERT_EQ(Send({0x10, 2}), OutResult::Ack);
        } else {
            const Fields fields{code, sub, 0,   0,    0, 0, static_cast<uint32_t>(image.size()),
                                256,  0,   256, image};
            ASSERT_EQ(Send(fields), OutResult::Ack);
        }
    }
};

enum class Break { Power, Button, Reset };

TEST_F(Maintenance, ProgrammingEndsInTheNewVersionOrIsBrokenOff) {
    const struct {
        uint8_t code, sub;
        double brokenAfter; // seconds or, at speed 0, polls
        Bytes versions;
        bool wantsFirmware;
    } kCases[] = {
        {0x10, 2, 9, {2, 3, 7, 1, 12}, false}, {0x10, 2, 0, {2, 3, 6, 1, 12}, false},
        {0x10, 2, 2, {0, 0, 0, 1, 12}, true},  {0x12, 0, 9, {2, 3, 6, 1, 13}, false},
        {0x12, 1, 9, {2, 3, 6, 1, 13}, false}, {0x12, 1, 0, {2, 3, 6, 1, 12}, false},
        {0x12, 0, 2, {2, 3, 6, 0, 0}, false},  {0x12, 2, 9, {2, 3, 6, 0, 0}, false},
        {0x12, 2, 0, {2, 3, 6, 1, 12}, false},
    };
    const Bytes image = Noise(49588);
    for (const double speed : {0.0, 1.0, 50.0})
        for (const Break how : {Break::Power, Break::Button, Break::Reset})
            for (const auto &c : kCases) {
                SCOPED_TRACE(testing::Message()
                             << speed << " " << static_cast<int>(how) << " " << &c - kCases);
                DeviceState &state = device.State();
                std::copy_n("\x02\x03\x06", 3, state.identity.firmware);
                std::copy_n("\x01\x0C", 2, state.identity.fpga);
                state.stored = {};
                clock.SetSpeed(speed);
                Activity(); // takes the reset notice
                Start(c.code, c.sub, c.sub == 2 && c.code == 0x12 ? Bytes() : image);
                const bool whole = c.brokenAfter > 3;
                for (int k = 0; k < (whole ? 3 : static_cast<int>(c.brokenAfter)); k++) {
                    EXPECT_EQ(Activity(), 3);
                    EXPECT_NE(kind, 1);
                    if (speed != 0)
                        Wait(0.99 / speed);
                }
                if (speed != 0)
                    Wait(0.1 / speed);
                if (!whole && how == Break::Power) {
                    device.PowerOff();
                    device.PowerOn();
                } else if (!whole && how == Break::Button) {
                    device.Restart();
                } else if (!whole) {
                    Send({0x75});
                }
                EXPECT_EQ(Activity(), 0);
                EXPECT_EQ(kind, 1) << "the scanner has restarted";
                EXPECT_EQ(Versions(), c.versions);
                EXPECT_EQ(WantsFirmware(), c.wantsFirmware);
                // What was programmed can be read from the flash.
                if (whole && c.sub != 2) {
                    EXPECT_EQ(Block(48), Bytes(image.begin(), image.begin() + 4096));
                } else if (whole && c.code == 0x10) {
                    EXPECT_EQ(Block(17), Bytes(image.begin() + 4096, image.begin() + 8192));
                }
                if (c.wantsFirmware) { // it can be mended
                    ASSERT_TRUE(device.InsertCard(PlainCard()));
                    Wait(1);
                    EXPECT_EQ(Poll() | Poll(), 0) << "nobody draws the card in";
                    Start(0x10, 2, image);
                    for (int k = 0; k < 5; k++, Wait(1))
                        Poll();
                    EXPECT_FALSE(WantsFirmware());
                    EXPECT_EQ(Versions(), (Bytes{2, 3, 7, 1, 12}));
                    PollTo(0x8000);
                    PollTo(0);
                }
                Events();
            }
}

TEST_F(Maintenance, ImagesThatAreNotWholeAreRefused) {
    clock.SetSpeed(0);
    const struct {
        size_t sent;
        uint32_t told;
        int status;
    } kCases[] = {{1, 1, 0},    {131072, 131072, 0}, {0, 0, 1},           {0, 49588, 1},
                  {100, 99, 1}, {99, 100, 1},        {131073, 131073, 1}, {10, 0xFFFFFFFF, 1}};
    for (const auto &c : kCases) {
        SCOPED_TRACE(&c - kCases);
        Exchange(Load({1, 2, 3})); // a bad image takes the place of a good one
        Fields fields = Load(Bytes(c.sent));
        wire::Store32(&fields.data[44 - fields.dataAt], c.told);
        EXPECT_EQ(Exchange(fields).at(2), c.status);
        EXPECT_EQ(Send({0x10, 2}), c.status == 0 ? OutResult::Ack : OutResult::Stall);
        if (c.status == 0) {
            EXPECT_EQ(Exchange(fields).at(2), 2) << "busy";
            for (const Fields &other : {Fields{0x10, 2}, Fields{0x10, 3}, Fields{0x12, 2}})
                EXPECT_EQ(Send(other), OutResult::Stall);
            device.Restart();
            Exchange(fields);
            device.Restart();
            EXPECT_EQ(Send({0x10, 2}), OutResult::Stall) << "the image went with the restart";
        }
    }
}

TEST_F(Maintenance, ACardOnItsWayIsOutBeforeTheFirmwareIsReplaced) {
    BringTo(0x0007);
    EXPECT_EQ(Exchange({0x72, 3}).at(2), 1) << "no test of the mechanism meanwhile";
    EXPECT_EQ(device.Observed().mechTests, 0u);
    Start(0x10, 2, {1, 2, 3});
    EXPECT_EQ(Poll(), 0);
    EXPECT_EQ(device.Observed().cancelled, 1u);
}

TEST_F(Maintenance, DataAreasKeepWhatIsWritten) {
    const TempFolder folder;
    const std::string path = folder.Path("flash.bin");
    DeviceState &state = device.State();
    state.flashFile.Open(state, path);
    EXPECT_FALSE(std::filesystem::exists(path)) << "nothing was stored yet";
    const Bytes factory = Noise(128, 1), user = Noise(128, 2), afe = Noise(52, 4),
                responses = Noise(18900, 5);
    Bytes parameters = Noise(44, 3), padded = responses;
    wire::Store32(&parameters[40], 500);
    const auto sum = std::accumulate(responses.begin(), responses.end(), 0u);
    padded.resize(20000);
    const Fields kWrites[] = {
        {0x18, 'w', 0, 0, 0, 0, 0, 256, 0, 128, factory},  {0x19, 'w', 0, 0, 0, 0, 0, 256, 0, 128, user},
        {0x61, 1, 0, 0, 0, 0, 0, 256, 0, 24, parameters},  {0x60, 2, 0, 0, 0, 0, 0, 256, 0, 24, afe},
        {0x13, 1, 0, 18900, 0, 0, 0, 256, 0, 256, padded},
    };
    for (const Fields &write : kWrites)
        EXPECT_EQ(Send(write), OutResult::Ack);
    const struct {
        Fields read;
        size_t at;
        Bytes expected;
        unsigned block;
    } kReads[] = {{{0x18, 'r'}, 128, factory, 1},
                  {{0x19, 'r'}, 128, user, 2},
                  {{0x61, 0}, 24, parameters, 3},
                  {{0x60, 0}, 24, afe, 4},
                  {{0x13, 0, 0, 18908}, 264, responses, 5}};
    const auto expectAll = [&](const char *when) {
        SCOPED_TRACE(when);
        for (const auto &r : kReads) {
            const Bytes reply = Exchange(r.read), block = Block(r.block);
            EXPECT_EQ(Bytes(&reply[r.at], &reply[r.at] + r.expected.size()), r.expected);
            const size_t skipped = r.block == 5 ? 8 : 0, seen = std::min(r.expected.size(), 4096 - skipped);
            EXPECT_TRUE(std::equal(&block[skipped], &block[skipped] + seen, r.expected.begin())) << r.block;
        }
        EXPECT_TRUE(Dword(Exchange({0x13}), 256) == 18900 && Dword(Exchange({0x13}), 260) == sum);
    };
    expectAll("at once");
    Bytes unmarked = parameters;
    unmarked[40]++;
    EXPECT_EQ(Exchange({0x61, 1, 0, 0, 0, 0, 0, 256, 0, 24, unmarked}).at(2), 1);
    Exchange({0x60, 1, 0, 0, 0, 0, 0, 256, 0, 24, Bytes(52, 9)});
    EXPECT_EQ(Word(Exchange({0x60}), 24), 0x0909) << "until the next restart";
    device.Restart();
    expectAll("after a restart");
    state.identity.serialNumber = 4711;
    const Bytes fpga = Noise(131072);
    Start(0x12, 0, fpga);
    for (int k = 0; k < 5; k++, Wait(1))
        Poll();

    // Another process finds all of it.
    state.stored = {};
    state.identity = kFactoryIdentity;
    state.calibration.Follow(state.lines.Lamps());
    state.flashFile.Open(state, path);
    device.PowerOn();
    expectAll("from the file");
    EXPECT_EQ(Dword(Exchange({0x7F}), 56), 4711u);
    EXPECT_EQ(Versions(), (Bytes{2, 3, 7, 1, 13}));
    EXPECT_EQ(Block(79), Bytes(fpga.end() - 4096, fpga.end()));
    EXPECT_THAT(Block(80), Each(0xFF)) << "behind the end";

    Send({0x10, 3});
    for (const unsigned block : {1u, 2u, 5u, 9u})
        EXPECT_THAT(Block(block), Each(0xFF)) << "formatted";
    EXPECT_EQ(Dword(Exchange({0x61}), 64), 500u);
    EXPECT_EQ(Word(Exchange({0x60}), 24), kFactoryAfe[0]);
    EXPECT_EQ(Versions(), (Bytes{2, 3, 7, 1, 13})) << "and still the same scanner";
}

std::string FileText(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST_F(Maintenance, ADamagedFlashFileIsNamedAndLeftAlone) {
    const TempFolder folder;
    const std::string path = folder.Path("flash.bin");
    DeviceState &state = device.State();
    const Fields write{0x19, 'w', 0, 0, 0, 0, 0, 256, 0, 128, Noise(128)};
    state.flashFile.Open(state, path);
    Send(write);
    const std::string sound = FileText(path);
    const auto changed = [&sound](size_t at) {
        std::string text = sound;
        text[at] ^= 1;
        return text;
    };
    for (const std::string &bad : {std::string(), sound.substr(1), sound + "x", sound.substr(0, 4096),
                                   changed(0), changed(20), changed(8192), changed(sound.size() - 1)}) {
        std::ofstream(path, std::ios::binary) << bad;
        state.stored = {};
        testing::internal::CaptureStderr();
        state.flashFile.Open(state, path);
        Send(write);
        const std::string said = testing::internal::GetCapturedStderr();
        EXPECT_THAT(said, HasSubstr(path));
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
        EXPECT_EQ(FileText(path), bad);
    }
    // A place that takes no file costs no more than a line.
    state.flashFile.Open(state, folder.Path("none/flash.bin"));
    testing::internal::CaptureStderr();
    EXPECT_EQ(Exchange(write).at(2), 0);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("cannot be written"));
}

TEST_F(Maintenance, TestsOfTheWorkshopAnswerAndAreRemembered) {
    clock.SetSpeed(0);
    const Bytes loop = Exchange({0x11, 0, 0, 0, 0, 0, 0x1FE, 256, 3});
    EXPECT_EQ(Bytes(loop.begin() + 256, loop.end()), (Bytes{0xFE, 0xFF, 0}));
    const Bytes tooLong = Exchange({0x11, 0, 0, 0, 0, 0, 1, 256, 196353});
    EXPECT_TRUE(tooLong.size() == 256 && tooLong[2] == 1);
    Exchange({0x72, 4, 0, 0, 0, 0, 5, 256, 6});
    Exchange({0x70, 0, 0, 0, 1, 2, 0, 256, 0, 18, {3}});
    Send({0x79, 9});
    const VS_Observed seen = device.Observed();
    EXPECT_THAT(seen.ledBytes, ElementsAre(1, 2, 3));
    EXPECT_THAT(seen.mechParameters, ElementsAre(5, 6));
    EXPECT_TRUE(seen.lastMechTest == 4 && seen.agingMode == 9 && seen.loopbacks == 2);
}

using Faults = ScannerTest;

TEST_F(Faults, OnTheWayOfAnImageLeaveNothingToProgram) {
    const Bytes image = Noise(49588);
    for (const uint32_t action : {VS_FAULT_SHORT, VS_FAULT_UNPLUG}) {
        SCOPED_TRACE(action);
        Host host;
        ASSERT_TRUE(host.WaitForNews(1, 0));
        const VS_Fault fault{0x10, VS_OUT, 1, 1, action, 4096};
        ASSERT_EQ(VS_ArmFault(&fault), VS_OK);
        Bytes reply;
        if (action == VS_FAULT_SHORT) {
            EXPECT_TRUE(host.Send(Load(image)) == 0 && host.Read(&reply) == 0 && reply.at(2) == 1);
        } else {
            EXPECT_EQ(host.Send(Load(image)), kGone);
            VS_PlugIn();
            ASSERT_TRUE(host.WaitForNews(2, 1));
        }
        EXPECT_EQ(host.Send({0x10, 2}), kStalled);
    }
}

} // namespace
