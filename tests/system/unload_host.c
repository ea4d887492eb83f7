/* A host that loads the library at run time and unloads it in the middle of a scan: the library's threads
 * must neither crash nor hang it. Argument: the library. The environment names virtual cards. */
#include "include/k274.h"
#include "scanner/virtual_scanner.h" /* C, too */

#include <stdio.h>

#ifdef _WIN32
#include <windows.h>
static void Pause(unsigned milliseconds) { Sleep(milliseconds); }
static void *Load(const char *path) { return LoadLibraryA(path); }
static void *Find(void *library, const char *name) {
    return (void *)(uintptr_t)GetProcAddress((HMODULE)library, name);
}
static void Unload(void *library) { FreeLibrary((HMODULE)library); }
/* The last of the library's threads takes the library along when it ends. */
static int IsGone(void) { return GetModuleHandleA("K274dll.dll") == NULL; }
#else
#include <dlfcn.h>
#include <unistd.h>
static void Pause(unsigned milliseconds) { usleep(milliseconds * 1000); }
static void *Load(const char *path) { return dlopen(path, RTLD_NOW); }
static void *Find(void *library, const char *name) { return dlsym(library, name); }
static void Unload(void *library) { dlclose(library); }
/* Once loaded, it stays. */
static int IsGone(void) { return 1; }
#endif

static _Atomic int32_t lastState;

static void K274_CALLBACK OnState(int32_t state) { lastState = state; }

int main(int argc, char **argv) {
    for (int round = 0; argc == 2 && round < 2; ++round) {
        void *library = Load(argv[1]);
        if (!library) {
            fprintf(stderr, "%s cannot be loaded\n", argv[1]);
            return 2;
        }
        int32_t (*init)(int32_t);
        void (*listen)(K274_ScanStateCallback);
        void (*stop)(void);
        *(void **)&init = Find(library, "K274_Init");
        *(void **)&listen = Find(library, "K274_RegNewScanCB");
        *(void **)&stop = Find(library, "K274_Close");
        listen(OnState);
        init(0);
        lastState = 0;
        for (int i = 0; i < 2000 && lastState != K274_STATE_SCAN_STARTED; ++i)
            Pause(5);
        if (lastState != K274_STATE_SCAN_STARTED)
            return 3;
        if (round == 1)
            stop();
        Unload(library);
    }
    for (int i = 0; i < 2000 && !IsGone(); ++i)
        Pause(5);
    return IsGone() ? 0 : 4;
}
