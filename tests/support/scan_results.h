// Everything that the last scan left for the host, by name.
#pragma once

#include "include/k274.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

struct ScanPart {
    const char *name;
    uint8_t *bytes;
    size_t size;
};

inline std::vector<ScanPart> ScanImages() {
    constexpr size_t kNat = 3 * K274_NAT_WIDTH * K274_NAT_HEIGHT, kIr = K274_IR_WIDTH * K274_IR_HEIGHT,
                     kUv = 3 * K274_UV_WIDTH * K274_UV_HEIGHT, kSli = 3 * K274_SLI_WIDTH * K274_SLI_HEIGHT;
    return {{"NatFr", K274_GetImgNatFr(), kNat},
            {"NatBk", K274_GetImgNatBk(), kNat},
            {"IrFr", K274_GetImgIrFr(), kIr},
            {"IrBk", K274_GetImgIrBk(), kIr},
            {"IrbFr", K274_GetImgIrbFr(), kIr},
            {"IrbBk", K274_GetImgIrbBk(), kIr},
            {"UvFr", K274_GetImgUvFr(), kUv},
            {"UvBk", K274_GetImgUvBk(), kUv},
            {"SliFr", K274_GetImgSliFr(), kSli},
            {"SliBk", K274_GetImgSliBk(), kSli},
            {"Edge", K274_GetImgEdge(), 3 * K274_EDGE_WIDTH * K274_EDGE_HEIGHT},
            {"MsIr", K274_GetImgMsIr(), K274_MSIR_WIDTH * K274_MSIR_HEIGHT},
            {"MsBl", K274_GetImgMsBl(), K274_MSBL_WIDTH * K274_MSBL_HEIGHT}};
}

/// The images and the response tables.
inline std::vector<ScanPart> ScanParts() {
    constexpr size_t kResponses = K274_RESP_TABLES * K274_RESP_POSITIONS;
    std::vector<ScanPart> parts = ScanImages();
    parts.push_back({"raw-response", K274_GetCcdRawResp(), kResponses});
    parts.push_back({"corrected-response", K274_GetCcdCorResp(), kResponses});
    parts.push_back({"white-response", K274_GetCcdWccResp(), kResponses});
    return parts;
}

using ScanResults = std::map<std::string, std::vector<uint8_t>>;

inline ScanResults TakeScanResults() {
    ScanResults results;
    for (const ScanPart &part : ScanParts())
        results[part.name].assign(part.bytes, part.bytes + part.size);
    results["stripe"].resize(sizeof(K274_Magnetic));
    K274_GetMag(results["stripe"].data());
    return results;
}
