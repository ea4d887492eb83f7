/* The library's objects call its lower libraries by way of an import table. Where stand-ins are linked into
 * the same program, as in tests, this is the table. */
#define ENTRY(name)                                                                                          \
    void name(void);                                                                                         \
    void (*const _imp__##name)(void) = name;

ENTRY(WDU_Init)
ENTRY(WDU_Uninit)
ENTRY(WDU_TransferBulk)
ENTRY(WDU_ResetPipe)
ENTRY(WDU_ResetDevice)
ENTRY(OsEventCreate)
ENTRY(OsEventSignal)
ENTRY(OsEventWait)
ENTRY(OsEventClose)
ENTRY(OsMutexCreate)
ENTRY(OsMutexLock)
ENTRY(OsMutexUnlock)
ENTRY(OsMutexClose)
ENTRY(SD_Create)
ENTRY(SD_Set)
ENTRY(SD_Decode)
ENTRY(SD_Get)
ENTRY(SD_Destroy)
