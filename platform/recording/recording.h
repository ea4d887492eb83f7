// Recordings of the traffic between a host and the scanner: what was asked of the driver library, what came
// of it and when. A file is read block by block as far as it goes; docs/recordings.md gives its format.
#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace recording {

enum class Kind : uint8_t {
    Init = 1,         // a session begins; data: SessionStart
    Uninit = 2,       // and ends; data: why, when it could not begin
    Attach = 3,       // the host is told; data: the device's descriptor, then those of its interfaces
    AttachAnswer = 4, // status: what the host has returned
    Detach = 5,
    Transfer = 6,
    PipeReset = 7,
    DeviceReset = 8, // pipe: the options
};

struct Entry {
    Kind kind = Kind::Transfer;
    bool read = false;    // a transfer from the scanner
    bool cut = false;     // only the first kMaxData bytes of the data are kept
    uint16_t device = 0;  // number of the attach in its session whose handle was used; 0: of none
    uint32_t order = 0;   // in which the calls of a session began, from 1
    uint32_t thread = 0;  // that called, or was called
    uint64_t startUs = 0; // microseconds since the session began
    uint64_t endUs = 0;   // entries stand in the order of their ends
    uint32_t status = 0;  // that the driver returned
    uint32_t pipe = 0;
    uint32_t size = 0;             // that was asked for
    uint32_t timeoutMs = 0;        // 0: none
    uint32_t transferred = 0;      // as the driver told it, which may be more than was asked for
    const uint8_t *data = nullptr; // all that a host sends, whatever moved; all that it was given
    uint32_t dataBytes = 0;
};

constexpr uint32_t kMaxData = 1 << 20; // of an entry

/// The data of Kind::Init.
struct SessionStart {
    uint64_t unixUs = 0; // when it began, UTC
    uint16_t vendor = 0, product = 0;
    std::string device; // what stood for K274_DEVICE
};
std::vector<uint8_t> Encode(const SessionStart &start);
/// All zero when bytes are missing.
SessionStart DecodeStart(const Entry &entry);

constexpr size_t kDeviceDescriptorBytes = 18, kInterfaceDescriptorBytes = 9;

/// Reads a recording from its beginning. Believes nothing of a file that it has not checked.
class Reader {
public:
    enum class End { NotYet, Whole, CutShort, Damaged };

    /// Throws std::runtime_error with a text for people when it cannot be read or is no recording.
    explicit Reader(const std::string &file);

    /// The next entry, whose data stay until the next call; false at the end.
    bool Next(Entry *entry);
    /// Number of the entry read last, from 1.
    uint64_t Number() const { return number_; }

    /// How the file ended. Up to EndByte it is whole.
    End HowEnded() const { return end_; }
    uint64_t EndByte() const { return blockAt_; }
    /// A text for people, empty for a whole file.
    std::string EndText() const;

private:
    bool NextBlock();
    bool Finish(End end);

    std::ifstream stream_;
    std::vector<uint8_t> stored_, block_;
    size_t next_ = 0; // in block_
    uint64_t blockAt_ = 0, blockEnd_ = 0, number_ = 0;
    End end_ = End::NotYet;
};

/// Writes a recording on a thread of its own, so that the traffic does not wait for compression and disk.
class Writer {
public:
    /// Is told, once, why a recording ended early.
    using Complain = std::function<void(const std::string &)>;

    /// Makes the file, or goes on with a recording that is there; an incomplete block at its end gives way.
    /// Throws std::runtime_error with a text for people.
    Writer(const std::string &file, Complain complain);
    ~Writer() { Close(); }
    Writer(const Writer &) = delete;
    Writer &operator=(const Writer &) = delete;

    /// Takes a copy. Waits when the disk is far behind, for a short time at most: then the recording ends.
    void Add(const Entry &entry);
    /// Writes what is left. Entries added after that are dropped.
    void Close();

private:
    struct Queue;
    std::shared_ptr<Queue> queue_;
    std::thread thread_;
};

} // namespace recording
