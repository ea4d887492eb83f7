// One decode through the library's door, with everything it reports.
#pragma once

#include "platform/sd2/sd2.h"
#include "tests/support/barcode_frames.h"

#include <array>
#include <string>

namespace sd2_test {

struct Read {
    int32_t returned = 0, symbology = 0, orientation = 0;
    std::string text;
    std::array<uint16_t, 8> info{};
    std::array<uint16_t, 2> position{};
};

struct Wanted {
    bool pdf417 = true, code128 = true, code39 = true;
};

/// Time does not matter: sanitized and busy machines read what fast ones read.
constexpr intptr_t kNoHurry = 600000;

void Describe(void *handle, const uint8_t *grey, int lines, int pixels, int stride,
              const Wanted &wanted = {});
Read Results(void *handle);
Read Decode(const barcode_frames::Frame &frame, const Wanted &wanted = {});

} // namespace sd2_test
