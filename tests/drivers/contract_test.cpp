// What every driver does for its host, whatever bus its scanner is on. A course that is recorded is asked of
// the recording again: the same host gets the same from it, and is recorded the same.
#include "tests/drivers/contract.h"
#include "tests/recording/recorded.h"
#include "tests/scanner/firmware/host.h"
#include "tests/support/data.h"

#include <gmock/gmock.h>

#include <cstring>
#include <functional>
#include <thread>

namespace drivers {

namespace {

using namespace wire;

constexpr uint32_t kWireError = 0xC0000011;

/// A reply of so many bytes in all, each of which is known.
Fields LongReply(uint32_t bytes) {
    Fields fields{0x11};
    fields.dword0 = 7;
    fields.dword1 = bytes - 256;
    return fields;
}
bool IsLongReply(const Bytes &reply) {
    for (size_t k = 256; k < reply.size(); k++)
        if (reply[k] != static_cast<uint8_t>(7 + k - 256))
            return false;
    return reply.size() > 256;
}

class Driver : public ScannerTest, public testing::WithParamInterface<Backend> {
protected:
    void SetUp() override {
        ScannerTest::SetUp();
        SetVariable("K274_DEVICE", GetParam().device);
        Connect();
    }
    void Connect() { connected = GetParam().connect(GetParam().splits); }
    void TearDown() override {
        Use("virtual", "");
        ScannerTest::TearDown();
    }
    void Play(const std::function<void(Host &)> &course) {
        const ::TempFolder folder;
        const std::string file = folder.File("a.rec"), copy = folder.File("copy.rec");
        if (!GetParam().wire)
            Use(GetParam().device, file);
        course(*std::make_unique<Host>());
        if (GetParam().wire)
            return;
        SCOPED_TRACE("replayed");
        Use("replay:" + file, copy);
        live = false;
        testing::internal::CaptureStderr();
        course(*std::make_unique<Host>());
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        const auto calls = recorded::Calls(file), again = recorded::Calls(copy);
        ASSERT_EQ(again.size(), calls.size());
        for (size_t k = 0; k < calls.size(); k++) {
            EXPECT_EQ(again[k].data, calls[k].data) << k;
            EXPECT_EQ(again[k].entry.status, calls[k].entry.status) << k;
        }
        Use(GetParam().device, "");
    }
    /// What is done to the scanner, which a recording has had done.
    void Unplug() const { live ? VS_Unplug() : void(); }
    void PlugIn() const { live ? VS_PlugIn() : void(); }
    void Arm(uint32_t command, uint32_t direction, uint32_t action, uint32_t value,
             uint32_t first = 1) const {
        const VS_Fault fault{command, direction, first, 1, action, value};
        if (live)
            ASSERT_EQ(VS_ArmFault(&fault), VS_OK);
    }

