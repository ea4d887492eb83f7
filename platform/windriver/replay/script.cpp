// Calls of different threads interleave differently from run to run, and a host polls a little more or less
// often: that much may differ. All else must come as it was recorded.
#include "platform/windriver/replay/script.h"

#include "wire/bytes.h"
#include "wire/commands.h"
#include "wire/packet.h"
#include "wire/status.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <stdexcept>

namespace wdapi {
namespace {

using recording::Kind;

// So many calls of other threads may a call overtake. Also the bound of what is kept in memory.
constexpr size_t kWindow = 32;
// The sequence number in a command depends on how often was polled before.
constexpr size_t kSequenceAt = wire::field::kSequence, kSequenceEnd = kSequenceAt + 4;

/// Where as many bytes as were recorded differ.
std::optional<size_t> Difference(const std::vector<uint8_t> &recorded, const uint8_t *sent) {
    for (size_t at = 0; at < recorded.size(); at++) {
        if (recorded[at] != sent[at] && (at < kSequenceAt || at >= kSequenceEnd))
            return at;
    }
    return std::nullopt;
}

bool Fits(const Step &step, const Call &call) {
    const recording::Entry &entry = step.entry;
    if (entry.kind != call.kind || entry.device != call.device || entry.pipe != call.pipe || entry.cut)
        return false;
    if (call.kind != Kind::Transfer)
        return true;
    if (entry.read != call.read || entry.size != call.size)
        return false;
    return call.read || (step.data.size() == call.size && !Difference(step.data, call.data));
}

bool IsCall(const Step &step) { return !step.IsEvent(); }

} // namespace

ReplayScript::ReplayScript(const std::string &file, unsigned session) : reader_(file) {
    recording::Entry entry;
    unsigned found = 0;
    while (found < session && reader_.Next(&entry))
        found += entry.kind == Kind::Init ? 1 : 0;
    if (found == 0)
        throw std::runtime_error("the recording " + file + " holds no session" +
                                 (EndText().empty() ? "" : ", it is " + EndText()));
    session_ = session;
    if (found < session) {
        reader_ = recording::Reader(file);
        session_ = 1;
        while (reader_.Next(&entry) && entry.kind != Kind::Init) {
        }
    }
    lastEndUs_ = entry.endUs;
}

/// Reads on until there are so many steps; false when there are not.
bool ReplayScript::Fill(size_t count) {
    recording::Entry entry;
    while (window_.size() < count && !over_) {
        if (!reader_.Next(&entry) || entry.kind == Kind::Init || entry.kind == Kind::Uninit) {
            over_ = true;
            break;
        }
        Step step;
        step.command = exchanges_.CommandOf(entry);
        const uint64_t last = lastEndUs_;
        lastEndUs_ = entry.endUs;
        if (entry.kind == Kind::AttachAnswer)
            continue;
        step.gapUs = entry.startUs > last ? entry.startUs - last : 0;
        step.entry = entry;
        step.data.assign(entry.data, entry.data + entry.dataBytes);
        step.entry.data = nullptr;
        step.number = reader_.Number();
        window_.push_back(std::move(step));
    }
    return window_.size() >= count;
}

const Step *ReplayScript::Head() { return Fill(1) ? &window_.front() : nullptr; }

Step ReplayScript::TakeHead() {
    Step step = std::move(window_.front());
    window_.pop_front();
    return step;
}

std::optional<Step> ReplayScript::Take(const Call &call) {
    std::set<uint32_t> waiting; // threads that have something to do before
    for (size_t at = 0; at < kWindow && Fill(at + 1) && IsCall(window_[at]); at++) {
        if (waiting.count(window_[at].entry.thread) == 0 && Fits(window_[at], call)) {
            Step step = std::move(window_[at]);
            window_.erase(window_.begin() + static_cast<ptrdiff_t>(at));
            return step;
        }
        waiting.insert(window_[at].entry.thread);
    }
    return std::nullopt;
}

/// Whether a whole exchange of a status poll begins there that tells nothing beside this word.
bool ReplayScript::IsIdlePoll(size_t at, std::optional<uint16_t> word) {
    if (!Fill(at + 2))
        return false;
    const Step &sent = window_[at], &read = window_[at + 1];
    if (sent.entry.read || sent.entry.status != 0 || sent.command != wire::command::kStatusPoll ||
        read.entry.thread != sent.entry.thread)
        return false;
    const auto reply = ReadPollReply(read);
    return reply && reply->kind == 0 && word && reply->word == *word;
}

void ReplayScript::PassOver(const Call &call, std::optional<uint16_t> word, uintptr_t attached) {
    size_t at = 0;
    while (at < kWindow && Fill(at + 1)) {
        const Step &step = window_[at];
        const bool stale = IsCall(step) && step.entry.device != attached && step.entry.status != 0;
        if (stale) {
            window_.erase(window_.begin() + static_cast<ptrdiff_t>(at));
        } else if (!call.read && IsIdlePoll(at, word) && !Fits(step, call)) {
            const auto first = window_.begin() + static_cast<ptrdiff_t>(at);
            window_.erase(first, first + 2);
        } else if (step.entry.kind == Kind::Transfer && step.entry.read && !call.read) {
            at++; // the reply that another thread has still to fetch
        } else {
            return;
        }
    }
}

bool ReplayScript::RestartIsHeeded(uint32_t thread) {
    for (size_t at = 0; at < kWindow && Fill(at + 1); at++) {
        const Step &step = window_[at];
        if (step.entry.kind == Kind::Transfer && step.entry.thread == thread)
            return !step.entry.read && step.command == wire::command::kDeviceInfo;
    }
    return false;
}

bool IsPoll(const Call &call) {
    return call.kind == Kind::Transfer && !call.read && call.size > 0 &&
           call.data[0] == wire::command::kStatusPoll;
}

std::optional<PollReply> ReadPollReply(const Step &step) {
    if (step.entry.kind != Kind::Transfer || !step.entry.read || step.command != wire::command::kStatusPoll ||
        step.entry.status != 0 || step.data.size() < wire::status::kWord + 2)
        return std::nullopt;
    return PollReply{step.data[wire::status::kKind], wire::Load16(&step.data[wire::status::kWord])};
}

namespace {

std::string Bytes(uint32_t size) { return std::to_string(size) + " bytes"; }

std::string DescribeOther(Kind kind, uint32_t pipe) {
    char text[48];
    std::snprintf(text, sizeof text, kind == Kind::PipeReset ? "a reset of pipe 0x%02X" : "device reset %u",
                  static_cast<unsigned>(pipe));
    return text;
}

} // namespace

std::string Describe(const Step &step) {
    const recording::Entry &entry = step.entry;
    if (step.IsEvent())
        return entry.kind == Kind::Attach ? "the scanner's arrival" : "the scanner's departure";
    if (entry.kind != Kind::Transfer)
        return DescribeOther(entry.kind, entry.pipe);
    const std::string command = step.command ? recording::CommandText(*step.command) : "no command";
    return (entry.read ? "a read after " : "") + command + ", " + Bytes(entry.size);
}

std::string Describe(const Call &call, const Step *expected) {
    if (call.kind != Kind::Transfer)
        return DescribeOther(call.kind, call.pipe);
    if (call.read)
        return "a read, " + Bytes(call.size);
    std::string text =
        (call.size > 0 ? recording::CommandText(call.data[0]) : "nothing") + ", " + Bytes(call.size);
    if (expected == nullptr || expected->entry.read || expected->data.size() != call.size)
        return text;
    if (const auto at = Difference(expected->data, call.data)) {
        char bytes[64];
        std::snprintf(bytes, sizeof bytes, ", byte %zu 0x%02X in place of 0x%02X", *at,
                      unsigned{call.data[*at]}, unsigned{expected->data[*at]});
        text += bytes;
    }
    return text;
}

} // namespace wdapi
