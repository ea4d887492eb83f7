// Every command that the scanner knows: how long its reply is, what the reply holds, and what the scanner
// remembers of it. And what becomes of commands that it does not know.
#include "host.h"
#include "scanner/optics/optics.h"

#include <gmock/gmock.h>

#include <functional>
#include <numeric>

namespace {

using namespace wire;

struct CommandCase {
    const char *name;
    Fields fields;
    size_t replyBytes; // 0: no reply
    std::function<bool(const Bytes &reply, const VS_Observed &before, const VS_Observed &after)> holds;
};
void PrintTo(const CommandCase &c, std::ostream *out) { *out << c.name; }

bool Any(const Bytes &, const VS_Observed &, const VS_Observed &) { return true; }
using B = const Bytes &;
using O = const VS_Observed &;

const CommandCase kCommands[] = {
    {"status poll",
     {0x00, 0, 0, 80, 1, 82, 0, 80},
     80,
     [](B r, O a, O b) {
         return Word(r, 6) == 0 && b.polls == a.polls + 1 && b.pollLogin == 1 && b.pollScanMode == 82;
     }},
    {"RGB lines", RgbFields(2188, 12), 97920,
     [](B r, O a, O b) { return Word(r, 8) == 2188 && b.rgbBlocks == a.rgbBlocks + 1; }},
    {"one RGB line", RgbFields(0, 1), 8160, Any},
    {"UV option", {0x0A, 1}, 256, [](B, O, O b) { return b.uvOption == 1; }},
    {"calibration record", {0x13, 0, 0, 18908}, 19164, Any},
    {"calibration write", {0x13, 1, 0, 18900}, 0, nullptr},
    {"handshake", {0x14}, 256, [](B, O a, O b) { return b.handshakes == a.handshakes + 1; }},
    {"event read", {0x15}, 256, [](B r, O, O) { return Text(r) == "Reset - Power on"; }},
    {"close", {0x17}, 256, [](B, O a, O b) { return b.closes == a.closes + 1; }},
    {"clear", {0x1A}, 0, [](B, O a, O b) { return b.clears == a.clears + 1; }},
    {"login", {0x40, 2, 0, 0, 7}, 0, [](B, O, O b) { return b.loggedIn == 7; }},
    {"login, other", {0x40, 1, 0, 0, 7}, 0, nullptr},
    {"eject", {0x41}, 0, [](B, O a, O b) { return b.ejects == a.ejects + 1; }},
    {"user LED", {0x42, 0, 0, 0, 4}, 0, [](B, O, O b) { return b.userLed == 4; }},
    {"AFE read", {0x60, 0}, 256, Any},
    {"AFE, other", {0x60, 9}, 0, nullptr},
    {"last-scan mode",
     {0x62, 1, 0, 0, 0, 0, 1370},
     256,
     [](B, O, O b) { return b.lastScanMode == 1 && b.lastScanLines == 1370; }},
    {"second scan", {0x66, 1}, 256, [](B, O, O b) { return b.secondScan == 1; }},
    {"mechanism state", {0x72, 1}, 256, [](B r, O, O) { return Word(r, 42) == 0; }},
    {"mechanism test", {0x72, 3}, 0, nullptr},
    {"debug LED", {0x73, 0, 0, 0, 7, 3}, 0, [](B, O, O b) { return b.leds[7] == 3; }},
    {"debug LED beyond", {0x73, 0, 0, 0, 8, 3}, 0, [](B, O a, O b) { return b.userLed == a.userLed; }},
    {"beep", {0x74, 0, 0, 0, 5}, 0, [](B, O a, O b) { return b.beeps == a.beeps + 1 && b.lastBeep == 5; }},
    {"reset", {0x75}, 0, [](B, O a, O b) { return b.resets == a.resets + 1; }},
    {"GUI scan", {0x78}, 256, [](B, O a, O b) { return b.guiScans == a.guiScans + 1; }},
    {"device information", {0x7F}, 256, Any},
    {"unknown", {0xE7}, 0, nullptr},
};

class Commands : public ScannerTest, public testing::WithParamInterface<CommandCase> {};

TEST_P(Commands, AreAnsweredAsTheWireSays) {
    const CommandCase &c = GetParam();
    Host host;
    ASSERT_EQ(host.status, 0u);
    const VS_Observed before = Observed();
    Bytes reply;
    if (!c.holds) {
        EXPECT_EQ(host.Send(c.fields), kStalled);
        EXPECT_EQ(host.transferred, 0u);
        EXPECT_EQ(host.Read(&reply), kStalled);
        EXPECT_EQ(Observed().unknownCommands - before.unknownCommands, c.fields.code == 0xE7 ? 1u : 0u);
        EXPECT_EQ(host.Exchange({0x14}).size(), 256u) << "the next command goes through";
        return;
    }
    ASSERT_EQ(host.Send(c.fields), 0u);
    EXPECT_EQ(host.transferred, c.fields.size);
    if (c.replyBytes == 0) {
        EXPECT_EQ(host.Read(&reply, 256, 1), kTimeout);
        EXPECT_EQ(host.transferred, 0u);
    } else {
        ASSERT_EQ(host.Read(&reply), 0u);
        ASSERT_EQ(reply.size(), c.replyBytes);
        EXPECT_EQ(reply[2], 0);
        EXPECT_EQ(Dword(reply, 12), host.sequence);
    }
    EXPECT_EQ(Observed().lastSequence, host.sequence);
    EXPECT_TRUE(c.holds(reply, before, Observed()));

    // Cut short it is refused, and its fields are not guessed.
    Fields cut = c.fields;
    for (const size_t size : {size_t{0}, size_t{23}, cut.size - 1}) {
        cut.size = size;
        EXPECT_EQ(host.Send(cut), kStalled) << size;
    }
    EXPECT_EQ(Observed().unknownCommands, before.unknownCommands);
}
INSTANTIATE_TEST_SUITE_P(Scanner, Commands, testing::ValuesIn(kCommands));

class CommandReplies : public ScannerTest {};

TEST_F(CommandReplies, InformationFollowsTheIdentity) {
    Host host;
    VS_Identity factory;
    VS_GetIdentity(&factory);
    Bytes reply = host.Exchange({0x7F});
    EXPECT_EQ((Bytes{reply.begin() + 16, reply.begin() + 19}), (Bytes{2, 3, 7}));
    EXPECT_EQ(Dword(reply, 56), 274001u);

    const VS_Identity other{0x11223344, 0x5566778899AABBCC, {1, 2, 3}, {4, 5}, 6, 7, 0};
    VS_SetIdentity(&other);
    reply = host.Exchange({0x7F});
    Bytes expected(256);
    expected[0] = 0x7F;
    scanner::Put32(&expected[12], host.sequence);
    expected[16] = 1, expected[17] = 2, expected[18] = 3;
    scanner::Put16(&expected[26], 0x0405);
    expected[28] = 6;
    scanner::Put16(&expected[30], 112);
    expected[34] = 7;
    scanner::Put32(&expected[44], 0x99AABBCC);
    scanner::Put32(&expected[52], 0x55667788);
    scanner::Put32(&expected[56], 0x11223344);
    EXPECT_EQ(reply, expected);

    VS_Identity single = other;
    single.serialNumber2 = 0;
    VS_SetIdentity(&single);
    EXPECT_EQ(Word(host.Exchange({0x7F}), 30), 0);
    VS_SetIdentity(&factory);
}

TEST_F(CommandReplies, CalibrationRecordDescribesTheLampsUntilItIsSet) {
    Host host;
    const scanner::WhiteResponse lamps = scanner::LampResponse();
    const auto data = [&host] {
        const Bytes reply = host.Exchange({0x13, 0, 0, 18908});
        return reply.size() == 19164 ? Bytes(reply.begin() + 256, reply.end()) : Bytes();
    };
    const Bytes truth = data();
    EXPECT_EQ(Dword(truth, 0), 18900u);
    EXPECT_EQ(Dword(truth, 4), std::accumulate(lamps.begin(), lamps.end(), 0u));
    EXPECT_TRUE(std::equal(truth.begin() + 8, truth.end(), lamps.begin(), lamps.end()));

    const Bytes long_(20000, 9), short_(10, 5);
    ASSERT_EQ(VS_SetCalibrationRecord(long_.data(), 20000), VS_OK);
    EXPECT_EQ(data(), Bytes(18908, 9));
    ASSERT_EQ(VS_SetCalibrationRecord(short_.data(), 10), VS_OK);
    Bytes expected(18908);
    std::fill_n(expected.begin(), 10, uint8_t{5});
    EXPECT_EQ(data(), expected);
    ASSERT_EQ(VS_SetCalibrationRecord(nullptr, 0), VS_OK);
    EXPECT_EQ(data(), truth);
}

TEST_F(CommandReplies, AfeRegistersAreWithinWhatHostsAccept) {
    Host host;
    uint16_t registers[26], factory[26];
    Bytes reply = host.Exchange({0x60});
    for (size_t k = 0; k < 26; k++) {
        factory[k] = Word(reply, 24 + 2 * k);
        EXPECT_LE(factory[k], 999) << k;
        registers[k] = static_cast<uint16_t>(1000 + k);
    }
    VS_SetAfeRegisters(registers);
    reply = host.Exchange({0x60});
    for (size_t k = 0; k < 26; k++)
        EXPECT_EQ(Word(reply, 24 + 2 * k), 1000 + k);
    VS_SetAfeRegisters(factory);
}

} // namespace
