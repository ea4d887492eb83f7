// The rig's lines beside what they mirror. The driver is the fake one that is built beside this program and
// that LD_LIBRARY_PATH, set by ctest, leads to.
#include "src/maint/rig.h"

#include "include/k274.h"
#include "platform/os/os.h"
#include "src/scan/sequence.h"
#include "tests/support/library_fixture.h"

#include <gmock/gmock.h>

namespace {

struct RigTest : ScannerTest {
    void SetUp() override {
        ScannerTest::SetUp();
        void *driver = os::LoadModule("labjackud");
        ASSERT_NE(driver, nullptr) << "run through ctest";
        take = reinterpret_cast<const char *(*)()>(os::ModuleSymbol(driver, "TakeRigTrace"));
        k274::LabJackOpen();
        take();
    }
    std::string Trace() const { return take(); }
    const char *(*take)() = nullptr;
};

TEST_F(RigTest, ActionsSetLines) {
    EXPECT_THAT(Log(), testing::Contains("Opened LabJack"));
    for (const int32_t action : {0, 1, 2, 3, 4, -1})
        k274::LabJackSet(7, action);
    EXPECT_EQ(Trace(), "7=0 7=1 7=1 7=0 7=0 7=1 ");
}

TEST_F(RigTest, LinesMirrorLedsAndLogIn) {
    for (uint8_t led = 0; led < 5; ++led)
        K274_DebugLEDs(led, led % 2 ? 1 : 0);
    K274_LogIn(1);
    K274_LogIn(0);
    EXPECT_EQ(Trace(), "0=0 1=1 8=0 9=1 12=0 12=1 ");
}

TEST_F(RigTest, ScanLineFollowsTheScan) {
    scanner.words = {3, 7, 0x1F, 0x5F, 0, 0};
    k274::ScanSequence();
    // Each transfer ends with its LED's line low; then states 2 (low and high again), 3, 6 and 7.
    EXPECT_EQ(Trace(), "8=0 8=0 8=1 8=0 8=0 8=0 8=1 8=0 8=0 ");
}

} // namespace
