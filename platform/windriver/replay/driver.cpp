// A call that the recording has no answer for is a status poll more than recorded, or the host has departed.
#include "platform/windriver/replay/driver.h"

#include "wire/status.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace wdapi {
namespace {

using recording::Kind;
using std::chrono::microseconds;
using std::chrono::steady_clock;

constexpr auto kFirstNewsWait = std::chrono::seconds(2);
// Without the recorded pace, an unplugged scanner stays away long enough for hosts to notice, and no longer.
constexpr microseconds kLongestGap = std::chrono::seconds(5);
// After so many polls in a row that were not recorded people are told what is waited for.
constexpr int kPatientPolls = 100;
// Hosts pass over restarts while they are younger than three of the calendar's seconds.
constexpr auto kYoung = std::chrono::milliseconds(1900), kGrown = std::chrono::milliseconds(3500);

// By file: where a process that opens the driver again goes on. Under the lock of the open driver.
struct LastSession {
    std::string file;
    unsigned number = 0;
};
LastSession &Last() {
    static auto *const last = new LastSession;
    return *last;
}
unsigned NextSession(const std::string &file) { return Last().file == file ? Last().number + 1 : 1; }

double SpeedOfEnvironment() {
    const char *text = std::getenv("K274_SPEED");
    const double speed = text == nullptr ? 0 : std::strtod(text, nullptr);
    return std::isfinite(speed) && speed > 0 ? speed : 0;
}

/// A recorded time at another speed, at most a day.
microseconds Scaled(uint64_t time, double speed) {
    return microseconds(static_cast<int64_t>(std::min(static_cast<double>(time) / speed, 24 * 3600 * 1e6)));
}

void *HandleOf(uintptr_t attach) { return reinterpret_cast<void *>(attach); }
uintptr_t AttachOf(const void *device) { return reinterpret_cast<uintptr_t>(device); }

} // namespace

ReplayDriver::ReplayDriver(const std::string &file, const WDU_EVENT_TABLE &events)
    : file_(file), speed_(SpeedOfEnvironment()), news_(mutex_, changed_, events),
      script_(file, NextSession(file)) {
    Last() = {file, script_.Session()};
}

void ReplayDriver::Say(const std::string &text) const {
    std::fprintf(stderr, "wdapi1140: replay of %s: %s\n", file_.c_str(), text.c_str());
}

void ReplayDriver::Start() {
    start_ = lastStep_ = steady_clock::now();
    news_.Start([self = shared_from_this()](Lock &lock) { return self->LookForNews(lock); });
}

void ReplayDriver::AwaitFirstNews() { news_.AwaitFirst(kFirstNewsWait); }

void ReplayDriver::Stop() {
    {
        const Lock lock(mutex_);
        news_.Close();
    }
    news_.Join();
}

/// When an arrival or departure is told: as long after what came before as in the recording.
ReplayDriver::TimePoint ReplayDriver::Due(const Step &step) const {
    if (speed_ > 0)
        return lastStep_ + Scaled(step.gapUs, speed_);
    if (!called_) // it was there already
        return lastStep_;
    return lastStep_ + std::min(Scaled(step.gapUs, 1), kLongestGap);
}

News::Look ReplayDriver::LookForNews(Lock &lock) {
    const Step *head = departed_ ? nullptr : script_.Head();
    if (head == nullptr || !head->IsEvent())
        return {false, true};
    const TimePoint due = Due(*head);
    if (due > steady_clock::now())
        return {false, false, due};
    const Step step = script_.TakeHead();
    lastStep_ = steady_clock::now();
    if (step.entry.kind == Kind::Attach)
        TellAttached(lock, step);
    else
        TellDetached(lock);
    return {true};
}

void ReplayDriver::TellAttached(Lock &lock, const Step &step) {
    // Bytes that the recording does not have are zero.
    info_ = {};
    const std::vector<uint8_t> &data = step.data;
    std::copy_n(data.begin(), std::min(data.size(), sizeof info_.Descriptor),
                reinterpret_cast<uint8_t *>(&info_.Descriptor));
    size_t at = sizeof info_.Descriptor;
    for (size_t k = 0; k < std::size(interfaces_); k++, at += sizeof settings_[k].Descriptor) {
        if (at + sizeof settings_[k].Descriptor > data.size())
            break;
        std::memcpy(&settings_[k].Descriptor, data.data() + at, sizeof settings_[k].Descriptor);
        interfaces_[k].pActiveAltSetting = &settings_[k];
        info_.pActiveInterface[k] = &interfaces_[k];
    }
    attached_ = step.entry.device; // the host may use the handle from within the callback
    lastAttached_ = std::max(lastAttached_, attached_);
    news_.TellAttached(lock, HandleOf(step.entry.device), &info_);
}

void ReplayDriver::TellDetached(Lock &lock) {
    const uintptr_t device = attached_;
    attached_ = 0;
    repeating_ = false;
    if (device != 0)
        news_.TellDetached(lock, HandleOf(device));
}

