// Fields of packets, as both sides of the wire lay them down.
#include "tools/k274/facts/packet_fields.h"

#include <algorithm>

#include "tools/k274/base/text.h"
#include "wire/bytes.h"
#include "wire/commands.h"
#include "wire/packet.h"
#include "wire/status.h"

namespace host {

namespace {

using nlohmann::ordered_json;
using wire::Load16;
using wire::Load32;
namespace command = wire::command;
namespace field = wire::field;
namespace status = wire::status;

std::string HexNumber(unsigned value, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%0*X", digits, value);
    return text;
}

void AddUnlessZero(ordered_json *fields, const char *name, uint32_t value) {
    if (value != 0)
        (*fields)[name] = value;
}

ordered_json StatusFields(const uint8_t *bytes) {
    const uint16_t word = Load16(bytes + status::kWord);
    std::string stages;
    for (const status::NamedBit &known : status::kNamedBits) {
        if ((word & known.bit) != 0)
            stages += (stages.empty() ? "" : ", ") + std::string(known.name);
    }
    return {{"kind", status::KindName(bytes[status::kKind])},
            {"word", HexNumber(word, 4)},
            {"stages", word == 0 ? "idle" : stages}};
}

std::string EventText(const recording::Entry &read) {
    const uint8_t *text = read.data + field::kRecord;
    const uint8_t *limit = text + std::min<size_t>(field::kRecordBytes, read.dataBytes - field::kRecord);
    return Utf8Text(text, static_cast<size_t>(std::find(text, limit, 0) - text));
}

} // namespace

ordered_json CommandFields(const recording::Entry &sent) {
    ordered_json fields = ordered_json::object();
    const uint8_t *bytes = sent.data;
    if (sent.dataBytes < wire::kShortHeaderBytes)
        return fields;
    fields["seq"] = Load32(bytes + field::kSequence);
    AddUnlessZero(&fields, "sub", bytes[field::kSub]);
    AddUnlessZero(&fields, "word0", Load16(bytes + field::kWord0));
    AddUnlessZero(&fields, "word1", Load16(bytes + field::kWord1));
    for (const char *name : {"arg0", "arg1", "arg2", "arg3"})
        AddUnlessZero(&fields, name, bytes[field::kArguments + static_cast<size_t>(name[3] - '0')]);
    if (sent.dataBytes >= wire::kHeaderBytes) {
        AddUnlessZero(&fields, "dword0", Load32(bytes + field::kDword0));
        AddUnlessZero(&fields, "dword1", Load32(bytes + field::kDword1));
        AddUnlessZero(&fields, "dataBytes", sent.dataBytes - uint32_t{wire::kHeaderBytes});
    }
    return fields;
}

ordered_json ReplyFields(uint8_t code, const recording::Entry &read) {
    const uint8_t *bytes = read.data;
    if (code == command::kStatusPoll)
        return read.dataBytes >= 8 ? StatusFields(bytes) : ordered_json::object();
    if (read.dataBytes < wire::kShortHeaderBytes)
        return ordered_json::object();
    // Lines, of which the first gives up its begin.
    if (code >= command::kRgbLines && code <= command::kUvLines)
        return {{"line", Load16(bytes + field::kWord0)}};
    ordered_json fields = {{"status", bytes[field::kStatus]}, {"seq", Load32(bytes + field::kSequence)}};
    if (code == command::kEvent && read.dataBytes > field::kRecord)
        fields["text"] = EventText(read);
    if (read.dataBytes > wire::kHeaderBytes)
        fields["dataBytes"] = read.dataBytes - wire::kHeaderBytes;
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
    return {{"vendor", HexNumber(Load16(bytes + 8), 4)},
            {"product", HexNumber(Load16(bytes + 10), 4)},
            {"release", HexNumber(Load16(bytes + 12), 4)},
            {"interfaces", interfaces}};
}

} // namespace host
