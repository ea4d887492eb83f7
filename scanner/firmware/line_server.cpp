// Builds image packets: a short header with line number and progress, then the lines, the last of them cut
// so that the packet is exactly as long as its lines.
#include "scanner/firmware/line_server.h"

#include "scanner/firmware/command_table.h"

#include <algorithm>

namespace scanner {
namespace {

constexpr int kMaxRgbLines = static_cast<int>(kMaxReplyBytes / kRgbLineBytes);
constexpr size_t kLineNumberAt = 8, kProgressAt = 16;

} // namespace

LineServer::LineServer() : lamps_(LampResponse()) {}

void LineServer::SetSeed(uint32_t seed) {
    seed_ = seed;
    scans_ = 0;
}

void LineServer::StartScan(std::shared_ptr<const Card> card) {
    card_ = std::move(card);
    scene_ = MakeScene(*card_, lamps_, seed_, scans_++);
}

bool LineServer::Ask(const Command &command, StatusMachine &status) {
    if (command.word1 < 1 || command.word1 > kMaxRgbLines)
        return false;
    request_ = command;
    asked_ = true;
    status.RgbLinesAsked(Lowest());
    return true;
}

void LineServer::Serve(const StatusMachine &status, Reply &reply) {
    const int count = request_.word1;
    // Lines beyond the far end are black at once; of the others the lowest comes last.
    if (Lowest() < kScanLines && !status.RgbLineReady(Lowest()))
        return;
    asked_ = false;
    const size_t size = static_cast<size_t>(count) * kRgbLineBytes;
    uint8_t *packet = reply.BeginData(request_, size, Tells::RgbBlock);
    Put16(packet + kLineNumberAt, request_.word0);
    Put16(packet + kProgressAt, static_cast<unsigned>(status.RgbProgress()));
    // Lines that the head never reached, as the scan was broken off, are black too.
    const int lowestRead = kScanLines - status.RgbProgress();
    for (int k = 0; k < count; k++) {
        const int line = Lowest() + k;
        uint8_t *bytes = packet + kShortHeaderBytes + static_cast<size_t>(k) * kRgbLineBytes;
        if (card_ && line < kScanLines && line >= lowestRead)
            RenderRgbLine(scene_, line, bytes);
        else
            std::fill_n(bytes, kRgbLineBytes, uint8_t{0});
    }
}

Answer RgbLines(DeviceState &device, const Command &command) {
    return device.lines.Ask(command, device.status) ? Answer::Lines : Answer::Refused;
}

} // namespace scanner
