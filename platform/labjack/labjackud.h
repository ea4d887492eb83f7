// The test-rig driver's functions, looked up at run time; the driver is absent on ordinary machines.
#ifndef K274_LABJACKUD_H
#define K274_LABJACKUD_H

#include <cstdint>

namespace labjack {

using OpenLabJackFunction = int32_t (*)(int32_t deviceType, int32_t connectionType, const char *address,
                                        int32_t firstFound, int32_t *handle);
using EDoFunction = int32_t (*)(int32_t handle, int32_t channel, int32_t state);
using EDiFunction = int32_t (*)(int32_t handle, int32_t channel, int32_t *state);
using EDacFunction = int32_t (*)(int32_t handle, int32_t channel, double voltage, int32_t a, int32_t b,
                                 int32_t c);

} // namespace labjack

#endif
