// Builds image packets: a short header with line number and progress, then the lines, the last of them cut
// so that the packet is exactly as long as its lines.
#include "scanner/firmware/line_server.h"

#include "scanner/firmware/device_state.h"
#include "wire/commands.h"

#include <algorithm>

namespace scanner {
namespace {

void RenderStripLine(const Scene &scene, int line, uint8_t *bytes) {
    RenderHiresLine(scene, HiresWay::kStrip, line, bytes);
}
void RenderFullLine(const Scene &scene, int line, uint8_t *bytes) {
    RenderHiresLine(scene, HiresWay::kFull, line, bytes);
}

/// How the lines of a pass travel: behind a short header and the last of them cut, or whole behind a header.
constexpr struct PacketKind {
    Tells tells;
    void (*render)(const Scene &, int line, uint8_t *bytes);
    bool whole;
    size_t progressAt;
    size_t HeaderBytes() const { return whole ? wire::kHeaderBytes : wire::kShortHeaderBytes; }
} kPackets[kPasses] = {
    {Tells::RgbBlock, RenderRgbLine, false, wire::kProgressAt},
    {Tells::IrBlock, RenderIrLine, false, wire::kProgressAt},
    {Tells::UvBlock, RenderUvLine, false, wire::kProgressAt},
    {Tells::HiresBlock, RenderStripLine, true, wire::kHiresProgressAt},
    {Tells::HiresBlock, RenderFullLine, true, wire::kHiresProgressAt},
};

const PacketKind &Kind(Pass pass) { return kPackets[static_cast<size_t>(pass)]; }

/// Lines that one packet can carry.
int MostLines(Pass pass) {
    const size_t room = kMaxReplyBytes - (Kind(pass).whole ? wire::kHeaderBytes : 0);
    return static_cast<int>(room) / Info(pass).lineBytes;
}

} // namespace

LineServer::LineServer() : lamps_(LampResponse()) {}

void LineServer::SetSeed(uint32_t seed) {
    seed_ = seed;
    scans_ = 0;
}

void LineServer::StartScan(std::shared_ptr<const Card> card, const SensorGains &gains) {
    card_ = std::move(card);
    scene_ = MakeScene(*card_, lamps_, seed_, scans_++);
    scene_.gains = gains;
    scene_.jitter = jitter_;
}

bool LineServer::Ask(Pass pass, const Command &command, StatusMachine &status) {
    if (command.word1 < 1 || command.word1 > MostLines(pass))
        return false;
    pass_ = pass;
    request_ = command;
    asked_ = true;
    status.LinesAsked(pass, Needed());
    return true;
}

bool LineServer::Serve(StatusMachine &status, Reply &reply) {
    const StatusMachine::Lines there = status.LinesThere(pass_, Needed());
    if (there == StatusMachine::Lines::Coming)
        return true;
    asked_ = false;
    if (there == StatusMachine::Lines::Never)
        return false;
    const PassInfo &info = Info(pass_);
    const PacketKind &kind = Kind(pass_);
    const int count = request_.word1, read = status.LinesRead(pass_);
    const auto lineBytes = static_cast<size_t>(info.lineBytes);
    const size_t dataBytes = static_cast<size_t>(count) * lineBytes;
    uint8_t *packet = kind.whole ? reply.Begin(request_, wire::kHeaderBytes + dataBytes, kind.tells)
                                 : reply.BeginData(request_, dataBytes, kind.tells);
    wire::Store16(packet + wire::field::kWord0, request_.word0);
    wire::Store16(packet + kind.progressAt, static_cast<uint16_t>(read));
    for (int k = 0; k < count; k++) {
        const int line = request_.word0 + k;
        uint8_t *bytes = packet + kind.HeaderBytes() + static_cast<size_t>(k) * lineBytes;
        // Lines that the head never reached, as the scan was broken off, are black too.
        if (card_ && line < info.lines && LineOrder(pass_, line) < read)
            kind.render(scene_, line, bytes);
        else
            std::fill_n(bytes, lineBytes, uint8_t{0});
    }
    return true;
}

namespace {

Answer AskFor(Pass pass, DeviceState &device, const Command &command) {
    return device.lines.Ask(pass, command, device.status) ? Answer::Lines : Answer::Refused;
}

} // namespace

Answer RgbLines(DeviceState &device, const Command &command) { return AskFor(Pass::Rgb, device, command); }
Answer IrLines(DeviceState &device, const Command &command) { return AskFor(Pass::Ir, device, command); }
Answer UvLines(DeviceState &device, const Command &command) { return AskFor(Pass::Uv, device, command); }

Answer HiresLines(DeviceState &device, const Command &command) {
    if (command.sub != wire::sub::hires::kOneWay)
        return Answer::Refused;
    // Their numbers overlap: those of the pass that the scan makes or made.
    return AskFor(device.status.LastPass() == Pass::Strip ? Pass::Strip : Pass::Full, device, command);
}

} // namespace scanner
