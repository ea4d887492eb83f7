// The built library in front of the virtual scanner, recorded, and in front of the recording: the same states
// and images.
#include "tests/recording/recorded.h"
#include "tests/support/host.h"
#include "tests/support/scan_results.h"
#include "tests/support/system.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace {

using States = std::vector<int>;

/// The states behind the first connection. Without those that chance decides on: 4 comes from decoder threads
/// at a time of their own, and 20 is told or not by the calendar's seconds while the library is young.
States AfterConnecting(States states) {
    const auto byChance = [](int state) { return state == 4 || state == 20; };
    states.erase(std::remove_if(states.begin(), states.end(), byChance), states.end());
    const auto connected = std::find(states.begin(), states.end(), 10);
    states.erase(states.begin(), connected == states.end() ? connected : connected + 1);
    return states;
}

struct RecordedSession : HostTest {
    void StartRecording() {
        SetVariable("K274_RECORD", (folder + "a.rec").c_str());
        Start();
    }
    void StartReplay() {
        K274_Close();
        K274_Clear(0); // the images go; behind the end, so that no recording has it
        SetVariable("K274_RECORD", nullptr);
        SetVariable("K274_DEVICE", ("replay:" + folder + "a.rec").c_str());
        testing::internal::CaptureStderr();
        replaying = true;
        Start();
    }
    /// What the driver said of the replay.
    std::string EndReplay() {
        K274_Close();
        SetVariable("K274_DEVICE", "virtual");
        replaying = false;
        return testing::internal::GetCapturedStderr();
    }
    void TearDown() override {
        if (replaying) { // a test that went wrong
            ADD_FAILURE() << EndReplay();
        }
        SetVariable("K274_RECORD", nullptr);
        HostTest::TearDown();
    }

    bool replaying = false;
};

TEST_F(RecordedSession, AScanWithARepeatedBlockComesOutTheSame) {
    StartRecording();
    K274_ClrXfrErrs();
    const VS_Fault fault{0x01, VS_IN, 20, 1, VS_FAULT_STATUS, 0xC0000011};
    ASSERT_EQ(VS_ArmFault(&fault), VS_OK);
    ASSERT_EQ(Scan(), 8);
    States states = StatesSinceMark();
    states.insert(states.begin(), 10);
    const ScanResults results = TakeScanResults();
    EXPECT_EQ(K274_GefXfrErrs(), 1u);

    StartReplay();
    K274_ClrXfrErrs();
    ASSERT_EQ(WaitFor({8, 9, 11}), 8);
    const States replayed = AfterConnecting(StatesSinceMark());
    EXPECT_TRUE(TakeScanResults() == results);
    EXPECT_EQ(K274_GefXfrErrs(), 1u);
    EXPECT_EQ(replayed, AfterConnecting(states));
    // The card's last events are polled for after the scan. A host that closes before is another host.
    std::this_thread::sleep_for(std::chrono::milliseconds(700));
    EXPECT_EQ(EndReplay(), "");
}

TEST_F(RecordedSession, AHostThatDoesSomethingElseLosesTheScanner) {
    StartRecording();
    StartReplay();
    K274_UserBeep(2);
    EXPECT_EQ(WaitFor({11}), 11);
    const std::string said = EndReplay();
    EXPECT_NE(said.find("beep (0x74)"), std::string::npos) << said;
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
}

} // namespace
