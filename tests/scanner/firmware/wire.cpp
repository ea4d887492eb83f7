// Builds packets and cards for the tests of the virtual scanner.
#include "wire.h"

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
    wire::Store32(&packet[44], fields.dword0);
    wire::Store32(&packet[52], fields.dword1);
    packet.resize(fields.size);
    packet.insert(packet.end(), fields.data.begin(), fields.data.end());
    return packet;
}

std::string Text(const Bytes &reply) {
    return reply.size() > 128 ? std::string(reinterpret_cast<const char *>(&reply[128])) : "";
}

std::string AddCard(const TempFolder &folder, const std::string &name, uint8_t grey,
                    const std::string &text) {
    const std::string path = folder.File(name);
    WritePng(path + "/front.png", grey);
    WriteText(path + "/card.txt", "dpi = 100\n" + text);
    return path;
}

void WritePng(const std::string &path, uint8_t grey) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    constexpr int kWidth = 338, kHeight = 213;
    Bytes pixels(size_t{kWidth} * kHeight, grey);
    for (size_t i = 0; i < pixels.size(); i++)
        pixels[i] = static_cast<uint8_t>(i % kWidth < kWidth / 2 ? grey - 10 : grey);
    stbi_write_png(path.c_str(), kWidth, kHeight, 1, pixels.data(), kWidth);
}

} // namespace wire
