// Time of day, locks, threads, files and modules on POSIX systems.
#include "platform/os/os.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <new>
#include <pthread.h>
#include <unistd.h>

namespace os {

namespace {

struct ThreadStart {
    void (*body)(void *);
    void *argument;
};

std::atomic<int> runningThreads{0};

void *RunThread(void *parameter) {
    auto *heap = static_cast<ThreadStart *>(parameter);
    const ThreadStart start = *heap;
    delete heap;
    start.body(start.argument);
    --runningThreads;
    return nullptr;
}

int OpenFile(const char *path, int flags) {
    char native[kMaxPath];
    if (!NativePath(path, native, sizeof native))
        return -1;
    return open(native, flags | O_RDWR | O_CLOEXEC | O_NOCTTY, 0666);
}

pthread_mutex_t *Mutex(unsigned char *storage) { return reinterpret_cast<pthread_mutex_t *>(storage); }

} // namespace

LocalTime Now() {
    timespec time{};
    tm local{};
    clock_gettime(CLOCK_REALTIME, &time);
    localtime_r(&time.tv_sec, &local);
    return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_wday,
            local.tm_hour,        local.tm_min,     local.tm_sec,  static_cast<int>(time.tv_nsec / 1000000)};
}

RecursiveLock::RecursiveLock() {
    static_assert(sizeof(pthread_mutex_t) <= sizeof storage_ && alignof(pthread_mutex_t) <= 16,
                  "the lock lives in the object's own storage");
    auto *mutex = new (storage_) pthread_mutex_t;
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

void RecursiveLock::lock() { pthread_mutex_lock(Mutex(storage_)); }
bool RecursiveLock::try_lock() { return pthread_mutex_trylock(Mutex(storage_)) == 0; }
void RecursiveLock::unlock() { pthread_mutex_unlock(Mutex(storage_)); }

bool StartThread(void (*body)(void *), void *argument) {
    auto *start = new (std::nothrow) ThreadStart{body, argument};
    if (start == nullptr)
        return false;
    ++runningThreads;
    pthread_t thread;
    if (pthread_create(&thread, nullptr, RunThread, start) != 0) {
        --runningThreads;
        delete start;
        return false;
    }
    pthread_detach(thread);
    return true;
}

int RunningThreads() { return runningThreads; }

void SetModule(void *) {
    // Resources are symbols of the binary here, found without a handle.
}

bool TruncateFile(const char *path) {
    const int file = OpenFile(path, O_CREAT | O_TRUNC);
    return file >= 0 && close(file) == 0;
}

bool AppendToFile(const char *path, const char *bytes, size_t count) {
    const int file = OpenFile(path, O_APPEND);
    if (file < 0)
        return false;
    ssize_t written = 0;
    do
        written = write(file, bytes, count);
    while (written < 0 && errno == EINTR);
    return close(file) == 0 && written == static_cast<ssize_t>(count);
}

void CurrentDirectory(char *text, size_t size) {
    if (size > 0 && getcwd(text, size) == nullptr)
        text[0] = '\0';
}

void *LoadModule(const char *baseName) {
    char file[kMaxPath];
    const int length = std::snprintf(file, sizeof file, "lib%s.so", baseName);
    if (length < 0 || static_cast<size_t>(length) >= sizeof file)
        return nullptr;
    return dlopen(file, RTLD_NOW | RTLD_LOCAL);
}

void *ModuleSymbol(void *module, const char *name) {
    return module == nullptr ? nullptr : dlsym(module, name);
}

bool KernelDeviceRequest(const char *, uint32_t, void *, uint32_t, uint32_t *) { return false; }

} // namespace os
