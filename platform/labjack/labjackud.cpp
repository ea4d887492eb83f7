// A test rig without the hardware: every line that is set goes with its time into the file that K274_RIG_FILE
// names, "milliseconds channel state" a line, counted from the opening. Without that variable there is no
// rig.
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#if defined(_WIN32)
#define LABJACK_API extern "C" __declspec(dllexport)
#else
#define LABJACK_API extern "C" __attribute__((visibility("default")))
#endif

namespace {

constexpr int32_t kHandle = 1;
constexpr int32_t kNoRig = 1007; // what the driver answers when no device is found

std::mutex lock; // guards the rest
std::FILE *file = nullptr;
std::chrono::steady_clock::time_point start;

} // namespace

LABJACK_API int32_t OpenLabJack(int32_t, int32_t, const char *, int32_t, int32_t *handle) {
    std::lock_guard guard(lock);
    const char *path = std::getenv("K274_RIG_FILE");
    if (!path || !path[0])
        return kNoRig;
    if (!file) {
        file = std::fopen(path, "w");
        start = std::chrono::steady_clock::now();
    }
    if (!file)
        return kNoRig;
    *handle = kHandle;
    return 0;
}

LABJACK_API int32_t eDO(int32_t handle, int32_t channel, int32_t state) {
    std::lock_guard guard(lock);
    if (handle != kHandle || !file)
        return kNoRig;
    const auto elapsed = std::chrono::steady_clock::now() - start;
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count();
    std::fprintf(file, "%lld %d %d\n", static_cast<long long>(milliseconds), channel, state);
    std::fflush(file); // readers follow it, and the process may end at any time
    return 0;
}

LABJACK_API int32_t eDI(int32_t, int32_t, int32_t *state) {
    *state = 0;
    return 0;
}

LABJACK_API int32_t eDAC(int32_t, int32_t, double, int32_t, int32_t, int32_t) { return 0; }
