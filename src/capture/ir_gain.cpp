#include "src/capture/ir_gain.h"

#include "src/capture/gain_rows.h"

namespace k274 {

void IrIllumGain(ConstGreyView raw, const uint16_t (&gains)[kSensorRows], GreyView corrected) {
    for (int row = 0; row < kSensorRows; row++)
        GainRow(raw.Row(row), corrected.Row(row), raw.columns,
                GainPattern({gains[row], gains[row], gains[row]}));
}

} // namespace k274
