// The registers of the analog front end: which light each of them scales, and what lines make of it.
#include "scanner/firmware/line_pass.h"
#include "scanner/optics/optics.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace scanner;

TEST(Afe, EveryWordScalesItsOwnLightAndSide) {
    enum : unsigned { kFrontSide = 1, kBackSide = 2, kBoth = 3 };
    enum : unsigned { kVisible = 0x07, kIr = 0x08, kUv = 0x70 };
    struct Scaled {
        unsigned lights, sides;
    };
    const Scaled kWords[kAfeWords] = {{0x04, kBoth},
                                      {0x02, kBoth},
                                      {0x01, kBoth},
                                      {kIr, kBoth},
                                      {},
                                      {},
                                      {0x10, kBoth},
                                      {0x20, kBoth},
                                      {0x40, kBoth},
                                      {kVisible, kFrontSide},
                                      {kVisible, kBackSide},
                                      {kIr, kFrontSide},
                                      {kIr, kBackSide},
                                      {kUv, kFrontSide},
                                      {kUv, kBackSide}};
    const struct {
        double factor;
        uint32_t gain;
    } kFactors[] = {
        {1, kUnityGain}, {2, 2 * kUnityGain}, {0.5, kUnityGain / 2}, {0, 0}, {50, 16 * kUnityGain}};
    for (size_t word = 0; word < kAfeWords; word++) {
        for (const auto &f : kFactors) {
            AfeRegisters registers = kFactoryAfe;
            registers[word] = static_cast<uint16_t>(registers[word] * f.factor);
            const SensorGains gains = GainsUnder(registers);
            for (unsigned light = 0; light < kLights; light++) {
                for (unsigned side = 0; side < 2; side++) {
                    const bool scaled = kWords[word].lights >> light & kWords[word].sides >> side & 1;
                    // The halves of odd words are cut.
                    EXPECT_NEAR(gains.Of(Light(light), Side(side)), scaled ? f.gain : kUnityGain, 20)
                        << word << " x " << f.factor << ", light " << light << ", side " << side;
                }
            }
        }
    }
}

TEST(Afe, LinesGetTheirLightScaledAndClipped) {
    constexpr int kWidth = 338, kHeight = 213;
    Card card;
    card.dotsPerInch = 100;
    card.front = {kWidth, kHeight, std::vector<uint8_t>(3 * kWidth * kHeight, 100)};
    card.back = card.frontUv = card.backUv = card.front;
    card.frontIr = card.backIr = {kWidth, kHeight, std::vector<uint8_t>(kWidth * kHeight, 100)};
    const WhiteResponse lamps = LampResponse();
    Scene scene{&card, {51200, 300800, 648960, 0}, &lamps, 1};
    const struct {
        Pass pass;
        void (*render)(const Scene &, int, uint8_t *);
        int colours, colour;
        Light light;
    } kCases[] = {
        {Pass::Rgb, RenderRgbLine, 3, 0, Light::kRed},  {Pass::Rgb, RenderRgbLine, 3, 1, Light::kGreen},
        {Pass::Rgb, RenderRgbLine, 3, 2, Light::kBlue}, {Pass::Ir, RenderIrLine, 1, 0, Light::kInfrared},
        {Pass::Uv, RenderUvLine, 3, 0, Light::kUvRed},  {Pass::Uv, RenderUvLine, 3, 1, Light::kUvGreen},
        {Pass::Uv, RenderUvLine, 3, 2, Light::kUvBlue}};
    for (const auto &c : kCases) {
        const auto render = [&] {
            std::vector<uint8_t> bytes(static_cast<size_t>(Info(c.pass).lineBytes));
            c.render(scene, 800, bytes.data());
            return bytes;
        };
        scene.gains = {};
        const auto plain = render();
        const int pixels = Info(c.pass).lineBytes / c.colours, backFirst = c.pass == Pass::Uv ? 684 : 1350;
        for (const uint32_t factor : {2u, 16u}) {
            scene.gains.Set(c.light, Side::kBack, factor * kUnityGain);
            const auto scaled = render();
            for (int p = 0; p < pixels; p++) {
                for (int k = 0; k < c.colours; k++) {
                    const auto at = static_cast<size_t>(c.colours * p + k);
                    if (p < backFirst || k != c.colour)
                        ASSERT_EQ(scaled[at], plain[at]) << p;
                    else if (plain[at] > 20) // dark levels and noise are not scaled
                        ASSERT_NEAR(scaled[at], std::min(255u, plain[at] * factor), 8.0 * factor) << p;
                }
            }
        }
    }
}

} // namespace
