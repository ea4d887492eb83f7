// The response curves of a scan: brightness at every sensor position before and after correction.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/k274/facts/capture.h"

namespace host {

constexpr int kNoValue = -1;

struct Curve {
    const char *name;                            // "blue"
    std::array<int, K274_RESP_POSITIONS> values; // 0 to 255, or kNoValue
};

struct Curves {
    std::vector<Curve> raw, corrected; // K274_RESP_TABLES each
};

/// No values anywhere.
Curves NoCurves();

/// Leaves out what the tables hold beside the curves, and what the scan did not measure.
Curves CurvesOf(const Capture &capture);

/// A line with the names, then one line for every position; no value is an empty field.
std::string CurvesCsv(const Curves &curves);
/// Takes such a text back. Throws HostError(kBadFile) naming the file.
Curves ParseCurvesCsv(const std::string &text, const std::string &file);

} // namespace host
