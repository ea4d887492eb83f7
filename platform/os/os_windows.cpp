// Time of day, locks, threads, modules and kernel devices on Windows.
#include "platform/os/os.h"

#include <atomic>
#include <cstdio>
#include <new>
#include <process.h>
#include <windows.h>

#undef FindResource // the system's macro of that name

namespace os {

namespace {

constexpr DWORD kDeviceTimeoutMs = 1000;

std::atomic<HMODULE> ownModule;

struct ThreadStart {
    void (*body)(void *);
    void *argument;
    HMODULE module; // a reference that keeps the thread's code loaded
};

std::atomic<int> runningThreads{0};

unsigned __stdcall RunThread(void *parameter) {
    auto *heap = static_cast<ThreadStart *>(parameter);
    const ThreadStart start = *heap;
    delete heap;
    start.body(start.argument);
    --runningThreads;
    // Gives the reference back and ends the thread in one step that lies outside the module.
    FreeLibraryAndExitThread(start.module, 0);
}

CRITICAL_SECTION *Section(unsigned char *storage) { return reinterpret_cast<CRITICAL_SECTION *>(storage); }

} // namespace

LocalTime Now() {
    SYSTEMTIME time;
    GetLocalTime(&time);
    return {time.wYear, time.wMonth,  time.wDay,    time.wDayOfWeek,
            time.wHour, time.wMinute, time.wSecond, time.wMilliseconds};
}

RecursiveLock::RecursiveLock() {
    static_assert(sizeof(CRITICAL_SECTION) <= sizeof storage_ && alignof(CRITICAL_SECTION) <= 16,
                  "the lock lives in the object's own storage");
    InitializeCriticalSection(new (storage_) CRITICAL_SECTION);
}

void RecursiveLock::lock() { EnterCriticalSection(Section(storage_)); }
bool RecursiveLock::try_lock() { return TryEnterCriticalSection(Section(storage_)) != 0; }
void RecursiveLock::unlock() { LeaveCriticalSection(Section(storage_)); }

bool StartThread(void (*body)(void *), void *argument) {
    auto *start = new (std::nothrow) ThreadStart{body, argument, nullptr};
    if (start == nullptr)
        return false;
    if (!GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCSTR>(&RunThread),
                            &start->module)) {
        delete start;
        return false;
    }
    const HMODULE module = start->module;
    ++runningThreads;
    const uintptr_t thread = _beginthreadex(nullptr, 0, RunThread, start, 0, nullptr);
    if (thread == 0) {
        --runningThreads;
        FreeLibrary(module);
        delete start;
        return false;
    }
    CloseHandle(reinterpret_cast<HANDLE>(thread));
    return true;
}

int RunningThreads() { return runningThreads; }

void SetModule(void *module) { ownModule = static_cast<HMODULE>(module); }

void *LoadModule(const char *baseName) {
    char file[kMaxPath];
    const int length = std::snprintf(file, sizeof file, "%s.dll", baseName);
    if (length < 0 || static_cast<size_t>(length) >= sizeof file)
        return nullptr;
    return LoadLibraryA(file);
}

void *ModuleSymbol(void *module, const char *name) {
    return module == nullptr ? nullptr
                             : reinterpret_cast<void *>(GetProcAddress(static_cast<HMODULE>(module), name));
}

Resource FindResource(const char *type, int id) {
    HMODULE module = ownModule;
    HRSRC found = FindResourceA(module, MAKEINTRESOURCEA(id), type);
    HGLOBAL loaded = found == nullptr ? nullptr : LoadResource(module, found);
    const void *data = loaded == nullptr ? nullptr : LockResource(loaded);
    if (data == nullptr)
        return {nullptr, 0};
    return {static_cast<const uint8_t *>(data), SizeofResource(module, found)};
}

bool KernelDeviceRequest(const char *device, uint32_t controlCode, void *input, uint32_t inputSize,
                         uint32_t *output) {
    HANDLE file = CreateFileA(device, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                              OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    OVERLAPPED request{};
    request.hEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    DWORD count = 0;
    if (!DeviceIoControl(file, controlCode, input, inputSize, output, sizeof *output, &count, &request) &&
        GetLastError() == ERROR_IO_PENDING) {
        if (WaitForSingleObject(request.hEvent, kDeviceTimeoutMs) != WAIT_OBJECT_0)
            CancelIoEx(file, &request);
        // The request and the caller's buffers are the driver's until this says that it is over.
        GetOverlappedResult(file, &request, &count, TRUE);
    }
    if (request.hEvent != nullptr)
        CloseHandle(request.hEvent);
    CloseHandle(file);
    return true;
}

} // namespace os
