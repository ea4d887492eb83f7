// Preloaded into k274 by the tests: stands in front of one control function of the virtual scanner and makes
// the scanner misbehave as K274_TEST_MISCHIEF says, at the moment at which k274 puts a card in.
#include <dlfcn.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#include "scanner/virtual_scanner.h"

namespace {

constexpr uint32_t kReadRgbLines = 0x01;
// Events of the scanner's first two seconds (whole ones, by the calendar) are not reported.
constexpr std::chrono::milliseconds kUntilEvents{3100};

std::string Mischief() {
    const char *text = std::getenv("K274_TEST_MISCHIEF");
    return text == nullptr ? "" : text;
}

void ArmLines(uint32_t action) {
    const VS_Fault fault = {kReadRgbLines, VS_IN, 3, action == VS_FAULT_UNPLUG ? 1u : 0u, action, 5};
    VS_ArmFault(&fault);
}

// Before the driver starts.
[[gnu::constructor]] void Begin() {
    if (Mischief() == "absent")
        VS_Unplug();
}

} // namespace

extern "C" VS_API int32_t VS_InsertCard(const char *folder) {
    if (Mischief() == "unplug")
        ArmLines(VS_FAULT_UNPLUG);
    if (Mischief() == "fail")
        ArmLines(VS_FAULT_STATUS);
    if (Mischief() == "jam") {
        std::this_thread::sleep_for(kUntilEvents);
        VS_PostEvent("Card jammed illum = 5");
    }
    return reinterpret_cast<decltype(&VS_InsertCard)>(dlsym(RTLD_NEXT, "VS_InsertCard"))(folder);
}
