#include "tests/support/scripted_scanner.h"

#include "tests/support/data.h"
#include "wire/bytes.h"
#include "wire/commands.h"
#include "wire/packet.h"
#include "wire/status.h"

#include <algorithm>

namespace command = wire::command;

namespace {

constexpr int kAllCommands = 0xFF;

uint16_t At(const std::vector<uint16_t> &values, size_t number) {
    return values.empty() ? uint16_t{0} : values[std::min(number, values.size() - 1)];
}

uint32_t FaultOf(std::map<int, ScriptedScanner::Fault> &faults, int code) {
    for (const int key : {code, kAllCommands}) {
        const auto at = faults.find(key);
        if (at == faults.end())
            continue;
        const int number = ++at->second.seen;
        if (number >= at->second.first && number < at->second.first + at->second.count)
            return at->second.status;
    }
    return 0;
}

} // namespace

void ScriptedScanner::Heal() {
    sendFaults.clear();
    readFaults.clear();
    claim = claimSent = -1;
    replies.assign(kAllCommands + 1, scripted::Bytes(wire::kHeaderBytes));
    for (const auto &row : Table("support/healthy.txt"))
        Change(row[0]);
}

void ScriptedScanner::Change(const std::string &line) {
    std::istringstream in(line);
    std::string what, rest;
    int code = 0;
    in >> what >> std::hex >> code >> std::setbase(0);
    if (what == "fail-send" || what == "fail-read") {
        Fault fault;
        in >> fault.first >> fault.count >> fault.status;
        (what == "fail-send" ? sendFaults : readFaults)[code] = fault;
        return;
    }
    std::getline(in, rest);
    const std::vector<int> numbers = Ints(rest);
    for (int i = 0; i <= kAllCommands; ++i) {
        if (code != i && code != kAllCommands)
            continue;
        if (what == "length")
            replies[i].resize(numbers[0]);
        else // where, how many times, values
            for (size_t k = 0, count = numbers.size() - 2; k < numbers[1] * count; ++k)
                replies[i].at(numbers[0] + k) = static_cast<uint8_t>(numbers[2 + k % count]);
    }
}

void ScriptedScanner::Serve() {
    scripted::TheDriver().onSend = [this](const scripted::Sent &sent) {
        return scripted::Reply{FaultOf(sendFaults, sent.code), {}, claimSent};
    };
    scripted::TheDriver().onRead = [this](const scripted::Sent &last, uint32_t) { return Answer(last); };
}

scripted::Reply ScriptedScanner::Answer(const scripted::Sent &last) {
    if (const uint32_t status = FaultOf(readFaults, last.code))
        return {status};
    std::vector<uint8_t> bytes = replies[last.code];
    const size_t length = bytes.size(); // may have been cut short
    bytes.resize(std::max(length, wire::kHeaderBytes));
    if (last.code == command::kStatusPoll) {
        if (const auto now = events.extract(polls))
            event = now.mapped();
        if (!event.empty())
            bytes[wire::status::kKind] = wire::status::kEventWaits;
        wire::Store16(&bytes[wire::status::kWord], At(words, polls++));
    } else if (last.code == command::kEvent) {
        std::copy(event.begin(), event.end(), &bytes[wire::field::kRecord]);
        event.clear();
    } else if (last.code >= command::kRgbLines && last.code <= command::kUvLines) {
        wire::Store16(&bytes[wire::kProgressAt], At(progress, packets++));
    }
    bytes.resize(length);
    return {0, std::move(bytes), claim};
}
