// Runs the library for a command. The callback, on the library's threads, only stores; all else happens on
// the main thread.
#include "tools/k274/scan/session.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>

#include "include/k274.h"
#include "tools/k274/base/errors.h"
#include "tools/k274/base/output.h"
#include "tools/k274/files/files.h"
#include "tools/k274/scan/virtual_device.h"
#include "wire/status.h"

namespace host {

namespace {

using std::chrono::milliseconds;

// A wait looks for Ctrl-C this often; states themselves wake it at once.
constexpr milliseconds kSlice{50};
// The library's thread ends by itself after K274_Close; most often it does within this time.
constexpr milliseconds kAfterClose{150};
constexpr size_t kMaxLogFolder = 244;

struct Queue {
    std::mutex lock;
    std::condition_variable arrived;
    std::deque<Event> events;
    // Set before the library starts.
    std::atomic<bool> capture{false};
    std::atomic<Extent> extent{Extent::kFull};
};

// Never destroyed: the library's thread may be in the callback while the process ends.
Queue &TheQueue() {
    static Queue &queue = *new Queue;
    return queue;
}

// The images are copied here, while the scanner's thread waits for the callback: that is the one moment at
// which no card, however soon it follows, can be writing them. It costs a few milliseconds a scan.
std::shared_ptr<const Capture> CaptureOrNone(Extent extent) {
    try {
        return std::make_shared<Capture>(TakeCapture(extent));
    } catch (const std::bad_alloc &) { // no exception may cross the library
        return nullptr;
    }
}

std::shared_ptr<const K274_Barcode> BarcodeOrNone() {
    try {
        const auto barcode = std::make_shared<K274_Barcode>();
        K274_GetBC(barcode.get());
        return barcode;
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

void K274_CALLBACK OnState(int32_t state) noexcept {
    Queue &queue = TheQueue();
    Event event{state, Clock::now(), nullptr, nullptr};
    if (state == K274_STATE_COMPLETE && queue.capture)
        event.capture = CaptureOrNone(queue.extent);
    if (state == K274_STATE_BARCODE_READY && queue.capture)
        event.barcode = BarcodeOrNone();
    const std::lock_guard<std::mutex> held(queue.lock);
    queue.events.push_back(std::move(event));
    queue.arrived.notify_one();
}

std::atomic<int> theSignal{0};
static_assert(std::atomic<int>::is_always_lock_free, "written by a signal handler");

void OnSignal(int number) {
    theSignal = number;
    std::signal(number, SIG_DFL); // a second one ends a host that hangs
}

void CatchSignals() {
    theSignal = 0;
    std::signal(SIGINT, OnSignal);
    std::signal(SIGTERM, OnSignal);
#ifdef SIGPIPE
    std::signal(SIGPIPE, SIG_IGN); // a reader that went away is a write that fails
#endif
}

void SetLog(const std::string &folder) {
    if (folder.empty()) {
        K274_SetLogPath(nullptr);
        return;
    }
    PrepareFolder(folder);
    std::string path = folder;
    constexpr char kSeparator = static_cast<char>(std::filesystem::path::preferred_separator);
    if (path.back() != '/' && path.back() != kSeparator)
        path += kSeparator;
    if (path.size() > kMaxLogFolder)
        throw HostError(Exit::kCannotWrite, "cannot write a log: the path of its folder is too long");
    K274_SetLogPath(path.c_str());
}

void Stop() {
    K274_RegNewScanCB(nullptr);
    K274_Close();
    std::this_thread::sleep_for(kAfterClose);
}

} // namespace

Session::Session(const Options &options, Output &output, const SessionSettings &settings)
    : output_(output), start_(Clock::now()) {
    SelectDevice(options);
    SetLog(options.logFolder);
    CatchSignals();
    {
        const std::lock_guard<std::mutex> held(TheQueue().lock);
        TheQueue().events.clear(); // of a session before this one
    }
    TheQueue().capture = settings.capture;
    TheQueue().extent = settings.scanMode == wire::kVisibleLightOnly ? Extent::kVisible : Extent::kFull;
    K274_ScanMode(settings.scanMode);
    K274_SetBcdOpt(settings.barcodes ? 1 : 0);
    K274_SetBcDecMode(settings.decodeMode);
    K274_RegNewScanCB(OnState);
    output_.SetStart(start_);
    const int32_t result = K274_Init(0);
    if (result != 0 && result != -1) {
        Stop();
        char status[16];
        std::snprintf(status, sizeof status, "0x%X", static_cast<unsigned>(result));
        throw HostError(Exit::kDriverRefused, "the driver refused to serve the device \"" + DeviceName() +
                                                  "\" (status " + status +
                                                  "): install the scanner's driver, or use --virtual");
    }
    attached_ = result == 0;
}

Session::~Session() { Stop(); }

std::optional<Event> Session::Next(Clock::time_point deadline) {
    Queue &queue = TheQueue();
    for (;;) {
        if (theSignal == SIGINT)
            throw HostError(Exit::kInterrupted, "interrupted");
        if (theSignal != 0)
            throw HostError(Exit::kTerminated, "terminated");
        output_.Tick();
        const Clock::time_point now = Clock::now();
        std::unique_lock<std::mutex> held(queue.lock);
        if (queue.events.empty() && now < deadline)
            queue.arrived.wait_for(held, std::min<Clock::duration>(kSlice, deadline - now));
        if (!queue.events.empty()) {
            Event event = std::move(queue.events.front());
            queue.events.pop_front();
            return event;
        }
        if (now >= deadline)
            return std::nullopt;
    }
}

void Session::Return(Event event) {
    Queue &queue = TheQueue();
    const std::lock_guard<std::mutex> held(queue.lock);
    queue.events.push_front(std::move(event));
}

void Session::WaitOnline(Clock::time_point deadline) {
    if (!attached_)
        output_.Note("no scanner yet: waiting for one");
    while (const std::optional<Event> event = Next(deadline)) {
        output_.State(event->state, event->time);
        if (event->state == K274_STATE_CONNECTED)
            return;
    }
    if (attached_)
        throw HostError(Exit::kNoDevice,
                        "the scanner does not answer: unplug it, connect it again and retry");
    throw HostError(Exit::kNoDevice, "there is no scanner: connect it, or use --virtual");
}

void Session::ShowUntil(Clock::time_point deadline) {
    while (const std::optional<Event> event = Next(deadline))
        output_.State(event->state, event->time);
}

} // namespace host