uint32_t ReplayDriver::Run(const void *device, const Transfer &transfer) {
    if (transfer.buffer == nullptr && transfer.size > 0)
        return kInvalidParameter;
    return Perform(
        {Kind::Transfer, AttachOf(device), transfer.read, transfer.pipe, transfer.buffer, transfer.size},
        &transfer);
}

uint32_t ReplayDriver::ResetPipe(const void *device, uint32_t pipe) {
    return Perform({Kind::PipeReset, AttachOf(device), false, pipe, nullptr, 0}, nullptr);
}

uint32_t ReplayDriver::ResetDevice(const void *device, uint32_t options) {
    return Perform({Kind::DeviceReset, AttachOf(device), false, options, nullptr, 0}, nullptr);
}

uint32_t ReplayDriver::Perform(const Call &call, const Transfer *transfer) {
    Lock lock(mutex_);
    if (news_.Closing())
        return kCanceled;
    called_ = true;
    if (call.device == 0 || call.device > lastAttached_)
        return kInvalidHandle;
    if (departed_)
        return kFailed;
    const bool repeating = repeating_;
    repeating_ = false; // a host that has lost the scanner in between does not read
    if (call.read && repeating)
        return RepeatPoll(transfer);
    if (auto step = Find(call))
        return Answer(lock, std::move(*step), transfer);
    return Unmatched(call, transfer);
}

std::optional<Step> ReplayDriver::Find(const Call &call) {
    if (auto step = script_.Take(call))
        return step;
    const auto last = lastPoll_ ? ReadPollReply(*lastPoll_) : std::nullopt;
    script_.PassOver(call, last ? std::optional<uint16_t>(last->word) : std::nullopt, attached_);
    return script_.Take(call);
}

uint32_t ReplayDriver::Answer(Lock &lock, Step step, const Transfer *transfer) {
    repeats_ = 0;
    if (const auto reply = ReadPollReply(step); reply && reply->kind == wire::status::kWasReset)
        TellRestart(lock, step);
    lastStep_ = steady_clock::now();
    if (transfer != nullptr) {
        *transfer->transferred = step.entry.transferred;
        if (transfer->read) // a read of another size would not have been the same step
            std::copy_n(step.data.begin(), std::min<size_t>(step.data.size(), transfer->size),
                        transfer->buffer);
    }
    const recording::Entry entry = step.entry;
    if (ReadPollReply(step))
        lastPoll_ = std::move(step);
    if (speed_ > 0) {
        lastStep_ += Scaled(entry.endUs > entry.startUs ? entry.endUs - entry.startUs : 0, speed_);
        changed_.notify_all();
        const TimePoint end = lastStep_;
        changed_.wait_until(lock, end, [this] { return news_.Closing(); });
        return news_.Closing() ? uint32_t{kCanceled} : entry.status;
    }
    changed_.notify_all(); // an arrival or departure may be next
    return entry.status;
}

/// A host decides by its age whether it heeds a restart, and here it is made to decide as the one recorded.
void ReplayDriver::TellRestart(Lock &lock, Step &step) {
    if (script_.RestartIsHeeded(step.entry.thread))
        changed_.wait_until(lock, start_ + kGrown, [this] { return news_.Closing(); });
    else if (steady_clock::now() > start_ + kYoung)
        step.data[wire::status::kKind] = wire::status::kPlain;
}

uint32_t ReplayDriver::Unmatched(const Call &call, const Transfer *transfer) {
    const Step *head = script_.Head();
    changed_.notify_all(); // steps may have been passed over
    if (call.device != attached_)
        return kDeviceGone;
    if (IsPoll(call) && lastPoll_) {
        repeating_ = true;
        *transfer->transferred = call.size;
        if (repeats_++ == kPatientPolls)
            NoteWaiting();
        return kSuccess;
    }
    if (head != nullptr && head->IsEvent()) // the scanner leaves at any moment
        return kDeviceGone;
    departed_ = true;
    const std::string expected =
        head == nullptr ? "the recording ends" + (script_.EndText().empty() ? "" : ", " + script_.EndText())
                        : "entry " + std::to_string(head->number) + " is " + Describe(*head);
    Say("the host departs from it: " + expected + ", and the host wants " + Describe(call, head) +
        "; transfers fail from here on");
    return kFailed;
}

/// The last status once more, without its news.
uint32_t ReplayDriver::RepeatPoll(const Transfer *transfer) {
    const size_t count = std::min<size_t>(lastPoll_->data.size(), transfer->size);
    std::copy_n(lastPoll_->data.begin(), count, transfer->buffer);
    if (count > wire::status::kKind)
        transfer->buffer[wire::status::kKind] = wire::status::kPlain;
    *transfer->transferred = static_cast<uint32_t>(count);
    return kSuccess;
}

void ReplayDriver::NoteWaiting() {
    if (const Step *head = script_.Head())
        Say("waits for the host at entry " + std::to_string(head->number) + ", " + Describe(*head));
    else
        Say("it is over" + (script_.EndText().empty() ? "" : ", " + script_.EndText()) +
            "; status polls are still answered");
}

} // namespace wdapi
