// Maintenance exports against the scripted driver: what goes over the wire, what comes back, what is logged.
#include "include/k274.h"
#include "src/decoders/barcode.h"
#include "src/link/attach.h"
#include "src/scan/startup.h"
#include "src/state/flags.h"
#include "src/state/locks.h"
#include "src/state/notify.h"
#include "src/state/session.h"
#include "tests/support/library_fixture.h"
#include "wire/bytes.h"

#include <gmock/gmock.h>

#include <cstring>
#include <fstream>
#include <thread>

namespace {

using scripted::Bytes;
using scripted::Reply;
using scripted::Sent;
using scripted::TheDriver;
using testing::ElementsAre;
using testing::IsEmpty;

struct MaintenanceTest : ScannerTest {
    std::string File(const char *name, size_t size) const {
        std::ofstream(folder + name, std::ios::binary) << std::string(size, 'i');
        return folder + name;
    }
    static std::vector<uint8_t> Begin(const Sent &sent, size_t from, size_t count) {
        return {sent.bytes.begin() + static_cast<ptrdiff_t>(from),
                sent.bytes.begin() + static_cast<ptrdiff_t>(from + count)};
    }
};

TEST_F(MaintenanceTest, CommandsCarryTheirBytes) {
    struct Field {
        size_t at;
        std::vector<uint8_t> bytes;
    };
    const struct {
        std::function<void()> call;
        std::vector<Field> fields;
        size_t size;
        bool replyRead;
    } cases[] = {
        {[] { K274_SetLEDs(1, 2, 3); }, {{0, {0x70, 0, 0xFF}}, {16, {1, 2, 3}}}, 256, true},
        {[] { K274_GuiLedAging(7); }, {{0, {0x79, 7}}}, 256, false},
        {[] { K274_MechTest(9, 0x11223344, 0x55667788); },
         {{0, {0x72, 9}}, {44, {0x44, 0x33, 0x22, 0x11}}, {52, {0x88, 0x77, 0x66, 0x55}}},
         256,
         true},
        {[] { K274_FormatFlash(); }, {{0, {0x10, 3}}}, 256, false},
        {[] { K274_EraseFPGA(); }, {{0, {0x12, 2, 0xFF}}}, 256, false},
        {[] {
             uint8_t block[4096];
             EXPECT_EQ(K274_RdFlashData(block, 0x1234), 1);
         },
         {{0, {0x65}}, {8, {0x34, 0x12}}},
         24,
         true},
    };
    for (const auto &c : cases) {
        TheDriver().sent.clear();
        int reads = 0;
        TheDriver().onRead = [&](const Sent &last, uint32_t size) {
            ++reads;
            return scanner.Answer(last, size);
        };
        c.call();
        ASSERT_EQ(TheDriver().sent.size(), 1u);
        const Sent &sent = TheDriver().sent[0];
        EXPECT_EQ(sent.bytes.size(), c.size);
        for (const Field &field : c.fields)
            EXPECT_EQ(Begin(sent, field.at, field.bytes.size()), field.bytes);
        EXPECT_EQ(reads, c.replyRead ? 1 : 0);
    }
}

TEST_F(MaintenanceTest, RecordsAreCutAndFilled) {
    std::vector<uint8_t> data = Bytes(200, 5);
    const struct {
        uint8_t code;
        uint8_t (*read)(uint8_t *, int32_t);
        uint8_t (*write)(const uint8_t *, int32_t);
    } kinds[] = {{0x18, K274_RdFactData, K274_WrFactData}, {0x19, K274_RdUserData, K274_WrUserData}};
    for (const auto &kind : kinds) {
        for (const int length : {200, 128, 10, 0, -1}) {
            const auto used = static_cast<size_t>(std::clamp(length, 0, 128));
            EXPECT_EQ(kind.write(data.data(), length), 1);
            std::vector<uint8_t> record = Bytes(128, 5);
            std::fill(record.begin() + static_cast<ptrdiff_t>(used), record.end(), uint8_t{0});
            const Sent &sent = TheDriver().sent.back();
            EXPECT_EQ(Begin(sent, 0, 2), (std::vector<uint8_t>{kind.code, 'w'}));
            EXPECT_EQ(Begin(sent, 128, 128), record);

            TheDriver().onRead = [](const Sent &, uint32_t) {
                Reply reply{0, Bytes(256)};
                std::fill(reply.bytes.begin() + 128, reply.bytes.end(), uint8_t{9});
                return reply;
            };
            std::vector<uint8_t> buffer = Bytes(200, 1);
            EXPECT_EQ(kind.read(buffer.data(), length), 1);
            EXPECT_EQ(std::count(buffer.begin(), buffer.end(), 9), static_cast<ptrdiff_t>(used));
            EXPECT_EQ(std::count(buffer.begin(), buffer.end(), 1), static_cast<ptrdiff_t>(200 - used));
        }
        TheDriver().onRead = [](const Sent &, uint32_t) { return Reply{5}; };
        uint8_t buffer[128];
        std::memset(buffer, 1, sizeof buffer);
        EXPECT_EQ(kind.read(buffer, 128), 0);
        EXPECT_EQ(std::count(buffer, buffer + 128, 0), 128);
        EXPECT_EQ(kind.read(nullptr, 128), 0);
        EXPECT_EQ(kind.write(nullptr, 128), 0);
        TheDriver().onSend = [](const Sent &) { return Reply{5}; };
        EXPECT_EQ(kind.write(data.data(), 128), 0);
        TheDriver().onSend = nullptr;
    }
}

TEST_F(MaintenanceTest, ABusyScannerIsNotWaitedFor) {
    uint8_t buffer[4096] = {7};
    K274_Parameters parameters{};
    parameters.fields[10] = 500;
    std::thread holder;
    std::atomic<bool> held{false}, done{false};
    holder = std::thread([&] {
        k274::DeviceGuard guard(k274::deviceLock);
        held = true;
        while (!done)
            std::this_thread::yield();
    });
    while (!held)
        std::this_thread::yield();
    test_clock::Reset();
    EXPECT_EQ(K274_RdFlashData(buffer, 0), 0);
    EXPECT_EQ(test_clock::TotalSlept(), 200u);
    EXPECT_EQ(K274_RdUserData(buffer, 128), 0);
    EXPECT_EQ(K274_Params(&parameters, 1), -1);
    EXPECT_EQ(K274_GetParams(&parameters), 0);
    done = true;
    holder.join();
    EXPECT_EQ(buffer[0], 7);
    EXPECT_EQ(parameters.fields[10], 500u);
    EXPECT_TRUE(TheDriver().sent.empty());
}

TEST_F(MaintenanceTest, BlocksAreExchanged) {
    TheDriver().onRead = [](const Sent &, uint32_t) {
        Reply reply{0, Bytes(256)};
        for (size_t i = 0; i < 52; ++i)
            reply.bytes[24 + i] = static_cast<uint8_t>(i + 1);
        return reply;
    };
    K274_Parameters parameters{};
    parameters.fields[0] = 77;
    parameters.fields[10] = 499;
    EXPECT_EQ(K274_Params(&parameters, 1), -1);
    EXPECT_TRUE(TheDriver().sent.empty());
    parameters.fields[10] = 500;
    EXPECT_EQ(K274_Params(&parameters, 1), 0);
    EXPECT_EQ(Begin(TheDriver().sent[0], 0, 2), (std::vector<uint8_t>{0x61, 1}));
    EXPECT_EQ(Begin(TheDriver().sent[0], 24, 4), (std::vector<uint8_t>{77, 0, 0, 0}));
    EXPECT_EQ(parameters.fields[0], 0x04030201u);
    EXPECT_EQ(k274::session.metadata.parameter0, 0u);
    EXPECT_EQ(K274_GetParams(&parameters), 0);
    EXPECT_EQ(k274::session.metadata.parameter0, 0x04030201u);
    EXPECT_EQ(k274::session.metadata.parameter3, 0x100F0E0Du);

    K274_Afe afe{};
    afe.redGain = 0x1234;
    test_clock::Reset();
    EXPECT_EQ(K274_AfeRegs(&afe, 2), 0);
    EXPECT_EQ(test_clock::TotalSlept(), 80u);
    EXPECT_EQ(Begin(TheDriver().sent.back(), 24, 2), (std::vector<uint8_t>{0x34, 0x12}));
    EXPECT_EQ(afe.redGain, 0x0201);
    EXPECT_EQ(k274::session.afe.words[0], 0x0201);
    TheDriver().onRead = [](const Sent &, uint32_t) { return Reply{5}; };
    afe.redGain = 3;
    EXPECT_EQ(K274_AfeRegs(&afe, 0), -1);
    EXPECT_EQ(K274_AfeRegs(nullptr, 0), -1);
    EXPECT_EQ(afe.redGain, 3);
    EXPECT_EQ(k274::session.afe.words[0], 0x0201);
}

TEST_F(MaintenanceTest, WhiteResponseIsStored) {
    const std::vector<uint8_t> response = Bytes(18900, 33);
    for (const bool visibleOnly : {false, true}) {
        for (const bool fails : {false, true}) {
            TheDriver().onSend = [=](const Sent &) { return Reply{fails ? 5u : 0u}; };
            scripted::Attach();
            TakeLog();
            K274_ScanMode(visibleOnly ? 82 : 0);
            EXPECT_EQ(K274_SaveWcc(response.data()), fails ? 6 : 0);
            const Sent &sent = TheDriver().sent.back();
            ASSERT_EQ(sent.bytes.size(), 20256u);
            EXPECT_EQ(Begin(sent, 0, 3), (std::vector<uint8_t>{0x13, uint8_t(visibleOnly ? 2 : 1), 0xFF}));
            EXPECT_EQ(wire::Load16(&sent.bytes[10]), 18900);
            EXPECT_EQ(std::count(sent.bytes.begin() + 256, sent.bytes.end(), 33), 18900);
            EXPECT_EQ(sent.bytes.back(), 0);
            const Texts log = TakeLog();
            EXPECT_EQ(log.front(), "image,   White Card  Calbiration...");
            EXPECT_EQ(log.back(), fails ? "image,   WCC Error" : "image,   WCC Done");
        }
    }
    EXPECT_EQ(K274_SaveWcc(nullptr), 6);
}

TEST_F(MaintenanceTest, FirmwareIsProgrammed) {
    const std::string image = File("image", 1000), empty = File("empty", 0), large = File("large", 200000);
    const std::string absent = folder + "absent";
    const auto line = [](const char *text, const std::string &path) {
        return ("image,   " + (text + path)).substr(0, 127 + 9);
    };
    const struct {
        const char *path;
        uint8_t status;   // of the reply
        uint32_t failing; // status of the image's transfer
        int result;
        size_t size; // of the packet
        Texts log;
    } cases[] = {
        {nullptr, 0, 0, 0, 49844, {"image,   Programing firmware..."}},
        {image.c_str(),
         0,
         0,
         0,
         1256,
         {line("Prog flash ", image), "image,   Read 1000 bytes", "image,   Programing firmware..."}},
        {large.c_str(),
         0,
         0,
         0,
         131328,
         {line("Prog flash ", large), "image,   Read 131072 bytes", "image,   Programing firmware..."}},
        {empty.c_str(),
         0,
         0,
         1,
         0,
         {line("Prog flash ", empty), "image,   Read 0 bytes", "image,   Error reading flash file"}},
        {absent.c_str(), 0, 0, 1, 0, {line("Prog flash ", absent), "image,   Error opening file"}},
        {nullptr, 5, 0, 3, 49844, {"image,   Error status = 5"}},
        {nullptr, 0, 5, 2, 49844, {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.path ? c.path : "carried");
        scripted::Attach();
        TheDriver().sent.clear();
        k274::state.firmwareHoldOff = 0;
        TakeLog();
        TheDriver().onSend = [&](const Sent &sent) { return Reply{sent.bytes.size() > 256 ? c.failing : 0}; };
        TheDriver().onRead = [&](const Sent &, uint32_t) {
            Reply reply{0, Bytes(256)};
            reply.bytes[2] = c.status;
            return reply;
        };
        EXPECT_EQ(K274_ProgFlash(c.path), c.result);
        EXPECT_EQ(k274::state.firmwareHoldOff, 60);
        Texts log = TakeLog();
        log.erase(std::remove_if(log.begin(), log.end(), [](auto &text) { return text[0] == 'u'; }),
                  log.end());
        EXPECT_EQ(log, c.log);
        ASSERT_EQ(TheDriver().sent.size(), c.size == 0 ? 0u : c.result == 0 ? 2u : 1u);
        if (c.size == 0)
            continue;
        const Sent &packet = TheDriver().sent[0];
        EXPECT_EQ(packet.bytes.size(), c.size);
        EXPECT_EQ(Begin(packet, 0, 3), (std::vector<uint8_t>{0x10, 1, 0xFF}));
        EXPECT_EQ(Begin(packet, 16, 4), (std::vector<uint8_t>{2, 3, 7, uint8_t(c.path ? 1 : 0)}));
        EXPECT_EQ(wire::Load32(&packet.bytes[44]), c.size - 256);
        if (c.result == 0)
            EXPECT_EQ(Begin(TheDriver().sent[1], 0, 3), (std::vector<uint8_t>{0x10, 2, 0xFF}));
    }
    scripted::Detach();
    EXPECT_EQ(K274_ProgFlash(nullptr), 3);
    EXPECT_EQ(Log().back(), "image,   Error status = 255");
}

TEST_F(MaintenanceTest, FpgaIsProgrammed) {
    const std::string image = File("fpga", 100000), empty = File("empty", 0);
    const struct {
        int32_t (*program)(const char *);
        const char *path;
        bool versions;
        int result;
        int sub;
        const char *last; // log line
    } cases[] = {
        {K274_ProgFpga, image.c_str(), false, 2, -1, "ProgFpga - USB error"},
        {K274_ProgFpga, image.c_str(), true, 0, 0, "Program FPGA..."},
        {K274_ProgFpgaEx, image.c_str(), true, 0, 1, "Program FPGA - no erase..."},
        {K274_ProgFpgaEx, empty.c_str(), true, 1, -1, "Error reading fpga file"},
        {K274_ProgFpga, "/nowhere", true, 1, -1, "Error opening fpga file"},
        {K274_ProgFpga, nullptr, true, 1, -1, "Error opening fpga file"},
    };
    for (const auto &c : cases) {
        TheDriver().sent.clear();
        k274::session.version = {};
        TheDriver().onRead = [&](const Sent &last, uint32_t size) {
            return c.versions ? scanner.Answer(last, size) : Reply{5};
        };
        EXPECT_EQ(c.program(c.path), c.result) << c.last;
        EXPECT_EQ(Log().back(), std::string("image,   ") + c.last);
        const auto packets = scripted::SentPackets(0x12);
        ASSERT_EQ(packets.size(), c.sub >= 0 ? 1u : 0u);
        if (c.sub >= 0) {
            EXPECT_EQ(packets[0].bytes.size(), 100256u);
            EXPECT_EQ(packets[0].bytes[1], c.sub);
        }
    }
}

TEST_F(MaintenanceTest, OlderFirmwareIsReplacedAtStart) {
    const struct {
        uint8_t build;
        uint8_t automatic;
        int holdOff;
        std::vector<int> states;
        const char *line;
    } cases[] = {
        {6, 1, 0, {-5}, "fwver,   Forced firmware update to ver 2.3.7"},
        {6, 1, 40, {}, "fwver,   Firmware recently updated, tmr = 40"},
        {6, 0, 0, {-1}, "fwver,   Firmware ver error, is: 2.3.6 SB: 2.3.7"},
        {8, 1, 0, {-1}, "fwver,   Firmware ver error, is: 2.3.8 SB: 2.3.7"},
    };
    k274::SdVersion();
    for (const auto &c : cases) {
        scanner.firmware[2] = c.build;
        K274_AutoFwUpgrade(c.automatic);
        k274::state.firmwareHoldOff = c.holdOff;
        TheDriver().onRead = [&](const Sent &last, uint32_t size) {
            Reply reply = scanner.Answer(last, size);
            if (last.code == 0x10)
                reply.bytes[2] = 0;
            return reply;
        };
        TheDriver().sent.clear();
        k274::StartupChecks();
        k274::DeliverRaisedStates();
        EXPECT_EQ(TakeStates(), c.states);
        EXPECT_THAT(TakeLog(), testing::Contains(c.line));
        EXPECT_EQ(scripted::CountSent(0x10), c.build == 6 && c.automatic && !c.holdOff ? 2 : 0);
    }
}

TEST_F(MaintenanceTest, AScannerThatAsksIsBroughtUpToDate) {
    const struct {
        uint16_t flags;
        uint16_t word2;
        bool programmed;
    } cases[] = {{0x10, 0, true}, {0x10, 3, false}, {0xFFEF, 0, false}};
    k274::SdVersion();
    for (const auto &c : cases) {
        TheDriver().onRead = [&](const Sent &last, uint32_t size) {
            Reply reply = scanner.Answer(last, size);
            if (last.code == 0x72)
                wire::Store16(&reply.bytes[42], c.flags);
            return reply;
        };
        TheDriver().sent.clear();
        TakeLog();
        k274::session.status.device17 = c.word2;
        EXPECT_EQ(k274::SyncFirmware(), c.programmed);
        EXPECT_EQ(scripted::CountSent(0x10), c.programmed ? 2 : 0);
        EXPECT_EQ(scripted::CountSent(0x7F), c.flags & 0x10 ? 0 : 1); // the checks of the start
        EXPECT_EQ(k274::state.firmwareHoldOff, 0);
    }
}

TEST_F(MaintenanceTest, UsbTestCountsAndRecovers) {
    const struct {
        int32_t n;
        uint32_t length;
        uint32_t sendStatus;
        size_t replyBytes;
        int result;
        Texts log;
        std::vector<std::string> calls;
    } cases[] = {
        {1, 100, 0, 356, 0, {"usb,     Loopback test Starting...\n"}, {}},
        {1999, 4096, 0, 4352, 0, {}, {}},
        {2000, 4096, 0, 4352, 0, {"usb,     Loopback sent 100 MB"}, {}},
        {0, 16, 0, 272, 0, {}, {}},
        {3, 100, 5, 0, -1, {"usb,     Loopback test SendCmd error", "usb,     Loopback sent 0 MB"}, {}},
        {40,
         100,
         0,
         50,
         -2,
         {"usb,     Loopback test ReadPacket error-1", "usb,     Loopback sent 2 MB"},
         {}},
        {3,
         196353,
         0,
         256,
         -2,
         {"usb,     Loopback test ReadPacket error-1", "usb,     Loopback sent 0 MB"},
         {}},
        {3,
         0xFFFFFFFF,
         0,
         255,
         -2,
         {"usb,     Loopback test ReadPacket error-1", "usb,     Loopback sent 0 MB"},
         {}},
        {0xFFFFE, 0, 0, 0, 0, {}, {"WDU_ResetDevice 1"}},
        {0xFFFFF, 0, 0, 0, 0, {}, {"WDU_ResetDevice 2"}},
        {0xFFFFD, 0, 0, 0, 0, {}, {"WDU_ResetPipe 129", "WDU_ResetPipe 2"}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.n);
        scripted::Attach();
        TakeLog();
        TheDriver().calls.clear();
        TheDriver().onSend = [&](const Sent &) { return Reply{c.sendStatus}; };
        TheDriver().onRead = [&](const Sent &, uint32_t) { return Reply{0, Bytes(c.replyBytes)}; };
        EXPECT_EQ(K274_UsbTest(c.n, c.length), c.result);
        EXPECT_EQ(k274::state.loopbackCount, c.n);
        for (const std::string &line : c.log)
            EXPECT_THAT(Log(), testing::Contains(line));
        for (const std::string &call : c.calls)
            EXPECT_THAT(TheDriver().calls, testing::Contains(call));
    }
    TheDriver().sent.clear();
    EXPECT_EQ(K274_UsbTest(0, 0), 0);
    EXPECT_TRUE(TheDriver().sent.empty());
}

TEST_F(MaintenanceTest, TheMonitorLeavesTheLinkToTheUsbTest) {
    k274::DriverUninit(); // the session opens one of its own
    K274_Init(0);
    Await([&] { return scanner.polls > 2; });
    K274_UsbTest(5, 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const size_t polls = scanner.polls;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_LE(scanner.polls, polls + 1);
    K274_UsbTest(0, 0);
    Await([&] { return scanner.polls > polls + 2; });
}

TEST_F(MaintenanceTest, FocusImageComesInThreeParts) {
    const struct {
        int failingRead; // 0: none
        bool result;
        std::vector<int> parts; // first bytes of the parts
        const char *line;
    } cases[] = {
        {0, true, {1, 2, 3}, nullptr},
        {1, false, {0, 0, 0}, "Focus ReadPacket error"},
        {2, false, {1, 0, 0}, "Focus ReadPacket error2"},
        {3, true, {1, 2, 0}, nullptr},
    };
    std::vector<uint8_t> image = Bytes(163200);
    for (const auto &c : cases) {
        scripted::Attach();
        TheDriver().sent.clear();
        TakeLog();
        int reads = 0;
        TheDriver().onRead = [&](const Sent &last, uint32_t) {
            if (++reads == c.failingRead)
                return Reply{5};
            return Reply{
                0, Bytes(256 + size_t{wire::Load16(&last.bytes[10])} * 16320, static_cast<uint8_t>(reads))};
        };
        EXPECT_EQ(K274_GetFocImgAry(image.data()), 1);
        EXPECT_THAT(c.parts, ElementsAre(image[0], image[65280], image[130560]));
        const auto requests = scripted::SentPackets(6);
        EXPECT_EQ(requests[0].bytes[1], 2);
        EXPECT_EQ(requests[0].bytes[16], 1);
        if (c.failingRead == 0)
            EXPECT_EQ(wire::Load16(&requests[2].bytes[8]) * 100 + wire::Load16(&requests[2].bytes[10]), 802);
        const Texts log = TakeLog();
        EXPECT_EQ(log[0].substr(0, 11) + log[0].substr(13), "FocusImage  (2, 1)");
        if (c.line)
            EXPECT_EQ(log.back(), c.line);
        TheDriver().onRead = [&](const Sent &, uint32_t) { return Reply{0, Bytes(256)}; };
        EXPECT_EQ(K274_GetFocusImg(1, 9), 1);
    }
    TheDriver().onSend = [](const Sent &) { return Reply{5}; };
    EXPECT_EQ(K274_GetFocusImg(3, 9), 0);
    EXPECT_EQ(Log().back(), "Focus SendCmd error");
    EXPECT_EQ(K274_GetFocImgAry(nullptr), 1);
}

} // namespace
