#include "src/carddata/sd_version.h"

#include "platform/sd2/sd2.h"
#include "src/common/locks.h"
#include "src/common/text.h"

namespace k274 {

void SdVersion() {
    void *decoder = SD_Create();
    if (!decoder)
        return;
    char text[17] = ""; // the library writes at most 16 bytes; one more ends whatever it wrote
    BarcodeLibrary version;
    SD_Get(decoder, SD_PROP_VERSION_TEXT, text);
    SD_Get(decoder, SD_PROP_VERSION_MAJOR, &version.major);
    SD_Get(decoder, SD_PROP_VERSION_MINOR, &version.minor);
    CopyText(version.text, sizeof version.text, text);
    SD_Destroy(decoder);
    std::lock_guard guard(recordLock);
    barcodeLibrary = version;
}

} // namespace k274
