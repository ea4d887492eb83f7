// Everything that the last scan left for the host, by name.
#pragma once

#include "include/k274.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

using ScanResults = std::map<std::string, std::vector<uint8_t>>;

inline ScanResults TakeScanResults() {
    ScanResults results;
    const auto add = [&results](const char *name, const uint8_t *from, int channels, int width, int height) {
        results[name].assign(from, from + size_t(channels) * size_t(width) * size_t(height));
    };
    add("NatFr", K274_GetImgNatFr(), 3, K274_NAT_WIDTH, K274_NAT_HEIGHT);
    add("NatBk", K274_GetImgNatBk(), 3, K274_NAT_WIDTH, K274_NAT_HEIGHT);
    add("IrFr", K274_GetImgIrFr(), 1, K274_IR_WIDTH, K274_IR_HEIGHT);
    add("IrBk", K274_GetImgIrBk(), 1, K274_IR_WIDTH, K274_IR_HEIGHT);
    add("UvFr", K274_GetImgUvFr(), 3, K274_UV_WIDTH, K274_UV_HEIGHT);
    add("UvBk", K274_GetImgUvBk(), 3, K274_UV_WIDTH, K274_UV_HEIGHT);
    add("SliFr", K274_GetImgSliFr(), 3, K274_SLI_WIDTH, K274_SLI_HEIGHT);
    add("SliBk", K274_GetImgSliBk(), 3, K274_SLI_WIDTH, K274_SLI_HEIGHT);
    add("Edge", K274_GetImgEdge(), 3, K274_EDGE_WIDTH, K274_EDGE_HEIGHT);
    add("MsIr", K274_GetImgMsIr(), 1, K274_MSIR_WIDTH, K274_MSIR_HEIGHT);
    add("MsBl", K274_GetImgMsBl(), 1, K274_MSBL_WIDTH, K274_MSBL_HEIGHT);
    add("raw-response", K274_GetCcdRawResp(), 7, 2700, 1);
    add("corrected-response", K274_GetCcdCorResp(), 7, 2700, 1);
    results["stripe"].resize(sizeof(K274_Magnetic));
    K274_GetMag(results["stripe"].data());
    return results;
}
