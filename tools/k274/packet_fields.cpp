// Offsets in packets, as both sides of the wire lay them down.
#include "tools/k274/packet_fields.h"

#include <algorithm>

#include "platform/recording/commands.h"
#include "platform/recording/format.h"
#include "tools/k274/text.h"

namespace host {

namespace {

using nlohmann::ordered_json;
using recording::Get16;
using recording::Get32;

constexpr uint32_t kShortHeader = 24, kHeader = 256;
constexpr uint32_t kEventText = 128, kEventTextBytes = 128;
constexpr uint8_t kRgbLines = 0x01, kUvLines = 0x03;

constexpr struct {
    uint16_t bit;
    const char *name;
} kStatusBits[] = {{0x0001, "card"}, {0x0002, "first stage"}, {0x0004, "RGB"},      {0x0010, "IR"},
                   {0x0040, "last"}, {0x1000, "jam"},         {0x2000, "cleaning"}, {0x8000, "end"}};

std::string HexNumber(unsigned value, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%0*X", digits, value);
    return text;
}

void AddUnlessZero(ordered_json *fields, const char *name, uint32_t value) {
    if (value != 0)
        (*fields)[name] = value;
}

const char *KindName(uint8_t kind) { return kind == 1 ? "reset" : kind == 2 ? "event waiting" : "status"; }

ordered_json StatusFields(const uint8_t *bytes) {
    const uint16_t word = Get16(bytes + 6);
    std::string stages;
    for (const auto &known : kStatusBits) {
        if ((word & known.bit) != 0)
            stages += (stages.empty() ? "" : ", ") + std::string(known.name);
    }
    return {
        {"kind", KindName(bytes[4])}, {"word", HexNumber(word, 4)}, {"stages", word == 0 ? "idle" : stages}};
}

std::string EventText(const recording::Entry &read) {
    const uint8_t *text = read.data + kEventText;
    const uint8_t *limit = text + std::min(kEventTextBytes, read.dataBytes - kEventText);
    return Utf8Text(text, static_cast<size_t>(std::find(text, limit, 0) - text));
}

} // namespace

ordered_json CommandFields(const recording::Entry &sent) {
    ordered_json fields = ordered_json::object();
    const uint8_t *bytes = sent.data;
    if (sent.dataBytes < kShortHeader)
        return fields;
    fields["seq"] = Get32(bytes + 12);
    AddUnlessZero(&fields, "sub", bytes[1]);
    AddUnlessZero(&fields, "word0", Get16(bytes + 8));
    AddUnlessZero(&fields, "word1", Get16(bytes + 10));
    for (const char *name : {"arg0", "arg1", "arg2", "arg3"})
        AddUnlessZero(&fields, name, bytes[16 + (name[3] - '0')]);
    if (sent.dataBytes >= kHeader) {
        AddUnlessZero(&fields, "dword0", Get32(bytes + 44));
        AddUnlessZero(&fields, "dword1", Get32(bytes + 52));
        AddUnlessZero(&fields, "dataBytes", sent.dataBytes - kHeader);
    }
    return fields;
}

ordered_json ReplyFields(uint8_t command, const recording::Entry &read) {
    const uint8_t *bytes = read.data;
    if (command == recording::kStatusPoll)
        return read.dataBytes >= 8 ? StatusFields(bytes) : ordered_json::object();
    if (read.dataBytes < kShortHeader)
        return ordered_json::object();
    if (command >= kRgbLines && command <= kUvLines) // lines, of which the first gives up its begin
        return {{"line", Get16(bytes + 8)}};
    ordered_json fields = {{"status", bytes[2]}, {"seq", Get32(bytes + 12)}};
    if (command == recording::kEventRead && read.dataBytes > kEventText)
        fields["text"] = EventText(read);
    if (read.dataBytes > kHeader)
        fields["dataBytes"] = read.dataBytes - kHeader;
    return fields;
}

ordered_json DescriptorFields(const recording::Entry &attach) {
    constexpr size_t kDevice = recording::kDeviceDescriptorBytes,
                     kInterface = recording::kInterfaceDescriptorBytes;
    const uint8_t *bytes = attach.data;
    if (attach.dataBytes < kDevice)
        return ordered_json::object();
    ordered_json interfaces = ordered_json::array();
    for (size_t at = kDevice; at + kInterface <= attach.dataBytes; at += kInterface)
        interfaces.push_back({{"number", bytes[at + 2]},
                              {"alternate", bytes[at + 3]},
                              {"endpoints", bytes[at + 4]},
                              {"class", HexNumber(bytes[at + 5], 2)}});
    return {{"vendor", HexNumber(Get16(bytes + 8), 4)},
            {"product", HexNumber(Get16(bytes + 10), 4)},
            {"release", HexNumber(Get16(bytes + 12), 4)},
            {"interfaces", interfaces}};
}

} // namespace host
