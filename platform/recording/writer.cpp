// The traffic fills blocks; the writer's thread takes them, compresses them and appends each with one write.
#include "platform/recording/recording.h"

#include "platform/recording/format.h"
#include "wire/bytes.h"

#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace recording {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<uint8_t>;

// A block is written when it is this full, or when its first entry is this old: a host that crashes loses no
// more.
constexpr size_t kFullBlock = 256 << 10;
constexpr std::chrono::milliseconds kOldest(200);
static_assert(kFullBlock + kEntryHeaderBytes + kMaxData <= kMaxBlockBytes, "one entry may overfill a block");

// What waits for the disk. A disk that makes no room for this long ends the recording, not the traffic.
constexpr size_t kMaxQueued = 16 << 20;
constexpr std::chrono::seconds kPatience(2);
constexpr std::chrono::seconds kClosePatience(5);

struct CloseFile {
    void operator()(std::FILE *file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

[[noreturn]] void CannotMake(const std::string &file, const std::string &why) {
    throw std::runtime_error("the recording " + file + " cannot be made: " + why);
}

/// Where the last whole block of a recording ends; 0 when there is not even its header.
uint64_t EndOfBlocks(const std::string &file) {
    const uint64_t size = fs::file_size(file);
    std::ifstream stream(file, std::ios::binary);
    uint8_t header[kFileHeaderBytes] = {};
    stream.read(reinterpret_cast<char *>(header), sizeof header);
    const auto got = static_cast<size_t>(stream.gcount());
    if (!stream.is_open() || std::memcmp(header, kMagic, std::min(got, kMagicBytes)) != 0)
        CannotMake(file, "there is a file of that name that is not a recording, or cannot be read");
    if (got < sizeof header)
        return 0;
    if (wire::Load32(header + kMagicBytes) != kVersion)
        CannotMake(file, "there is a recording of another version; name another file");
    uint64_t end = kFileHeaderBytes;
    while (size - end >= kBlockHeaderBytes) {
        stream.seekg(static_cast<std::streamoff>(end));
        stream.read(reinterpret_cast<char *>(header), kBlockHeaderBytes);
        if (!stream || wire::Load32(header) != kBlockMagic || wire::Load32(header + 4) > kMaxStoredBytes)
            CannotMake(file, "there is a damaged recording; name another file");
        const uint64_t next = end + kBlockHeaderBytes + wire::Load32(header + 4);
        if (next > size)
            break;
        end = next;
    }
    return end;
}

/// Opens the file for appending: a new one, or one that is there with what is whole of it.
File Open(const std::string &file) {
    uint64_t end = 0;
    try {
        if (fs::is_regular_file(file) && fs::file_size(file) > 0) {
            end = EndOfBlocks(file);
            if (end < fs::file_size(file))
                fs::resize_file(file, end);
        }
    } catch (const fs::filesystem_error &error) {
        CannotMake(file, error.code().message());
    }
    errno = 0;
    File stream(std::fopen(file.c_str(), "ab"));
    if (!stream)
        CannotMake(file, std::strerror(errno));
    std::setvbuf(stream.get(), nullptr, _IONBF, 0);
    if (end == 0) {
        uint8_t header[kFileHeaderBytes] = {};
        std::memcpy(header, kMagic, kMagicBytes);
        wire::Store32(header + kMagicBytes, kVersion);
        if (std::fwrite(header, sizeof header, 1, stream.get()) != 1)
            CannotMake(file, std::strerror(errno));
    }
    return stream;
}

/// Compresses runs and rare values alone: half the time of the quickest search for repetitions, of which
/// lines of a sensor have few.
class Compressor {
public:
    Compressor() {
        if (deflateInit2(&stream_, Z_BEST_SPEED, Z_DEFLATED, kWindowBits, kMemoryLevel, Z_RLE) != Z_OK)
            throw std::bad_alloc();
    }
    ~Compressor() { deflateEnd(&stream_); }
    Compressor(const Compressor &) = delete;
    Compressor &operator=(const Compressor &) = delete;

    /// Puts the block behind the first `offset` bytes of `stored`; returns its size.
    size_t Put(const Bytes &block, size_t offset, Bytes *stored) {
        deflateReset(&stream_);
        const uLong room = deflateBound(&stream_, static_cast<uLong>(block.size()));
        stored->resize(offset + room);
        stream_.next_in = const_cast<Bytef *>(block.data());
        stream_.avail_in = static_cast<uInt>(block.size());
        stream_.next_out = stored->data() + offset;
        stream_.avail_out = static_cast<uInt>(room);
        deflate(&stream_, Z_FINISH);
        return stream_.total_out;
    }

private:
    static constexpr int kWindowBits = 15, kMemoryLevel = 9;
    z_stream stream_{};
};

/// @param stored  keeps its memory from block to block
bool WriteBlock(std::FILE *file, const Bytes &block, Compressor &compressor, Bytes *stored) {
    const size_t size = compressor.Put(block, kBlockHeaderBytes, stored);
    uint8_t *header = stored->data();
    wire::Store32(header, kBlockMagic);
    wire::Store32(header + 4, static_cast<uint32_t>(size));
    wire::Store32(header + 8,
                  static_cast<uint32_t>(crc32(0, header + kBlockHeaderBytes, static_cast<uInt>(size))));
    wire::Store32(header + 12, static_cast<uint32_t>(block.size()));
    return std::fwrite(header, kBlockHeaderBytes + size, 1, file) == 1;
}

void Append(Bytes *block, const Entry &entry) {
    const uint32_t kept = std::min(entry.dataBytes, kMaxData);
    uint8_t header[kEntryHeaderBytes] = {};
    wire::Store32(header, static_cast<uint32_t>(kEntryHeaderBytes + kept));
    header[4] = static_cast<uint8_t>(entry.kind);
    header[5] = static_cast<uint8_t>((entry.read ? kReadFlag : 0) | (kept < entry.dataBytes ? kCutFlag : 0));
    wire::Store16(header + 6, entry.device);
    wire::Store32(header + 8, entry.order);
    wire::Store32(header + 12, entry.thread);
    wire::Store64(header + 16, entry.startUs);
    wire::Store64(header + 24, entry.endUs);
    wire::Store32(header + 32, entry.status);
    wire::Store32(header + 36, entry.pipe);
    wire::Store32(header + 40, entry.size);
    wire::Store32(header + 44, entry.timeoutMs);
    wire::Store32(header + 48, entry.transferred);
    wire::Store32(header + 52, kept);
    block->insert(block->end(), header, header + sizeof header);
    if (kept > 0)
        block->insert(block->end(), entry.data, entry.data + kept);
}

} // namespace

/// Between the traffic and the writer's thread, which both keep it.
struct Writer::Queue {
    using Lock = std::unique_lock<std::mutex>;

