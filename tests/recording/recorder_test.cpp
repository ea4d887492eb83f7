// What the driver library notes of a session.
#include "tests/recording/recorded.h"
#include "tests/support/data.h"

#include <functional>
#include <future>

namespace {

using namespace recorded;
using wire::Host;

struct Recorder : RecordingTest {
    std::vector<Kept> Record(const std::function<void(Host &)> &session) const {
        Use("virtual", file);
        session(*std::make_unique<Host>());
        return Entries(file);
    }
};

TEST_F(Recorder, NotesWhatWasAskedForAndWhatCame) {
    const auto entries = Record([](Host &host) {
        const VS_Fault lies{0x7F, VS_IN, 1, 1, VS_FAULT_LENGTH, 300000};
        EXPECT_EQ(VS_ArmFault(&lies), VS_OK);
        Bytes reply;
        EXPECT_EQ(host.Send({0x7F}), 0u);
        EXPECT_EQ(host.Read(&reply), 0u);
        EXPECT_EQ(host.Send({0xE7}), wire::kStalled);
        EXPECT_EQ(WDU_ResetPipe(host.device, wire::kIn), 0u);
        EXPECT_EQ(host.Read(&reply, 2), wire::kTimeout);
        EXPECT_EQ(WDU_ResetDevice(host.device, 1), 0u);
        VS_Unplug();
        EXPECT_TRUE(host.WaitForNews(1, 1));
        EXPECT_EQ(host.Send({0x14}), wire::kGone);
        VS_PlugIn();
        EXPECT_TRUE(host.WaitForNews(2, 1));
        host.Poll();
    });
    std::ostringstream told;
    told << std::hex << std::showbase;
    for (const auto &[entry, data] : entries) {
        EXPECT_LE(entry.startUs + (entry.status == wire::kTimeout ? 2000 : 0), entry.endUs);
        told << "kind " << static_cast<int>(entry.kind) << " device " << entry.device << " status "
             << entry.status << " pipe " << entry.pipe << " time-out " << entry.timeoutMs << ", asked "
             << entry.size << " moved " << entry.transferred << " kept " << data.size();
        if (data.size() >= 12)
            told << " with " << wire::Load32(&data[8]);
        told << '\n';
    }
    ExpectKept("recording/recorded.txt", told.str());
}

TEST_F(Recorder, NotesCallsAsTheyEndAndWhenTheyBegan) {
    const auto entries = Record([](Host &host) {
        Bytes reply;
        auto reading = std::async(std::launch::async, [&] { return host.Read(&reply, 60); });
        do
            EXPECT_EQ(WDU_ResetPipe(host.device, wire::kOut), 0u);
        while (reading.wait_for(std::chrono::milliseconds(5)) != std::future_status::ready);
        EXPECT_EQ(reading.get(), wire::kTimeout);
    });
    const auto slow = std::find_if(entries.begin(), entries.end(),
                                   [](const Kept &kept) { return kept.entry.status == wire::kTimeout; });
    ASSERT_NE(slow, entries.end());
    const Entry &before = (slow - 1)->entry;
    EXPECT_EQ(before.kind, Kind::PipeReset);
    EXPECT_GT(before.order, slow->entry.order);
    EXPECT_GT(before.startUs, slow->entry.startUs);
    EXPECT_NE(before.thread, slow->entry.thread);
}

} // namespace
