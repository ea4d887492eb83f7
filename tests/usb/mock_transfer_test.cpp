// Transfers and resets of a scanner on USB: what comes through, what each failure is called, and what ends a
// transfer before its time.
#include "tests/usb/mock_fixture.h"

#include <future>

namespace mock {
namespace {

using namespace wire;

using Transfers = UsbTest;
INSTANTIATE_TEST_SUITE_P(ScatterGather, Transfers, testing::Bool());

constexpr uint32_t kWireError = 0xC0000011, kTooMuch = 0xC0000012;

/// A reply of so many bytes in all, each of which is known.
Fields LongReply(uint32_t bytes) {
    Fields fields{0x11};
    fields.dword0 = 7;
    fields.dword1 = bytes - 256;
    return fields;
}
bool IsLongReply(const Bytes &reply, size_t from = 256) {
    for (size_t k = from; k < reply.size(); k++)
        if (reply[k] != static_cast<uint8_t>(7 + k - 256))
            return false;
    return reply.size() > from;
}

// Around the ends of packets and of the pieces of 16 KB that libusb may make.
TEST_P(Transfers, RepliesComeWhole) {
    Host host;
    ASSERT_EQ(host.attaches, 1);
    for (const uint32_t bytes :
         {257u, 512u, 16383u, 16384u, 16385u, 16896u, 32768u, 98176u, 180224u, 196607u, 196608u}) {
        const Bytes reply = host.Exchange(LongReply(bytes));
        EXPECT_EQ(reply.size(), bytes);
        EXPECT_TRUE(IsLongReply(reply)) << bytes;
    }
    EXPECT_EQ(host.Exchange({0x14}).size(), 256u);
}

TEST_P(Transfers, LongCommandsArriveWhole) {
    Host host;
    Bytes record(18908, 3);
    record[18899] = 9;
    const uint32_t before = Observed().calibrationWrites;
    Fields write{0x13, 1};
    write.word1 = 18900;
    write.data = record;
    port.behaviour.pieces = 0;
    EXPECT_EQ(host.Send(write), 0u);
    EXPECT_EQ(host.transferred, 256u + 18908u);
    EXPECT_EQ(port.behaviour.pieces, GetParam() ? 1 : 2);
    EXPECT_EQ(Observed().calibrationWrites, before + 1);
    const Bytes reply = host.Exchange({0x13});
    ASSERT_EQ(reply.size(), 256u + 18908u);
    EXPECT_EQ(reply[256 + 8], 3);
    EXPECT_EQ(reply[256 + 8 + 18899], 9);
    VS_SetCalibrationRecord(nullptr, 0);
}

TEST_P(Transfers, FailuresHaveTheirStatus) {
    const struct {
        uint32_t direction, action, value; // the fault; action 0: none
        uint32_t send, room, read, count;  // statuses; 0 bytes of room: not read
    } cases[] = {
        {VS_OUT, VS_FAULT_STATUS, kWireError, kWireError, 0, 0, 0},
        {VS_OUT, VS_FAULT_STATUS, kStalled, kStalled, 0, 0, 0},
        {VS_OUT, VS_FAULT_STALL, 0, kTimeout, 0, 0, 0},
        {VS_IN, VS_FAULT_STATUS, kWireError, 0, 196608, kWireError, 0},
        {VS_IN, VS_FAULT_STATUS, kStalled, 0, 196608, kStalled, 0},
        // In one piece: libusb has it that only the last piece can overflow, and forgets the others.
        {VS_IN, VS_FAULT_STATUS, kTooMuch, 0, 16384, kTooMuch, 0},
        {VS_IN, VS_FAULT_SHORT, 0, 0, 196608, 0, 0},
        {VS_IN, VS_FAULT_SHORT, 100, 0, 196608, 0, 100},
        {VS_IN, VS_FAULT_SHORT, 16384, 0, 196608, 0, 16384},
        {VS_IN, VS_FAULT_SHORT, 17000, 0, 196608, 0, 17000},
        {VS_IN, VS_FAULT_STALL, 0, 0, 196608, kTimeout, 0},
        {VS_IN, VS_FAULT_STALL, 1024, 0, 196608, kTimeout, 1024},
        {VS_IN, VS_FAULT_LENGTH, 5, 0, 196608, 0, 20000},
        {VS_IN, 0, 0, 0, 1000, kTooMuch, 0},
        {VS_IN, 0, 0, 0, 19968, 0, 19968},
        {VS_IN, 0, 0, 0, 20000, 0, 20000},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.direction << ' ' << c.action << ' ' << c.value << ' ' << c.room);
        Host host;
        if (c.action != 0)
            Arm(0x11, c.direction, c.action, c.value);
        Bytes packet = Packet(LongReply(20000), 1);
        uint32_t count = 77;
        EXPECT_EQ(WDU_TransferBulk(host.device, kOut, 0, 0, packet.data(), 256, &count, 60), c.send);
        EXPECT_EQ(count, c.send == 0 ? 256u : 0u);
        if (c.room == 0)
            continue;
        Bytes room(c.room + 1, 0xEE);
        EXPECT_EQ(WDU_TransferBulk(host.device, kIn, 1, 0, room.data(), c.room, &count, 60), c.read);
        EXPECT_EQ(count, c.count);
        EXPECT_EQ(room[c.count], 0xEE) << "more is written than is told";
        room.resize(c.count);
        EXPECT_TRUE(c.count <= 256 || IsLongReply(room));
        VS_ClearFaults();
        EXPECT_EQ(host.Exchange({0x14}).size(), 256u) << "the next exchange is itself again";
    }
}

TEST_P(Transfers, HaltEndsWithAPipeReset) {
    Host host;
    Bytes reply;
    EXPECT_EQ(host.Send({0xE7}), kStalled);
    EXPECT_EQ(host.Read(&reply), kStalled);
    EXPECT_EQ(WDU_ResetPipe(host.device, kIn), 0u);
    EXPECT_EQ(WDU_ResetPipe(host.device, kOut), 0u);
    EXPECT_EQ(port.behaviour.clearedHalts, 2);
    EXPECT_EQ(host.Read(&reply, 5), kTimeout);
    EXPECT_EQ(WDU_ResetPipe(host.device, 3), kBadPipe);
}

TEST_P(Transfers, RefuseBadArguments) {
    Host host;
    Bytes packet = Packet({0x14}, 1);
    uint32_t transferred = 77;
    const auto transfer = [&](void *to, uint32_t pipe, int32_t read, void *buffer, uint32_t size = 256) {
        return WDU_TransferBulk(to, pipe, read, 0, buffer, size, &transferred, 2);
    };
    EXPECT_EQ(transfer(nullptr, kOut, 0, packet.data()), kBadHandle);
    EXPECT_EQ(transfer(&host, kOut, 0, packet.data()), kBadHandle);
    EXPECT_EQ(transfer(host.device, kOut, 1, packet.data()), kBadPipe);
    EXPECT_EQ(transfer(host.device, kIn, 1, nullptr), kBadArgument);
    EXPECT_EQ(transfer(host.device, kIn, 1, packet.data(), 0xFFFFFFFF), kBadArgument);
    EXPECT_EQ(transferred, 0u);
    EXPECT_EQ(transfer(host.device, kIn, 1, nullptr, 0), 0u) << "room for nothing";
    EXPECT_EQ(WDU_ResetDevice(host.device, 3), kBadArgument);
    EXPECT_EQ(port.behaviour.pieces, 0);
    void *const device = host.device;
    host.Close();
    EXPECT_EQ(transfer(device, kOut, 0, packet.data()), kBadHandle);
}

// A read of which nothing comes ends long before its time. On a busy machine the reading thread may be late
// and find the driver closed already; that shows nothing, so it is tried once more.
TEST_P(Transfers, InterruptedOnesEndAtOnce) {
    const struct {
        std::function<void(Host &)> interrupt;
        uint32_t status;
    } cases[] = {
        {[](Host &) { VS_Unplug(); }, kGone},
        {[](Host &h) { EXPECT_EQ(WDU_ResetDevice(h.lastDevice, 1), 0u); }, kCanceled},
        {[](Host &h) { EXPECT_EQ(WDU_ResetDevice(h.lastDevice, 2), 0u); }, kGone},
        {[this](Host &h) {
             port.behaviour.resetError = ENODEV; // it comes back as another device
             EXPECT_EQ(WDU_ResetDevice(h.lastDevice, 1), kGone);
             port.behaviour.resetError = 0;
         },
         kCanceled},
        {[](Host &h) { h.Close(); }, kCanceled},
        {[](Host &h) { h.Send({0x14}); }, 0},
        {[](Host &h) { h.Send({0xE7}); }, kStalled},
    };
    for (const auto &c : cases) {
        uint32_t status = kBadHandle;
        for (int attempt = 0; attempt < 50 && status == kBadHandle; attempt++) {
            VS_PlugIn();
            ASSERT_TRUE(port.Await(true));
            Host host;
            ASSERT_EQ(host.attaches, 1);
            void *const device = host.device;
            auto transfer = std::async(std::launch::async, [device] {
                Bytes buffer(40000);
                return WDU_TransferBulk(device, kIn, 1, 0, buffer.data(), 40000, nullptr, 30000);
            });
            EXPECT_EQ(transfer.wait_for(std::chrono::milliseconds(10)), std::future_status::timeout);
            c.interrupt(host);
            status = transfer.get();
        }
        EXPECT_EQ(status, c.status) << &c - cases;
    }
}

TEST_P(Transfers, UnplugAtAnyOfThemIsFollowed) {
    Host host;
    for (int k = 1; k <= 12; k++) {
        SCOPED_TRACE(k);
        Arm(VS_ANY_COMMAND, k % 2 ? VS_OUT : VS_IN, VS_FAULT_UNPLUG, 0, static_cast<uint32_t>(k + 1) / 2);
        uint32_t status = 0;
        Bytes reply;
        for (int n = 0; n < 12 && status == 0; n++)
            status = n % 2 ? host.Read(&reply) : host.Send(n % 4 ? LongReply(98176) : Fields{0x14});
        // While pieces of a split read are submitted still, libusb calls it an error.
        EXPECT_TRUE(status == kGone || (!GetParam() && status == kWireError)) << status;
        EXPECT_EQ(host.transferred, 0u);
        VS_ClearFaults();
        ASSERT_TRUE(host.WaitForNews(k, k));
        VS_PlugIn();
        ASSERT_TRUE(host.WaitForNews(k + 1, k));
        EXPECT_EQ(host.Exchange(LongReply(98176)).size(), 98176u);
    }
}

TEST_P(Transfers, ManyThreadsMayTransferAndReset) {
    Host host;
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; t++) {
        threads.emplace_back([&host, t] {
            Bytes packet = Packet({0x14}, 1), reply(40000);
            for (int k = 0; k < 30; k++) {
                uint32_t count = 0;
                void *const device = host.lastDevice;
                WDU_TransferBulk(device, kOut, 0, 0, packet.data(), 256, &count, 50);
                WDU_TransferBulk(device, kIn, 1, 0, reply.data(), 40000, &count, 20);
                if (k % 8 == t)
                    WDU_ResetDevice(device, t == 2 ? 2 : 1);
                if (k % 10 == t)
                    WDU_ResetPipe(device, kIn);
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    // The last port cycle may not be over.
    EXPECT_TRUE(Await([&host] { return host.device != nullptr && host.Exchange({0x14}).size() == 256; }));
}

} // namespace
} // namespace mock
