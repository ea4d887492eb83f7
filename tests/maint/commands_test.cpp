// Maintenance exports against the scripted driver: what goes over the wire, what comes back, what is logged.
#include "include/k274.h"
#include "src/link/attach.h"
#include "src/state/locks.h"
#include "src/state/session.h"
#include "tests/support/library_fixture.h"
#include "wire/bytes.h"

#include <gmock/gmock.h>

#include <cstring>
#include <thread>

namespace {

using scripted::Bytes;
using scripted::Reply;
using scripted::Sent;
using scripted::TheDriver;
using testing::ElementsAre;

struct MaintenanceTest : ScannerTest {
    static std::vector<uint8_t> Begin(const Sent &sent, size_t from, size_t count) {
        return {sent.bytes.begin() + static_cast<ptrdiff_t>(from),
                sent.bytes.begin() + static_cast<ptrdiff_t>(from + count)};
    }
};

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
