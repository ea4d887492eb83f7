// What the header of a scan file tells of the scanner and of the scan.
#pragma once

#include <cstdint>

namespace k274 {

struct ScanMetadata {
    // Of the scanner
    uint8_t hardware;
    uint8_t firmware[3];
    uint8_t fpga[2];
    uint64_t serialNumber2; // 0 when the scanner has none
    uint32_t parameter0;    // words of the parameter block as last read
    uint32_t parameter1;
    uint32_t parameter3;
    // Of the scan
    uint16_t dustCount;
    float contrastRatio; // of the stripe image
    float uvWhiteRatio;
    float uvGain;
};

} // namespace k274
