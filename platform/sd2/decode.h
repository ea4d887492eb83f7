// One decode: from the caller's image to a result.
#pragma once

#include "platform/sd2/engine.h"

#include <array>
#include <string>

namespace sd2 {

struct Request {
    const Engine *engine = nullptr;
    GreyImage image{};
    bool pdf417 = false, code128 = false, code39 = false;
    int budgetMs = 0;
};

constexpr size_t kMaxText = 4000;

struct Result {
    Symbology symbology = kNone;
    std::string text;
    int32_t orientation = 0;
    std::array<uint16_t, 2> position{};
    std::array<uint16_t, 8> info{};

    /// The first and last line of the symbol, held inside the image and above 0.
    void SetPosition(double firstLine, double lastLine, int imageLines);
};

/// Words of the info block.
enum InfoWord : size_t {
    kInfoAccepted = 0,
    kInfoRows = 2,
    kInfoColumns = 3,
    kInfoCorrection = 4,
    kInfoAttempt = 5,
    kInfoModule = 6,
    kInfoCorrected = 7
};

/// @return whether something was read; *result is empty otherwise
bool Decode(const Request &request, Result *result);

} // namespace sd2
