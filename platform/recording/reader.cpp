// Every length is bounded before anything is allocated or expanded by it.
#include "platform/recording/recording.h"

#include "platform/recording/format.h"
#include "wire/bytes.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace recording {
namespace {

constexpr size_t kStartBytes = 12; // of a session's start, before the device's name

bool IsKind(uint8_t kind) {
    return kind >= static_cast<uint8_t>(Kind::Init) && kind <= static_cast<uint8_t>(Kind::DeviceReset);
}

size_t ReadInto(std::ifstream &stream, uint8_t *bytes, size_t count) {
    stream.read(reinterpret_cast<char *>(bytes), static_cast<std::streamsize>(count));
    return static_cast<size_t>(stream.gcount());
}

} // namespace

std::vector<uint8_t> Encode(const SessionStart &start) {
    std::vector<uint8_t> bytes(kStartBytes + start.device.size());
    wire::Store64(bytes.data(), start.unixUs);
    wire::Store16(bytes.data() + 8, start.vendor);
    wire::Store16(bytes.data() + 10, start.product);
    std::copy(start.device.begin(), start.device.end(), bytes.begin() + kStartBytes);
    return bytes;
}

SessionStart DecodeStart(const Entry &entry) {
    if (entry.dataBytes < kStartBytes)
        return {};
    const uint8_t *data = entry.data;
    return {wire::Load64(data), wire::Load16(data + 8), wire::Load16(data + 10),
            std::string(data + kStartBytes, data + entry.dataBytes)};
}

Reader::Reader(const std::string &file) : stream_(file, std::ios::binary) {
    std::error_code ignored;
    if (!stream_ || std::filesystem::is_directory(file, ignored))
        throw std::runtime_error("the recording " + file + " cannot be read: there is no such file");
    uint8_t header[kFileHeaderBytes] = {};
    const size_t got = ReadInto(stream_, header, sizeof header);
    if (std::memcmp(header, kMagic, std::min(got, kMagicBytes)) != 0 || got == 0)
        throw std::runtime_error(file + " is not a recording");
    if (got == sizeof header && wire::Load32(header + kMagicBytes) != kVersion)
        throw std::runtime_error(file + " is a recording of version " +
                                 std::to_string(wire::Load32(header + kMagicBytes)) + ", and only version " +
                                 std::to_string(kVersion) + " can be read");
    blockEnd_ = got;
    if (got < sizeof header)
        Finish(End::CutShort);
}

bool Reader::Finish(End end) {
    end_ = end;
    block_.clear();
    next_ = 0;
    return false;
}

bool Reader::NextBlock() {
    blockAt_ = blockEnd_;
    uint8_t header[kBlockHeaderBytes];
    const size_t got = ReadInto(stream_, header, sizeof header);
    if (got < sizeof header)
        return Finish(got == 0 ? End::Whole : End::CutShort);
    const uint32_t stored = wire::Load32(header + 4), expanded = wire::Load32(header + 12);
    if (wire::Load32(header) != kBlockMagic || stored > kMaxStoredBytes || expanded > kMaxBlockBytes)
        return Finish(End::Damaged);
    stored_.resize(stored);
    if (ReadInto(stream_, stored_.data(), stored) < stored)
        return Finish(End::CutShort);
    if (crc32(0, stored_.data(), stored) != wire::Load32(header + 8))
        return Finish(End::Damaged);
    block_.resize(expanded);
    next_ = 0;
    uLongf size = expanded;
    if (uncompress(block_.data(), &size, stored_.data(), stored) != Z_OK || size != expanded)
        return Finish(End::Damaged);
    blockEnd_ += kBlockHeaderBytes + stored;
    return true;
}

bool Reader::Next(Entry *entry) {
    if (end_ != End::NotYet)
        return false;
    while (next_ == block_.size()) {
        if (!NextBlock())
            return false;
    }
    const size_t left = block_.size() - next_;
    const uint8_t *bytes = block_.data() + next_;
    if (left < kEntryHeaderBytes)
        return Finish(End::Damaged);
    const uint32_t dataBytes = wire::Load32(bytes + 52);
    if (dataBytes > std::min<size_t>(kMaxData, left - kEntryHeaderBytes) || !IsKind(bytes[4]) ||
        wire::Load32(bytes) != kEntryHeaderBytes + dataBytes)
        return Finish(End::Damaged);
    entry->kind = static_cast<Kind>(bytes[4]);
    entry->read = (bytes[5] & kReadFlag) != 0;
    entry->cut = (bytes[5] & kCutFlag) != 0;
    entry->device = wire::Load16(bytes + 6);
    entry->order = wire::Load32(bytes + 8);
    entry->thread = wire::Load32(bytes + 12);
    entry->startUs = wire::Load64(bytes + 16);
    entry->endUs = wire::Load64(bytes + 24);
    entry->status = wire::Load32(bytes + 32);
    entry->pipe = wire::Load32(bytes + 36);
    entry->size = wire::Load32(bytes + 40);
    entry->timeoutMs = wire::Load32(bytes + 44);
    entry->transferred = wire::Load32(bytes + 48);
    entry->dataBytes = dataBytes;
    entry->data = bytes + kEntryHeaderBytes;
    next_ += kEntryHeaderBytes + dataBytes;
    number_++;
    return true;
}

std::string Reader::EndText() const {
    switch (end_) {
    case End::CutShort:
        return "cut short: what follows byte " + std::to_string(blockAt_) + " is incomplete";
    case End::Damaged:
        return "damaged: what follows byte " + std::to_string(blockAt_) + " cannot be read";
    default:
        return "";
    }
}

} // namespace recording
