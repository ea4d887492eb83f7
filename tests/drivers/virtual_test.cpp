// The virtual scanner in process, recorded, for the suite of all drivers; and what it alone knows: the choice
// of the device, and faults that meet their transfers.
#include "scanner/firmware/faults.h"
#include "tests/drivers/contract.h"
#include "tests/scanner/firmware/host.h"

#include <gmock/gmock.h>

namespace drivers {

const std::vector<Backend> kBackends{{"virtual", false, false, [](bool) { return std::shared_ptr<void>(); }}};

namespace {

using namespace wire;
using testing::HasSubstr;

/// What opening says, and its status.
std::string SaidOn(const std::string &device, uint32_t status) {
    SetVariable("K274_DEVICE", device);
    testing::internal::CaptureStderr();
    const Host host;
    EXPECT_EQ(host.status, status);
    EXPECT_EQ(host.driver == nullptr, status != 0);
    EXPECT_EQ(host.attaches, 0) << "no virtual scanner is taken for a real one";
    return testing::internal::GetCapturedStderr();
}

TEST(Door, OpensTheDeviceThatIsNamedForOneHostAtATime) {
#ifdef K274_USB
    for (const char *usb : {"", "usb"})
        EXPECT_EQ(SaidOn(usb, 0), "") << "with no scanner there";
#else
    for (const char *usb : {"", "usb"})
        EXPECT_THAT(SaidOn(usb, kFailed), testing::EndsWith("or set K274_DEVICE=virtual\n"));
#endif
    EXPECT_THAT(SaidOn("Virtual", kFailed), HasSubstr("K274_DEVICE=Virtual names no device; "));
    SetVariable("K274_DEVICE", "virtual");
    Host first;
    testing::internal::CaptureStderr();
    Host second;
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("WDU_Uninit"));
    EXPECT_EQ(second.status, kFailed);
    second.Close();
    EXPECT_EQ(first.Exchange({0x14}).size(), 256u);
}

TEST(FaultList, CountsTheTransfersThatItsFaultsMeet) {
    scanner::FaultList faults;
    for (const VS_Fault &bad : {VS_Fault{0x200, VS_IN, 1, 1, 1, 0},
                                {0x14, 2, 1, 1, 1, 0},
                                {0x14, VS_IN, 0, 1, 1, 0},
                                {0x14, VS_IN, 1, 1, 7, 0}})
        EXPECT_FALSE(faults.Arm(bad));
    EXPECT_TRUE(faults.Arm({0x14, VS_IN, 2, 2, VS_FAULT_STATUS, 1}));
    EXPECT_TRUE(faults.Arm({VS_ANY_COMMAND, VS_IN, 3, 3, VS_FAULT_STATUS, 2}));
    std::vector<uint32_t> met;
    for (const unsigned command : {0x14, 0x14, 0x14, 0x7F, 0x15, 0x15}) {
        EXPECT_FALSE(faults.Next(command, VS_OUT));
        const auto fault = faults.Next(command, VS_IN);
        met.push_back(fault ? fault->value : 0);
    }
    // The third is due for both, and the one armed first has it.
    EXPECT_THAT(met, testing::ElementsAre(0, 1, 1, 2, 2, 0));
}

} // namespace
} // namespace drivers
