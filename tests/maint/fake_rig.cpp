// A test-rig driver that notes the lines set, as text: "line=state " each.
#include <cstdint>
#include <mutex>
#include <string>

namespace {

std::mutex lock;
std::string trace;

} // namespace

extern "C" {

__attribute__((visibility("default"))) int32_t OpenLabJack(int32_t deviceType, int32_t connectionType,
                                                           const char *address, int32_t firstFound,
                                                           int32_t *handle) {
    *handle = 5;
    return deviceType == 3 && connectionType == 1 && std::string(address) == "5" && firstFound == 0 ? 0 : 1;
}

__attribute__((visibility("default"))) int32_t eDO(int32_t handle, int32_t channel, int32_t state) {
    std::lock_guard guard(lock);
    if (handle == 5)
        trace += std::to_string(channel) + "=" + std::to_string(state) + " ";
    return 0;
}

/// Hands the trace out and starts a new one.
__attribute__((visibility("default"))) const char *TakeRigTrace() {
    static std::string taken;
    std::lock_guard guard(lock);
    taken.swap(trace);
    trace.clear();
    return taken.c_str();
}
}
