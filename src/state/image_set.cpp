#include "src/state/image_set.h"

#include "src/state/locks.h"

#include <cstring>

namespace k274 {

void ClearImages(uint8_t fill) {
    std::lock_guard guard(imageLock);
    ImageSet &set = imageSet;
    std::memset(set.NatFr, fill, sizeof set.NatFr);
    std::memset(set.NatBk, fill, sizeof set.NatBk);
    std::memset(set.IrFr, fill, sizeof set.IrFr);
    std::memset(set.IrBk, fill, sizeof set.IrBk);
    std::memset(set.IrbFr, fill, sizeof set.IrbFr);
    std::memset(set.IrbBk, fill, sizeof set.IrbBk);
    std::memset(set.UvFr, fill, sizeof set.UvFr);
    std::memset(set.UvBk, fill, sizeof set.UvBk);
    std::memset(set.MsBl, fill, sizeof set.MsBl);
}

} // namespace k274
