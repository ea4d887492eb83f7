// One session of a recording, from which the host's calls are answered in their order. docs/recordings.md
// says what a host may do otherwise than the one recorded.
#pragma once

#include "platform/recording/commands.h"
#include "platform/recording/recording.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace wdapi {

/// An entry with its own data.
struct Step {
    recording::Entry entry;
    std::vector<uint8_t> data;
    uint64_t number = 0; // in the file
    uint64_t gapUs = 0;  // since the entry before had ended
    std::optional<uint8_t> command;

    bool IsEvent() const {
        return entry.kind == recording::Kind::Attach || entry.kind == recording::Kind::Detach;
    }
};

/// What the host asks for.
struct Call {
    recording::Kind kind;
    uintptr_t device; // number of its attach
    bool read;
    uint32_t pipe;
    const uint8_t *data; // that it sends
    uint32_t size;
};

class ReplayScript {
public:
    /// @param session  from 1; the recording's first when it has not so many
    /// Throws std::runtime_error when the file holds none.
    ReplayScript(const std::string &file, unsigned session);

    unsigned Session() const { return session_; }
    /// What comes next, null at the end.
    const Step *Head();
    Step TakeHead();
    /// The step that answers the call, which is then used up.
    std::optional<Step> Take(const Call &call);
    /// Passes over steps that the host need not take: status polls that tell nothing new beside `word`, and
    /// calls to a scanner that has left. To be tried when nothing answers.
    void PassOver(const Call &call, std::optional<uint16_t> word, uintptr_t attached);
    /// Whether the host recorded, having been told of a restart, asked who the scanner is: it does so unless
    /// the restart was passed over. @param thread  that was told
    bool RestartIsHeeded(uint32_t thread);
    /// Why there is no head.
    std::string EndText() const { return reader_.EndText(); }

private:
    bool Fill(size_t count);
    bool IsIdlePoll(size_t at, std::optional<uint16_t> word);

    recording::Reader reader_;
    recording::Exchanges exchanges_;
    std::deque<Step> window_; // read and not used up
    unsigned session_ = 0;
    uint64_t lastEndUs_ = 0;
    bool over_ = false; // the reader is at the session's end
};

/// Whether it is the sending of a status poll.
bool IsPoll(const Call &call);
/// Of a status reply.
struct PollReply {
    uint8_t kind;
    uint16_t word;
};
std::optional<PollReply> ReadPollReply(const Step &step);

/// For people: what it was, or would have been.
std::string Describe(const Step &step);
std::string Describe(const Call &call, const Step *expected);

} // namespace wdapi
