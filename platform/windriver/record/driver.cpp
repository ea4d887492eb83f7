// Each call is noted when it has ended, so that a recording tells of nothing that may still change.
#include "platform/windriver/record/driver.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace wdapi {
namespace {

using recording::Kind;

constexpr size_t kHandlesKept = 16; // older ones are as good as unknown
constexpr size_t kMaxInterfaces = 32;

/// Number of the calling thread, from 1 in the order in which they come here.
uint32_t ThreadNumber() {
    static std::atomic<uint32_t> threads{0};
    thread_local const uint32_t number = ++threads;
    return number;
}

void Complain(const std::string &text) { std::fprintf(stderr, "wdapi1140: %s\n", text.c_str()); }

std::vector<uint8_t> DescriptorBytes(const WDU_DEVICE &info) {
    std::vector<uint8_t> bytes(sizeof info.Descriptor);
    std::memcpy(bytes.data(), &info.Descriptor, sizeof info.Descriptor);
    for (size_t k = 0; k < kMaxInterfaces; k++) {
        const WDU_INTERFACE *interface = info.pActiveInterface[k];
        if (interface == nullptr || interface->pActiveAltSetting == nullptr)
            continue;
        const auto *from = reinterpret_cast<const uint8_t *>(&interface->pActiveAltSetting->Descriptor);
        bytes.insert(bytes.end(), from, from + sizeof(WDU_INTERFACE_DESCRIPTOR));
    }
    return bytes;
}
static_assert(sizeof(WDU_DEVICE_DESCRIPTOR) == recording::kDeviceDescriptorBytes &&
              sizeof(WDU_INTERFACE_DESCRIPTOR) == recording::kInterfaceDescriptorBytes);

void SetData(recording::Entry *entry, const void *data, size_t size) {
    entry->data = static_cast<const uint8_t *>(data);
    entry->dataBytes = static_cast<uint32_t>(size);
}

} // namespace

RecordingDriver::RecordingDriver(const std::string &file, const WDU_MATCH_TABLE &match,
                                 const WDU_EVENT_TABLE &host)
    : writer_(file, Complain), host_(host) {
    start_.vendor = match.wVendorId;
    start_.product = match.wProductId;
}

WDU_EVENT_TABLE RecordingDriver::Events() {
    return {OnAttach, OnDetach, host_.pfPowerChange != nullptr ? OnPowerChange : nullptr, this};
}

void RecordingDriver::Record(std::shared_ptr<Backend> device, const std::string &name) {
    device_ = std::move(device);
    start_.device = name;
}

uint64_t RecordingDriver::Now() const {
    return static_cast<uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - began_)
            .count());
}

recording::Entry RecordingDriver::Begin(Kind kind, const void *device) {
    Entry entry;
    entry.kind = kind;
    entry.device = NumberOf(device);
    entry.order = ++calls_;
    entry.thread = ThreadNumber();
    entry.startUs = Now();
    return entry;
}

void RecordingDriver::End(Entry &entry, uint32_t status) {
    entry.endUs = Now();
    entry.status = status;
    writer_.Add(entry);
}

void RecordingDriver::Start() {
    began_ = std::chrono::steady_clock::now();
    start_.unixUs = static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(
                                              std::chrono::system_clock::now().time_since_epoch())
                                              .count());
    Entry begin = Begin(Kind::Init, nullptr);
    const std::vector<uint8_t> data = recording::Encode(start_);
    SetData(&begin, data.data(), data.size());
    End(begin, kSuccess);
    try {
        device_->Start();
    } catch (const std::exception &error) {
        Entry end = Begin(Kind::Uninit, nullptr);
        SetData(&end, error.what(), std::strlen(error.what()));
        End(end, kFailed);
        throw;
    }
}

void RecordingDriver::AwaitFirstNews() { device_->AwaitFirstNews(); }

void RecordingDriver::Stop() {
    Entry entry = Begin(Kind::Uninit, nullptr);
    device_->Stop();
    End(entry, kSuccess);
    writer_.Close();
}

uint32_t RecordingDriver::Run(const void *device, const Transfer &transfer) {
    Entry entry = Begin(Kind::Transfer, device);
    const uint32_t status = device_->Run(device, transfer);
    entry.read = transfer.read;
    entry.pipe = transfer.pipe;
    entry.size = transfer.size;
    entry.timeoutMs = transfer.timeoutMs;
    entry.transferred = *transfer.transferred;
    if (transfer.buffer != nullptr)
        SetData(&entry, transfer.buffer,
                transfer.read ? std::min(entry.transferred, transfer.size) : transfer.size);
    End(entry, status);
    return status;
}

uint32_t RecordingDriver::ResetPipe(const void *device, uint32_t pipe) {
    Entry entry = Begin(Kind::PipeReset, device);
    entry.pipe = pipe;
    End(entry, device_->ResetPipe(device, pipe));
    return entry.status;
}

uint32_t RecordingDriver::ResetDevice(const void *device, uint32_t options) {
    Entry entry = Begin(Kind::DeviceReset, device);
    entry.pipe = options;
    End(entry, device_->ResetDevice(device, options));
    return entry.status;
}

uint16_t RecordingDriver::NumberOf(const void *device) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = std::find_if(handles_.rbegin(), handles_.rend(),
                                    [device](const auto &known) { return known.first == device; });
    return found == handles_.rend() ? uint16_t{0} : found->second;
}

// A host may close from within a callback: what is called here stays until it has returned.
int32_t RecordingDriver::OnAttach(void *device, WDU_DEVICE *info, void *self) {
    return static_cast<RecordingDriver *>(self)->shared_from_this()->TellAttached(device, info);
}

void RecordingDriver::OnDetach(void *device, void *self) {
    static_cast<RecordingDriver *>(self)->shared_from_this()->TellDetached(device);
}

int32_t RecordingDriver::OnPowerChange(void *device, uint32_t state, void *self) {
    const WDU_EVENT_TABLE &host = static_cast<RecordingDriver *>(self)->host_;
    return host.pfPowerChange(device, state, host.pUserData);
}

int32_t RecordingDriver::TellAttached(void *device, WDU_DEVICE *info) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        handles_.emplace_back(device, ++attaches_);
        if (handles_.size() > kHandlesKept)
            handles_.pop_front();
    }
    Entry told = Begin(Kind::Attach, device);
    const std::vector<uint8_t> descriptors = DescriptorBytes(*info);
    SetData(&told, descriptors.data(), descriptors.size());
    End(told, kSuccess);

    Entry answer = Begin(Kind::AttachAnswer, device);
    const int32_t accepted =
        host_.pfDeviceAttach != nullptr ? host_.pfDeviceAttach(device, info, host_.pUserData) : 1;
    End(answer, static_cast<uint32_t>(accepted));
    return accepted;
}

void RecordingDriver::TellDetached(void *device) {
    Entry told = Begin(Kind::Detach, device);
    End(told, kSuccess);
    if (host_.pfDeviceDetach != nullptr)
        host_.pfDeviceDetach(device, host_.pUserData);
}

} // namespace wdapi
