// The USB loopback test, which a factory's host drives call by call.
#pragma once

#include <cstdint>

namespace k274 {

enum UsbTestResult : int32_t { kUsbTestDone = 0, kUsbTestNotSent = -1, kUsbTestNoReply = -2 };

/// One exchange, or one step of the recovery ladder; see K274_UsbTest.
UsbTestResult UsbTest(int32_t number, uint32_t length);

/// While true the monitor thread leaves the link to the test.
bool UsbTestRuns();

} // namespace k274