    bool live = true;
    std::shared_ptr<void> connected;

private:
    static void Use(const std::string &device, const std::string &record) {
        SetVariable("K274_DEVICE", device);
        SetVariable("K274_RECORD", record);
    }
};
INSTANTIATE_TEST_SUITE_P(Each, Driver, testing::ValuesIn(kBackends), [](const auto &of) {
    return std::string(of.param.device) + (of.param.splits ? "InPieces" : "");
});

TEST_P(Driver, FollowsTheCablePortCyclesAndResets) {
    Play([this](Host &host) {
        void *const first = host.device;
        EXPECT_EQ(host.Exchange({0x14}).size(), 256u);
        Unplug();
        ASSERT_TRUE(host.WaitForNews(1, 1));
        EXPECT_EQ(host.Send({0x14}), kGone);
        PlugIn();
        ASSERT_TRUE(host.WaitForNews(2, 1));
        EXPECT_EQ(WDU_ResetPipe(first, kIn), kGone) << "an old handle is not the new scanner";
        host.Poll();
        ASSERT_EQ(WDU_ResetDevice(host.device, 1), 0u);
        host.Poll();
        EXPECT_EQ(host.Kind(), 1) << "the scanner tells of the reset";
        host.Close();
        EXPECT_EQ(host.detaches, 1) << "closing is no detach";
    });
    connected.reset(); // no bus has it still
    VS_Unplug();
    Host late;
    VS_PlugIn();
    Connect();
    ASSERT_TRUE(late.WaitForNews(1, 0));
    late.Poll();
    // A recording may have it that the scanner left before the call had ended.
    ASSERT_EQ(WDU_ResetDevice(late.device, 2), 0u);
    ASSERT_TRUE(late.WaitForNews(2, 1));
    for (int polls = GetParam().wire ? 2 : 1; polls > 0; polls--) // libusb cycles a port by a reset
        late.Poll();
    EXPECT_NE(late.Kind(), 1) << "its power was not interrupted";
}

// Around the ends of packets and of the pieces of 16 KB that libusb may make.
TEST_P(Driver, RepliesAndCommandsPassWhole) {
    Play([this](Host &host) {
        for (const uint32_t bytes :
             {257u, 512u, 16383u, 16384u, 16385u, 16896u, 32768u, 98176u, 180224u, 196607u, 196608u}) {
            const Bytes reply = host.Exchange(LongReply(bytes));
            EXPECT_EQ(reply.size(), bytes);
            EXPECT_TRUE(IsLongReply(reply)) << bytes;
        }
        Fields write{0x13, 1};
        write.word1 = 18900;
        write.data = Bytes(18908, 3);
        write.data[18899] = 9;
        EXPECT_EQ(host.Send(write), 0u);
        EXPECT_EQ(host.transferred, 256u + 18908u);
        const Bytes reply = host.Exchange({0x13});
        ASSERT_EQ(reply.size(), 256u + 18908u);
        EXPECT_EQ(reply[256 + 8], 3);
        EXPECT_EQ(reply[256 + 8 + 18899], 9);
        if (live)
            VS_SetCalibrationRecord(nullptr, 0);
    });
}

TEST_P(Driver, FaultsHaveTheirStatusAndLoseNothingThatTheyDelay) {
    const std::vector<std::string> actions = {"none", "status", "short", "hang", "length", "noise"};
    Play([&](Host &host) {
        for (const auto &row : Table("drivers/faults.txt")) {
            SCOPED_TRACE(testing::PrintToString(row));
            const std::string &direction = row[0], &action = row[1];
            uint32_t value = 0, room = 0, sent = 0, read = 0, count = 0;
            Take(row[2], value, room);
            Take(GetParam().wire ? row.back() : row[3], sent, read, count);
            const auto found = std::find(actions.begin(), actions.end(), action);
            if (found != actions.begin())
                Arm(0x11, direction == "in" ? VS_IN : VS_OUT, static_cast<uint32_t>(found - actions.begin()),
                    value);
            const uint32_t timeoutMs = action == "hang" ? 200 : 999;
            Bytes packet = Packet(LongReply(20000), 1);
            uint32_t got = 77;
            EXPECT_EQ(WDU_TransferBulk(host.device, kOut, 0, 0, packet.data(), 256, &got, timeoutMs), sent);
            EXPECT_EQ(got, sent == 0 ? 256u : 0u);
            if (sent == 0) {
                Bytes to(room + 1, 0xEE);
                EXPECT_EQ(WDU_TransferBulk(host.device, kIn, 1, 0, to.data(), room, &got, timeoutMs), read);
                EXPECT_EQ(got, count);
                EXPECT_TRUE(action == "length" || to[count] == 0xEE) << "more is written than is told";
                to.resize(count);
                EXPECT_EQ(count <= 256 || IsLongReply(to), action != "noise" && count <= 20000);
            }
            if (live)
                VS_ClearFaults();
            EXPECT_EQ(host.Exchange({0x14}).size(), 256u) << "the next exchange is itself again";
        }
        Bytes reply;
        Arm(0x15, VS_IN, VS_FAULT_STATUS, kWireError);
        EXPECT_EQ(host.Send({0x15}), 0u);
        EXPECT_EQ(host.Read(&reply), kWireError);
        EXPECT_EQ(Text(host.Exchange({0x15})), "Reset - Power on");
    });
}

TEST_P(Driver, HaltEndsWithAPipeReset) {
    const uint32_t before = Observed().pipeResets;
    Play([](Host &host) {
        Bytes reply;
        EXPECT_EQ(host.Send({0xE7}), kStalled);
        EXPECT_EQ(host.Read(&reply), kStalled);
        EXPECT_EQ(WDU_ResetPipe(host.device, kIn), 0u);
        EXPECT_EQ(WDU_ResetPipe(host.device, kOut), 0u);
        EXPECT_EQ(host.Read(&reply, 5), kTimeout);
        EXPECT_EQ(WDU_ResetPipe(host.device, 3), kBadPipe);
        EXPECT_EQ(WDU_ResetDevice(host.device, 3), kBadArgument);
    });
    EXPECT_EQ(Observed().pipeResets, before + 2);
}

TEST_P(Driver, UnplugAtAnyTransferIsFollowed) {
    Host host;
    for (int k = 1; k <= 12; k++) {
        SCOPED_TRACE(k);
        Arm(VS_ANY_COMMAND, k % 2 ? VS_OUT : VS_IN, VS_FAULT_UNPLUG, 0, static_cast<uint32_t>(k + 1) / 2);
        uint32_t status = 0;
        Bytes reply;
        for (int n = 0; n < 12 && status == 0; n++)
            status = n % 2 ? host.Read(&reply) : host.Send(n % 4 ? LongReply(98176) : Fields{0x14});
        // While pieces of a split read are submitted still, libusb calls it an error.
        EXPECT_TRUE(status == kGone || (GetParam().splits && status == kWireError)) << status;
        EXPECT_EQ(host.transferred, 0u);
        VS_ClearFaults();
        ASSERT_TRUE(host.WaitForNews(k, k));
        VS_PlugIn();
        ASSERT_TRUE(host.WaitForNews(k + 1, k));
        EXPECT_EQ(host.Exchange(LongReply(98176)).size(), 98176u);
    }
}

TEST_P(Driver, RefusesBadArguments) {
    WDU_MATCH_TABLE match = ScannerMatch();
    WDU_EVENT_TABLE events{};
    void *driver = &match;
    EXPECT_EQ(WDU_Init(&driver, nullptr, 1, &events, 1), kBadArgument);
    ASSERT_EQ(WDU_Init(&driver, &match, 1, &events, 1), 0u) << "callbacks may be missing";
    WDU_Uninit(driver);

    Host host;
    WDU_Uninit(&match); // nobody's
    Bytes packet = Packet({0x14}, 1);
    uint32_t transferred = 77;
    const auto transfer = [&](void *to, uint32_t pipe, int32_t read, void *buffer, uint32_t size = 256) {
        return WDU_TransferBulk(to, pipe, read, 0, buffer, size, &transferred, 2);
    };
    EXPECT_EQ(transfer(nullptr, kOut, 0, packet.data()), kBadHandle);
    EXPECT_EQ(transfer(&host, kOut, 0, packet.data()), kBadHandle);
    EXPECT_EQ(transfer(host.device, kOut, 1, packet.data()), kBadPipe);
    EXPECT_EQ(transfer(host.device, kIn, 1, nullptr), kBadArgument);
    EXPECT_EQ(transferred, 0u);
    EXPECT_EQ(transfer(host.device, kIn, 1, nullptr, 0), 0u) << "room for nothing";
    if (GetParam().wire)
        EXPECT_EQ(transfer(host.device, kIn, 1, packet.data(), 0xFFFFFFFF), kBadArgument);
    void *const device = host.device;
    host.Close();
    EXPECT_EQ(transfer(device, kOut, 0, packet.data()), kBadHandle);
    EXPECT_EQ(WDU_ResetPipe(device, kIn), kBadHandle);
}

TEST_P(Driver, InterruptedTransfersEndAtOnce) {
    EXPECT_EQ(InterruptedRead([](Host &) { VS_Unplug(); }), kGone);
    EXPECT_EQ(InterruptedRead([](Host &h) { EXPECT_EQ(WDU_ResetDevice(h.lastDevice, 2), 0u); }), kGone);
    EXPECT_EQ(InterruptedRead([](Host &h) { h.Close(); }), kCanceled);
    EXPECT_EQ(InterruptedRead([](Host &h) { h.Send({0x14}); }), 0u);
    EXPECT_EQ(InterruptedRead([](Host &h) { h.Send({0xE7}); }), kStalled);
}

TEST_P(Driver, AttachesWhatATableAsksForAndLetsGoOfWhatIsDeclined) {
    Bytes told;
    WDU_EVENT_TABLE events{[](void *, WDU_DEVICE *info, void *user) -> int32_t {
                               auto &to = *static_cast<Bytes *>(user);
                               const auto add = [&to](const void *from, size_t size) {
                                   const auto *bytes = static_cast<const uint8_t *>(from);
                                   to.insert(to.end(), bytes, bytes + size);
                               };
                               add(&info->Descriptor, sizeof info->Descriptor);
                               add(&info->pActiveInterface[0]->pActiveAltSetting->Descriptor, 9);
                               EXPECT_EQ(info->pActiveInterface[1], nullptr);
                               return 1;
                           },
                           nullptr, nullptr, &told};
    WDU_MATCH_TABLE tables[] = {{0x1111, 0x2222, 0, 0, 0, 0, 0}, {0, 0x0274, 0, 0, 0xFF, 0xFF, 0xFF}};
    for (const uint32_t count : {1u, 2u}) {
        void *driver = nullptr;
        EXPECT_EQ(told.size(), 0u);
        ASSERT_EQ(WDU_Init(&driver, tables, count, &events, 1), 0u);
        WDU_Uninit(driver);
    }
    EXPECT_EQ(told, Bytes({18, 1, 0, 2, 0, 0, 0, 64, 0x74, 0xF2, 0x74, 2,    0, 1,
                           0,  0, 0, 1, 9, 4, 0, 0,  2,    0xFF, 0xFF, 0xFF, 0}));

    Host host(ScannerMatch(), false);
    EXPECT_EQ(host.attaches, 1);
    EXPECT_EQ(host.Send({0x14}), GetParam().wire ? kGone : kBadHandle);
    VS_Unplug();
    host.accepts = true;
    VS_PlugIn();
    ASSERT_TRUE(host.WaitForNews(2, 0)) << "the host is not told that what it declined has left";
    EXPECT_EQ(host.Exchange({0x14}).size(), 256u);
}

TEST_P(Driver, ManyThreadsMayTransferAndReset) {
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
    for (int k = 0; k < 20000 && (host.device == nullptr || host.Exchange({0x14}).size() != 256); k++)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_EQ(host.Exchange({0x14}).size(), 256u);
}

} // namespace
} // namespace drivers
