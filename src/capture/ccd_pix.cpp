// From the white-card response to gains: levelled to one brightness, held flat where the sensor's ends run
// into the dark, turned into fixed point for the line corrections.
#include "src/capture/ccd_pix.h"

#include "src/common/find_from.h"
#include "wire/bytes.h"
#include "wire/packet.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace k274 {

namespace {

constexpr int kBlueTable = 0, kGreenTable = 1, kRedTable = 2, kIrTable = 3, kUvTable = 6;
constexpr float kTarget = 224.0F; // response that needs no gain
constexpr float kMaxGain = 2.55F;
constexpr double kRgbExponent = 0.97, kUvExponent = 0.95;
constexpr float kRgbFixed = 128.0F, kUvFixed = 64.0F;

// The gain of every response. No response at all would need an infinite gain: it gets the most there is.
using GainCurve = std::array<float, 256>;
GainCurve MakeGainCurve(double exponent) {
    GainCurve curve{};
    curve[0] = kMaxGain;
    for (size_t response = 1; response < curve.size(); response++) {
        const float ratio = kTarget / static_cast<float>(response);
        const auto gain = static_cast<float>(std::pow(static_cast<double>(ratio), exponent));
        curve[response] = std::min(gain, kMaxGain);
    }
    return curve;
}

// A sensor half begins and ends where the three responses further out are dark on average.
void FindRgbEdges(const uint8_t *response, int32_t (&edge)[4]) {
    constexpr int kDark = 120;
    const auto darkBefore = [&](int i) {
        return (response[i - 1] + response[i - 2] + response[i - 3]) / 3 < kDark;
    };
    const auto darkAfter = [&](int i) {
        return (response[i + 1] + response[i + 2] + response[i + 3]) / 3 < kDark;
    };
    edge[0] = FindFrom(20, 3, darkBefore);
    edge[1] = FindFrom(1155, 1180, darkAfter);
    edge[2] = FindFrom(1400, 1360, darkBefore);
    edge[3] = FindFrom(2540, 2580, darkAfter);
}

void HoldEnds(float *gains, const int32_t (&edge)[4]) {
    std::fill(gains, gains + edge[0], gains[edge[0]]);
    std::fill(gains + edge[1], gains + kBackFirstRow, gains[edge[1]]);
    std::fill(gains + kBackFirstRow, gains + edge[2], gains[edge[2]]);
    std::fill(gains + edge[3], gains + kSensorRows, gains[edge[3]]);
}

void ComputeGains(const uint8_t *response, const GainCurve &curve, int positions, float *gains) {
    std::transform(response, response + positions, gains, [&](uint8_t value) { return curve[value]; });
}

// ---- Ultraviolet: half the positions, so that its two sides meet at 675

constexpr int kUvPositions = 1350, kUvBackFirst = 675;

void FindUvEdges(const float *gains, int32_t (&edge)[4]) {
    constexpr float kSteep = 2.44F;
    constexpr int kFrom[4] = {40, 560, 770, 1310}, kNone[4] = {-1, 600, 730, 1350};
    constexpr int kInwards[4] = {3, -3, 3, -3}, kDefaults[4] = {40, 560, 780, 1310};
    const auto steep = [&](int i) { return gains[i] > kSteep; };
    for (int i = 0; i < 4; i++) {
        const int hit = FindFrom(kFrom[i], kNone[i], steep);
        edge[i] = hit == kNone[i] ? kDefaults[i] : hit + kInwards[i];
    }
}

void HoldUvEnds(float *gains, const int32_t (&edge)[4]) {
    std::fill(gains, gains + edge[0] + 1, gains[edge[0] + 1]);
    std::fill(gains + edge[1] - 2, gains + kUvBackFirst, gains[edge[1] - 2]);
    std::fill(gains + kUvBackFirst, gains + edge[2] + 1, gains[edge[2] + 2]);
    std::fill(gains + edge[3] - 2, gains + kUvPositions, gains[edge[3] - 2]);
}

uint16_t Fixed(float gain, float scale) { return static_cast<uint16_t>(gain * scale); }

} // namespace

CcdPix::CcdPix() {
    for (float *gains : {gainB, gainG, gainR, gainIr, gainUv})
        std::fill(gains, gains + kSensorRows, 1.0F);
}

CcdReply CcdPix::Accept(const uint8_t *reply) {
    const uint8_t *data = reply + wire::kResponsesAt;
    if (wire::Load32(reply + wire::kResponseLengthAt) != kResponseBytes)
        return CcdReply::BadLength;
    std::memcpy(resp, data, kResponseBytes);
    uint32_t sum = 0;
    for (int i = 0; i < kResponseBytes; i++)
        sum += data[i];
    if (sum != wire::Load32(reply + wire::kResponseSumAt))
        return CcdReply::BadChecksum;

    const GainCurve curve = MakeGainCurve(kRgbExponent);
    FindRgbEdges(resp[kGreenTable], edge);
    const struct {
        int table;
        float *gains;
    } lights[] = {{kBlueTable, gainB}, {kGreenTable, gainG}, {kRedTable, gainR}, {kIrTable, gainIr}};
    for (const auto &light : lights) {
        ComputeGains(resp[light.table], curve, kSensorRows, light.gains);
        HoldEnds(light.gains, edge);
    }

    ComputeGains(resp[kUvTable], MakeGainCurve(kUvExponent), kUvPositions, gainUv);
    FindUvEdges(gainUv, edge);
    HoldUvEnds(gainUv, edge);

    for (int i = 0; i < kSensorRows; i++) {
        fixRgb[i][0] = Fixed(gainB[i], kRgbFixed);
        fixRgb[i][1] = Fixed(gainG[i], kRgbFixed);
        fixRgb[i][2] = Fixed(gainR[i], kRgbFixed);
        fixIr[i] = Fixed(gainIr[i], kRgbFixed);
        fixUv[i] = Fixed(gainUv[i], kUvFixed);
    }
    valid = 1;
    return CcdReply::Loaded;
}

} // namespace k274
