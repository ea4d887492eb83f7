// Resources where binaries have no resource section: blocks of bytes linked in under a symbol of their own.
#include "platform/os/os.h"

#include <cstring>

// A binary that is linked without the block has the resource no more than one without a resource section.
extern "C" {
extern const uint8_t k274_fw_img[] __attribute__((weak, visibility("hidden")));
extern const uint8_t k274_fw_img_end[] __attribute__((weak, visibility("hidden")));
}

namespace os {

Resource FindResource(const char *type, int id) {
    const struct {
        const char *type;
        int id;
        const uint8_t *begin, *end;
    } resources[] = {{"FW_IMG", 101, k274_fw_img, k274_fw_img_end}};
    for (const auto &resource : resources)
        if (resource.begin != nullptr && resource.id == id && std::strcmp(resource.type, type) == 0)
            return {resource.begin, static_cast<size_t>(resource.end - resource.begin)};
    return {nullptr, 0};
}

} // namespace os
