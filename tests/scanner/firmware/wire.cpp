// Builds packets and cards for the tests of the virtual scanner.
#include "wire.h"

#include <atomic>
#include <chrono>
#include <fstream>

namespace wire {
namespace {

constexpr int kWidth = 338, kHeight = 213, kDotsPerInch = 100;

void PutBig32(std::string &text, uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8)
        text += static_cast<char>(value >> shift);
}

uint32_t Crc(const std::string &bytes) {
    uint32_t crc = 0xFFFFFFFF;
    for (const char byte : bytes) {
        crc ^= static_cast<uint8_t>(byte);
        for (int bit = 0; bit < 8; bit++)
            crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320u : 0);
    }
    return ~crc;
}

std::string Chunk(const std::string &typeAndData) {
    std::string chunk;
    PutBig32(chunk, static_cast<uint32_t>(typeAndData.size() - 4));
    chunk += typeAndData;
    PutBig32(chunk, Crc(typeAndData));
    return chunk;
}

/// An even picture, stored and not compressed: one block for each row.
std::string GreyPng(uint8_t grey) {
    std::string header = "IHDR";
    PutBig32(header, kWidth);
    PutBig32(header, kHeight);
    header += std::string("\x08\x02\x00\x00\x00", 5);

    std::string data = "IDAT\x78\x01";
    uint32_t a = 1, b = 0;
    const std::string row = '\0' + std::string(3 * kWidth, static_cast<char>(grey));
    const auto size = static_cast<unsigned>(row.size());
    for (int y = 0; y < kHeight; y++) {
        data += static_cast<char>(y == kHeight - 1);
        for (const unsigned value : {size & 0xFF, size >> 8, ~size & 0xFF, ~size >> 8 & 0xFF})
            data += static_cast<char>(value);
        data += row;
        for (const char byte : row) {
            a = (a + static_cast<uint8_t>(byte)) % 65521;
            b = (b + a) % 65521;
        }
    }
    PutBig32(data, b << 16 | a);
    return "\x89PNG\r\n\x1A\n" + Chunk(header) + Chunk(data) + Chunk("IEND");
}

} // namespace

Bytes Packet(const Fields &fields, uint32_t sequence) {
    Bytes packet(256);
    packet[0] = fields.code;
    packet[1] = fields.sub;
    packet[2] = 0xFF;
    scanner::Put16(&packet[8], fields.word0);
    scanner::Put16(&packet[10], fields.word1);
    scanner::Put32(&packet[12], sequence);
    packet[16] = fields.arg0;
    packet[17] = fields.arg1;
    scanner::Put32(&packet[44], fields.dword0);
    packet.resize(fields.size);
    return packet;
}

std::string Text(const Bytes &reply) {
    std::string text;
    for (size_t k = 128; k < reply.size() && reply[k] != 0; k++)
        text += static_cast<char>(reply[k]);
    return text;
}

std::shared_ptr<const scanner::Card> PlainCard(uint8_t grey) {
    auto card = std::make_shared<scanner::Card>();
    card->name = "plain";
    card->front = card->back = {kWidth, kHeight, std::vector<uint8_t>(size_t{3} * kWidth * kHeight, grey)};
    card->dotsPerInch = kDotsPerInch;
    return card;
}

TempFolder::TempFolder() {
    static std::atomic<unsigned> made{0};
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    path_ = std::filesystem::temp_directory_path() /
            ("k274-scanner-" + std::to_string(now) + "-" + std::to_string(made++));
    std::filesystem::create_directories(path_);
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string TempFolder::AddCard(const std::string &name, uint8_t grey) const {
    const std::filesystem::path folder = path_ / name;
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "front.png", std::ios::binary) << GreyPng(grey);
    std::ofstream(folder / "card.txt") << "dpi = " << kDotsPerInch << "\n";
    return folder.string();
}

} // namespace wire
