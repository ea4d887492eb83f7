// A scanner on the mock bus without a past, and a host with USB for its device.
#pragma once

#include "tests/scanner/firmware/host.h"
#include "tests/usb/mock_bus.h"

#include <chrono>
#include <cstdlib>
#include <functional>
#include <thread>

namespace mock {

inline bool Await(const std::function<bool()> &condition, int seconds = 20) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    while (!condition() && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return condition();
}

/// With the scatter-gather capability or without it: then libusb splits transfers.
class UsbTest : public testing::TestWithParam<bool> {
protected:
    static void SetUpTestSuite() {
        setenv("K274_DEVICE", "usb", 1);
        VS_SetSpeed(0);
    }
    void SetUp() override {
        port.behaviour.scatterGather = GetParam();
        VS_ClearFaults();
        VS_SetCards(nullptr);
        VS_SetSeed(1);
        VS_Unplug(); // what was on its way comes out
        VS_PlugIn();
        ASSERT_TRUE(port.Await(true));
    }
    void TearDown() override {
        VS_ClearFaults();
        VS_PlugIn();
    }
    static void Arm(uint32_t command, uint32_t direction, uint32_t action, uint32_t value, uint32_t first = 1,
                    uint32_t count = 1) {
        const VS_Fault fault{command, direction, first, count, action, value};
        ASSERT_EQ(VS_ArmFault(&fault), VS_OK);
    }

    Port port{scanner::TheScanner()};
};

} // namespace mock
