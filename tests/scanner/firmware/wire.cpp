// Builds packets and cards for the tests of the virtual scanner.
#include "wire.h"

#include "scanner/cards/hidden_light.h"
#include "wire/bytes.h"

#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb/stb_image_write.h>

namespace wire {

Bytes Packet(const Fields &fields, uint32_t sequence) {
    Bytes packet(256);
    packet[0] = fields.code;
    packet[1] = fields.sub;
    packet[2] = 0xFF;
    wire::Store16(&packet[8], fields.word0);
    wire::Store16(&packet[10], fields.word1);
    wire::Store32(&packet[12], sequence);
    packet[16] = fields.arg0;
    packet[17] = fields.arg1;
    packet[18] = fields.arg2;
    wire::Store32(&packet[44], fields.dword0);
    wire::Store32(&packet[52], fields.dword1);
    packet.resize(std::max(fields.size, fields.data.empty() ? 0 : fields.dataAt + fields.data.size()));
    std::copy(fields.data.begin(), fields.data.end(),
              packet.begin() + static_cast<std::ptrdiff_t>(std::min(fields.dataAt, packet.size())));
    return packet;
}

std::string Text(const Bytes &reply) {
    return reply.size() > 128 ? std::string(reinterpret_cast<const char *>(&reply[128])) : "";
}

std::shared_ptr<const scanner::Card> PlainCard(const scanner::Traits &traits) {
    auto card = std::make_shared<scanner::Card>();
    card->front = card->back = {kWidth, kHeight, Bytes(size_t{3} * kWidth * kHeight, 200)};
    card->dotsPerInch = kDotsPerInch;
    card->frontIr = card->backIr = scanner::DeriveInfrared(card->front);
    card->frontUv = card->backUv = scanner::DeriveUltraviolet(card->front);
    card->traits = traits;
    return card;
}

std::string AddCard(const TempFolder &folder, const std::string &name, uint8_t grey) {
    const std::string path = folder.File(name);
    std::filesystem::create_directories(path);
    WritePng(path + "/front.png", grey);
    WriteText(path + "/card.txt", "dpi = " + std::to_string(kDotsPerInch) + "\n");
    return path;
}

void WritePng(const std::string &path, uint8_t grey) {
    Bytes pixels(size_t{kWidth} * kHeight, grey);
    for (size_t i = 0; i < pixels.size(); i++)
        pixels[i] = static_cast<uint8_t>(i % kWidth < kWidth / 2 ? grey - 10 : grey);
    stbi_write_png(path.c_str(), kWidth, kHeight, 1, pixels.data(), kWidth);
}

} // namespace wire
