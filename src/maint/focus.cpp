#include "src/maint/focus.h"

#include "include/k274.h"
#include "src/common/text.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/state/locks.h"
#include "src/state/maint_record.h"

#include <algorithm>

namespace k274 {

namespace {

constexpr uint32_t kLineBytes = 16320;
constexpr int kPartLines = 4, kLastPartLines = 2;
static_assert(kFocusBytes == (2 * kPartLines + kLastPartLines) * kLineBytes &&
              kFocusBytes == K274_FOCUS_BYTES);

constexpr uint8_t kFirstImageMode = 2; // modes below it have no image

// Fetches lines for the request that was sent, and stores them where they belong.
bool ReadLines(int firstLine, int count, uint8_t *image) {
    const auto size = static_cast<uint32_t>(count) * kLineBytes;
    if (!transport.ReadData(size).Ok())
        return false;
    if (image)
        std::copy_n(transport.ReplyData(), size, image + static_cast<uint32_t>(firstLine) * kLineBytes);
    return true;
}

bool RequestLines(CmdPkt &request, int firstLine, int count, uint8_t *image) {
    request.word0 = static_cast<uint16_t>(firstLine);
    request.word1 = static_cast<uint16_t>(count);
    transport.SendCmd(request);
    return ReadLines(firstLine, count, image);
}

} // namespace

bool FocusImage(uint8_t mode, uint8_t parameter, uint8_t *image) {
    if (image)
        std::fill_n(image, kFocusBytes, uint8_t{0});
    CmdPkt request(command::kFocusImage, mode);
    request.arg0 = parameter;
    request.word1 = kPartLines;
    DeviceGuard guard(deviceLock);
    log.Write(Format("FocusImage %2d (%d, %d)", focusCount, mode, parameter));
    ++focusCount;
    if (!transport.SendCmd(request).Ok()) {
        log.Write("Focus SendCmd error");
        return false;
    }
    if (mode < kFirstImageMode)
        return transport.ReadData(0).Ok();
    if (!ReadLines(0, kPartLines, image)) {
        log.Write("Focus ReadPacket error");
        return false;
    }
    if (!RequestLines(request, kPartLines, kPartLines, image)) {
        log.Write("Focus ReadPacket error2");
        return false;
    }
    RequestLines(request, 2 * kPartLines, kLastPartLines, image); // the end may be missing
    return true;
}

} // namespace k274
