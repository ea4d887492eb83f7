// Entry point of the library: keeps the module handle, by which the library finds its own resources.
#include "platform/os/os.h"

#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH)
        os::SetModule(module);
    else if (reason == DLL_PROCESS_DETACH)
        os::SetModule(nullptr);
    return TRUE;
}
