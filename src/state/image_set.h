// The finished images of the last scan, whose addresses the getters hand out. Written by the monitor
// thread during a scan and by K274_Clear; the host reads them between scans.
#pragma once

#include "include/k274.h"
#include "src/common/view.h"

namespace k274 {

struct ImageSet {
    uint8_t NatFr[K274_NAT_WIDTH * K274_NAT_HEIGHT * 3];
    uint8_t NatBk[K274_NAT_WIDTH * K274_NAT_HEIGHT * 3];
    uint8_t IrFr[K274_IR_WIDTH * K274_IR_HEIGHT];
    uint8_t IrBk[K274_IR_WIDTH * K274_IR_HEIGHT];
    uint8_t IrbFr[K274_IR_WIDTH * K274_IR_HEIGHT];
    uint8_t IrbBk[K274_IR_WIDTH * K274_IR_HEIGHT];
    uint8_t UvFr[K274_UV_WIDTH * K274_UV_HEIGHT * 3];
    uint8_t UvBk[K274_UV_WIDTH * K274_UV_HEIGHT * 3];
    uint8_t SliFr[K274_SLI_WIDTH * K274_SLI_HEIGHT * 3];
    uint8_t SliBk[K274_SLI_WIDTH * K274_SLI_HEIGHT * 3];
    uint8_t Edge[K274_EDGE_WIDTH * K274_EDGE_HEIGHT * 3];
    uint8_t MsIr[K274_MSIR_WIDTH * K274_MSIR_HEIGHT];
    uint8_t MsBl[K274_MSBL_WIDTH * K274_MSBL_HEIGHT];
};
extern ImageSet imageSet;

/// Fills the visible, infrared and ultraviolet images and the bleed image; the others stay.
void ClearImages(uint8_t fill);

} // namespace k274
