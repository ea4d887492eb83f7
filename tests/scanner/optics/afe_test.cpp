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

} // namespace