    std::string name;
    Complain complain;
    File file; // the writer's thread alone

    std::mutex mutex; // guards the rest
    std::condition_variable changed;
    Bytes open;             // being filled
    std::deque<Bytes> full; // to be written before it
    size_t queued = 0;      // bytes in both, and in the block that is being written
    bool closing = false, over = false;
    bool written = false; // the writer's thread is at its end

    void End(const std::string &why);
    Bytes Take(Lock &lock);
    void Write();
};

/// Under the lock, which is let go of at the end by the caller.
void Writer::Queue::End(const std::string &why) {
    if (over)
        return;
    over = true;
    full.clear();
    open.clear();
    changed.notify_all();
    complain("the recording " + name + " ends here: " + why + "; the traffic goes on");
}

/// The next block to write; empty when the recording is over.
Bytes Writer::Queue::Take(Lock &lock) {
    changed.wait(lock, [this] { return over || closing || !full.empty() || !open.empty(); });
    changed.wait_for(lock, kOldest, [this] { return over || closing || !full.empty(); });
    Bytes block;
    if (!full.empty()) {
        block = std::move(full.front());
        full.pop_front();
    } else {
        block.swap(open);
    }
    return block;
}

void Writer::Queue::Write() {
    Lock lock(mutex);
    try {
        Compressor compressor;
        Bytes stored;
        for (Bytes block = Take(lock); !block.empty(); block = Take(lock)) {
            lock.unlock();
            errno = 0;
            const bool good = WriteBlock(file.get(), block, compressor, &stored);
            const int error = errno;
            lock.lock();
            queued -= block.size();
            changed.notify_all();
            if (!good)
                End(std::strerror(error));
        }
    } catch (const std::bad_alloc &) {
        if (!lock.owns_lock())
            lock.lock();
        End("there is no memory left");
    }
    file.reset();
    over = written = true;
    changed.notify_all();
}

Writer::Writer(const std::string &file, Complain complain) : queue_(std::make_shared<Queue>()) {
    queue_->name = file;
    queue_->complain = std::move(complain);
    queue_->file = Open(file);
    thread_ = std::thread([queue = queue_] { queue->Write(); });
}

void Writer::Add(const Entry &entry) {
    Queue &queue = *queue_;
    const size_t size = kEntryHeaderBytes + std::min(entry.dataBytes, kMaxData);
    Queue::Lock lock(queue.mutex);
    const auto mayGoOn = [&] { return queue.over || queue.queued + size <= kMaxQueued; };
    if (!queue.changed.wait_for(lock, kPatience, mayGoOn))
        queue.End("the disk is too slow");
    if (queue.over || queue.closing)
        return;
    try {
        Append(&queue.open, entry);
        queue.queued += size;
        if (queue.open.size() >= kFullBlock) {
            queue.full.push_back(std::move(queue.open));
            queue.open = {};
            queue.open.reserve(kFullBlock);
        }
        queue.changed.notify_all();
    } catch (const std::bad_alloc &) {
        queue.End("there is no memory left");
    }
}

/// A disk that hangs does not hold the host up for ever. Otherwise no thread is left in a library that the
/// host may unload next.
void Writer::Close() {
    if (!thread_.joinable())
        return;
    {
        Queue::Lock lock(queue_->mutex);
        queue_->closing = true;
        queue_->changed.notify_all();
        if (!queue_->changed.wait_for(lock, kClosePatience, [this] { return queue_->written; }))
            thread_.detach();
    }
    if (thread_.joinable())
        thread_.join();
}

} // namespace recording
