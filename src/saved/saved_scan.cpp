#include "src/saved/saved_scan.h"

#include "platform/os/os.h"
#include "src/common/text.h"
#include "src/log/log.h"
#include "src/state/barcode_state.h"
#include "src/state/capture_state.h"
#include "src/state/flags.h"
#include "src/state/image_set.h"
#include "src/state/locks.h"
#include "src/state/measures.h"
#include "src/state/records.h"
#include "src/state/scan_file_record.h"
#include "src/state/settings.h"

#include <cstring>

namespace k274 {

namespace {

constexpr char kAutoSaveFolder[] = "C:\\K274\\Tif\\";
constexpr size_t kInfoTextEnd = 225;

// Held while a scan's images and records are copied as one.
struct ContentsGuard {
    std::scoped_lock<std::mutex, std::mutex, std::mutex> locks{recordLock, imageLock, barcode.lock};
};

ScanContents Contents() {
    return {&imageSet,         &records.magnetic, &barcode.record,
            &CcdRawResp[0][0], &CcdCorResp[0][0], &ccdPix.resp[0][0]};
}

void ShowInformation(const uint8_t *from) {
    std::memcpy(scanFile.information, from, sizeof scanFile.information);
}

ScanTime TimeNow() { return {os::CalendarSeconds(), os::Now()}; }

// What the header tells of the scanner.
void DescribeScanner(const K274_Version &version, ScanMetadata &metadata) {
    metadata.hardware = version.hardware;
    std::memcpy(metadata.firmware, version.firmware, sizeof metadata.firmware);
    std::memcpy(metadata.fpga, version.fpga, sizeof metadata.fpga);
    metadata.serialNumber2 =
        static_cast<uint64_t>(version.serialNumber2High) << 32 | version.serialNumber2Low;
}

} // namespace

void ResetScanHeader() {
    std::lock_guard guard(recordLock);
    BuildHeader(records.metadata, TimeNow(), scanFile.header);
}

void RebuildScanHeader() {
    std::lock_guard guard(recordLock);
    DescribeScanner(records.version, records.metadata);
    BuildHeader(records.metadata, TimeNow(), scanFile.header);
    ShowInformation(scanFile.header);
}

void StampScanTime() {
    std::lock_guard guard(recordLock);
    StampTime(os::CalendarSeconds(), scanFile.header);
}

void ShowCardWidth(uint32_t width) {
    std::lock_guard guard(recordLock);
    StampCardWidth(width, scanFile.information);
}

void CopyScanInfo(void *info) {
    std::lock_guard guard(recordLock);
    scanFile.information[kInfoTextEnd] = 0;
    std::memcpy(info, scanFile.information, sizeof scanFile.information);
}

SaveResult SaveScan(const char *path) {
    char name[Settings::kNameSize] = "";
    const bool named = settings.AutoSaveFileName(name);
    FixedText<128> automatic;
    if (!path || !path[0]) {
        if (!named)
            return kSaved;
        automatic = Format("%s%s.tif", kAutoSaveFolder, name);
        path = automatic;
        settings.AdvanceAutoSaveNum(); // a save that fails uses the number up, too
    }
    std::lock_guard file(scanFile.lock);
    size_t size;
    {
        ContentsGuard guard;
        size = AssembleScanFile(scanFile.header, Contents(), VariantOfLastScan(state.lastScanMode),
                                scanFile.buffer);
    }
    const SaveResult result = WriteScanFile(path, scanFile.buffer, size);
    if (result == kNotCreated)
        return result;
    {
        std::lock_guard guard(recordLock);
        ShowInformation(scanFile.buffer);
    }
    // A file of the host's own name is logged by the automatic name, too.
    log.Image(Format("Saved %s.tif", name));
    return result;
}

OpenResult OpenScan(const char *path, uint32_t *variant) {
    std::lock_guard file(scanFile.lock);
    const OpenedFile opened = ReadScanFile(path ? path : "", scanFile.buffer);
    if (variant)
        *variant = opened.variant;
    if (opened.result != kOpened)
        return opened.result;
    DrawBarcodeTicket(); // what a late decoder still finds is not this scan's
    ContentsGuard guard;
    ShowInformation(scanFile.buffer);
    if (opened.loadable) {
        LoadScan(scanFile.buffer, opened, Contents(), scanFile.header);
        TakeScanValues(scanFile.header, &records.metadata);
    }
    return kOpened;
}

} // namespace k274
