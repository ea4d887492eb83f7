// A driver library without a virtual scanner, as a maker's own is. It never has a scanner.
#include "platform/windriver/wdapi.h"

namespace {

void *Something() {
    static int something;
    return &something;
}

} // namespace

extern "C" {

uint32_t WDU_Init(void **driver, WDU_MATCH_TABLE *, uint32_t, WDU_EVENT_TABLE *, uint32_t) {
    *driver = Something();
    return 0;
}
void WDU_Uninit(void *) {}
uint32_t WDU_TransferBulk(void *, uint32_t, int32_t, uint32_t, void *, uint32_t, uint32_t *transferred,
                          uint32_t) {
    *transferred = 0;
    return 1;
}
uint32_t WDU_ResetPipe(void *, uint32_t) { return 1; }
uint32_t WDU_ResetDevice(void *, uint32_t) { return 1; }
uint32_t OsEventCreate(void **event) {
    *event = Something();
    return 0;
}
uint32_t OsEventSignal(void *) { return 0; }
uint32_t OsEventWait(void *, int32_t) { return 0; }
void OsEventClose(void *) {}
uint32_t OsMutexCreate(void **mutex) {
    *mutex = Something();
    return 0;
}
uint32_t OsMutexLock(void *) { return 0; }
uint32_t OsMutexUnlock(void *) { return 0; }
void OsMutexClose(void *) {}
}
