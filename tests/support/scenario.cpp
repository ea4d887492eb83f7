#include "tests/support/scenario.h"

#include "include/k274.h"
#include "src/common/running.h"
#include "src/decoders/barcode.h"
#include "src/link/attach.h"
#include "src/link/transport.h"
#include "src/passes/hires_pass.h"
#include "src/passes/ir_pass.h"
#include "src/passes/line_transfer.h"
#include "src/passes/rgb_pass.h"
#include "src/passes/stripe_pass.h"
#include "src/passes/uv_pass.h"
#include "src/scan/link_state.h"
#include "src/scan/resend.h"
#include "src/scan/sequence.h"
#include "src/scan/startup.h"
#include "src/scan/status.h"
#include "src/scan/wait.h"
#include "src/state/flags.h"
#include "src/state/image_set.h"
#include "src/state/monitor_record.h"
#include "src/state/notify.h"
#include "src/state/records.h"
#include "tests/support/data.h"
#include "tests/support/transcript.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace {

using k274::CmdPkt;
using k274::state;
using k274::transport;
using scripted::Reply;
using scripted::Sent;
using scripted::TheDriver;
using In = std::istringstream;

int64_t Next(In &in, int64_t otherwise = 0) {
    std::string word;
    return in >> word ? std::stoll(word, nullptr, 0) : otherwise;
}
template <typename Number = int>
Number NextAs(In &in, int64_t otherwise = 0) {
    return static_cast<Number>(Next(in, otherwise));
}
int NextCode(In &in) {
    std::string word;
    in >> word;
    return std::stoi(word, nullptr, 16);
}
std::string Rest(In &in) {
    std::string rest;
    std::getline(in >> std::ws, rest);
    return rest;
}

void Tell(const std::string &result) { transcript::Note("= " + result); }
void TellHex(uint32_t status) {
    std::ostringstream text;
    text << std::hex << status;
    Tell(text.str());
}
void TellBool(bool value) { Tell(value ? "true" : "false"); }

void TellRead(const k274::Outcome &outcome) {
    Tell(outcome.Ok() ? "complete" : outcome.kind == k274::Outcome::NoScanner ? "no scanner" : "incomplete");
}

void TellFaults(const std::string &result) {
    Tell(result + ", transfer errors " + std::to_string(K274_GefXfrErrs()) + ", beep " +
         std::to_string(state.beepRequest));
}

} // namespace

void Scenario::SetUp() {
    ScannerTest::SetUp();
    K274_SetBcdOpt(0);
    k274::monitor.uptime = 5;
    sendFaults.clear();
    readFaults.clear();
    patches.clear();
    lengths.clear();
    fills.clear();
    progress.clear();
    events.clear();
    claim = claimSent = -1;
    scanner.words.clear();
    scanner.events.clear();
    scanner.polls = 0;
    Serve();
    before = std::filesystem::current_path();
    std::filesystem::current_path(folder);
    transcript::Begin(LogFile());
}

void Scenario::TearDown() {
    transcript::End();
    std::filesystem::current_path(before);
    ScannerTest::TearDown();
}

void Scenario::Serve() {
    TheDriver().onSend = [this](const Sent &sent) {
        return Reply{FaultOf(sendFaults, sent.code), {}, claimSent};
    };
    TheDriver().onRead = [this](const Sent &last, uint32_t size) { return Answer(last, size); };
    scripted::TheDecoder().onDecode = [this](const scripted::DecodeRequest &request) {
        const std::string text = barcodes.empty() ? "" : barcodes.front();
        if (!barcodes.empty())
            barcodes.erase(barcodes.begin());
        transcript::Note("decode " + std::to_string(request.lines) + " lines of " +
                         std::to_string(request.pixels) + " pixels" +
                         (request.linear ? ", linear, too" : "") + ": \"" + text + '"');
        return text.empty() ? scripted::Symbol{} : scripted::Symbol{0x1000, text};
    };
}

uint32_t Scenario::FaultOf(std::map<int, Fault> &faults, int code) {
    for (const int key : {code, 0xFF}) { // FF: all commands
        const auto at = faults.find(key);
        if (at == faults.end())
            continue;
        const int number = ++at->second.seen;
        if (number >= at->second.first && number < at->second.first + at->second.count)
            return at->second.status;
    }
    return 0;
}

Reply Scenario::Answer(const Sent &last, uint32_t size) {
    if (const uint32_t status = FaultOf(readFaults, last.code))
        return {status};
    if (const auto event = events.find(scanner.polls); last.code == 0 && event != events.end())
        scanner.events = {event->second};
    if (last.code >= 1 && last.code <= 3) {
        const auto known = progress.find(++packets);
        scanner.progress = known != progress.end() ? known->second : progress.empty() ? 2299 : 65535;
    }
    Reply reply = scanner.Answer(last, size);
    if (const auto fill = fills.find(last.code); fill != fills.end())
        std::fill(reply.bytes.begin() + 24, reply.bytes.end(), fill->second);
    for (const auto &[at, byte] : patches[last.code])
        reply.bytes.at(at) = static_cast<uint8_t>(byte);
    for (const int key : {int{last.code}, 0xFF})
        if (const auto length = lengths.find(key); length != lengths.end())
            reply.bytes.resize(length->second);
    reply.claim = claim;
    return reply;
}

// What the scanner, the driver and the clock are like.
void Scenario::ScannerSteps() {
    steps["fresh"] = [this](In &) {
        TearDown();
        SetUp();
    };
    steps["words"] = [this](In &in) {
        scanner.words.clear();
        for (int64_t word; (word = Next(in, -1)) >= 0;)
            scanner.words.push_back(static_cast<uint16_t>(word));
        scanner.polls = 0;
    };
    steps["event"] = [this](In &in) { scanner.events = {Rest(in)}; };
    steps["event-at"] = [this](In &in) {
        const auto poll = NextAs<size_t>(in);
        events = {{poll, Rest(in)}};
    };
    steps["reply-kind"] = [this](In &in) { scanner.replyKind = NextAs<uint8_t>(in); };
    steps["firmware"] = [this](In &in) {
        for (uint8_t &part : scanner.firmware)
            part = NextAs<uint8_t>(in);
    };
    steps["byte"] = [this](In &in) {
        const int code = NextCode(in);
        const auto at = NextAs<size_t>(in);
        patches[code][at] = NextAs(in);
    };
    steps["length"] = [this](In &in) {
        const int code = NextCode(in);
        lengths[code] = NextAs<size_t>(in);
    };
    steps["fill"] = [this](In &in) {
        const int code = NextCode(in);
        fills[code] = NextAs<uint8_t>(in);
    };
    steps["barcodes"] = [this](In &in) {
        barcodes.clear();
        for (std::string text; std::getline(in >> std::ws, text, '|');)
            barcodes.push_back(text == "none" ? "" : text);
    };
    steps["claim"] = [this](In &in) { claim = Next(in); };
    steps["claim-sent"] = [this](In &in) { claimSent = Next(in); };
    const auto fault = [](std::map<int, Fault> &faults) {
        return [&faults](In &in) {
            const int code = NextCode(in);
            const int first = NextAs(in, 1), count = NextAs(in, 1000000);
            faults[code] = {first, count, NextAs<uint32_t>(in, 5)};
        };
    };
    steps["fail-send"] = fault(sendFaults);
    steps["fail-read"] = fault(readFaults);
    steps["heal"] = [this](In &) {
        sendFaults.clear();
        readFaults.clear();
        patches.clear();
        lengths.clear();
        claim = claimSent = -1;
    };
    steps["progress"] = [this](In &in) {
        progress.clear();
        packets = 0;
        for (int packet; (packet = NextAs(in, -1)) >= 0;)
            progress[packet] = NextAs(in);
    };
    steps["attach"] = [](In &) { scripted::Attach(); };
    steps["detach"] = [](In &) { scripted::Detach(); };
    steps["reset-detaches"] = [](In &) { TheDriver().onReset = [](uint32_t) { scripted::Detach(); }; };
    steps["decoder"] = [](In &in) {
        scripted::TheDecoder().minor = NextAs<int32_t>(in);
        k274::SdVersion();
    };
    steps["uptime"] = [](In &in) { k274::monitor.uptime = static_cast<double>(Next(in)); };
}

// The transport's operations, one by one.
void Scenario::TransportSteps() {
    static CmdPkt packet;
    const auto command = [](In &in) -> CmdPkt & {
        return packet = CmdPkt(static_cast<uint8_t>(NextCode(in)));
    };
    steps["send"] = [=](In &in) { TellHex(transport.SendCmd(command(in)).status); };
    steps["send-header"] = [=](In &in) { TellHex(transport.SendCmdHeader(command(in)).status); };
    steps["send-data"] = [=](In &in) {
        CmdPkt &data = command(in);
        TellHex(transport.SendCmdData(data, NextAs<uint32_t>(in)).status);
    };
    steps["write"] = [](In &in) {
        const auto size = NextAs<uint32_t>(in);
        std::fill_n(transport.DataToWrite(), size, uint8_t{3});
        TellRead(transport.WritePacket(size));
    };
    steps["read-header"] = [](In &) { TellRead(transport.ReadPacketHdr(packet)); };
    steps["read"] = [](In &in) { TellRead(transport.ReadData(NextAs<uint32_t>(in))); };
    steps["read-image"] = [](In &in) {
        TellRead(transport.ReadImgPkt(transport.imagePacketBuffer, NextAs<uint32_t>(in)));
    };
    steps["exchange"] = [=](In &in) { TellBool(k274::FwCmd(command(in))); };
    steps["last-send"] = [](In &) { TellBool(transport.LastSendWentOut()); };
    steps["verbose"] = [](In &in) { transport.SetVerbose(NextAs<uint32_t>(in)); };
    steps["cycle-port"] = [](In &) { transport.CyclePort(); };
    steps["hard-reset"] = [](In &) { TellBool(transport.HardReset()); };
    steps["reset-pipes"] = [](In &) { TellBool(transport.ResetPipes()); };
}

// Single passes.
void Scenario::PassSteps() {
    const auto pass = [](auto run) {
        return [run](In &) {
            K274_ClrXfrErrs();
            state.beepRequest = 0;
            TellFaults(run() ? "whole" : "not whole");
        };
    };
    steps["visible"] = pass(k274::XfrRgb);
    steps["infrared"] = pass(k274::XfrIR);
    steps["ultraviolet"] = pass(k274::XfrUV);
    steps["short-hires"] = pass(k274::Xfr12S);
    steps["stripe"] = pass([] {
        k274::XfrMS();
        return true;
    });
    steps["full-hires"] = [](In &) { k274::Capture1200F(); };
    steps["first-line"] = [](In &) {
        TellHex(K274_RdCcUv());
        TellFaults("pass untouched");
    };
    steps["status-word"] = [](In &in) { state.statusWord = NextAs<uint32_t>(in); };
    steps["resend-request"] = [](In &in) { state.resendRequest = NextAs(in); };
    steps["close"] = [](In &) { k274::running = false; };
}

// What the host asks for, and what the monitor thread does.
void Scenario::ScanSteps() {
    steps["scan-mode"] = [](In &in) { K274_ScanMode(NextAs<uint8_t>(in)); };
    steps["last-scan"] = [](In &in) { K274_LstScan(NextAs<int32_t>(in), 0); };
    steps["ir-enhance"] = [](In &in) { K274_IrEnhance(NextAs<uint8_t>(in)); };
    steps["upgrade"] = [](In &in) { K274_AutoFwUpgrade(NextAs<uint8_t>(in)); };
    steps["login"] = [](In &in) { state.loginFlag = NextAs<uint8_t>(in); };
    steps["eject"] = [](In &) { K274_Eject(); };
    steps["led"] = [](In &in) { K274_UserLED(NextAs<int32_t>(in)); };
    steps["beep"] = [](In &in) { K274_UserBeep(NextAs<uint8_t>(in)); };
    steps["poll"] = [](In &) {
        uint8_t &image = k274::imageSet.NatFr[0], &hires = k274::imageSet.SliFr[0];
        image = hires = 9;
        k274::monitor.cancelled = false;
        TellHex(static_cast<uint32_t>(k274::PollStatus()));
        K274_Status record;
        K274_UpdateStatus(&record);
        if (K274_ScanState() != record.statusWord)
            Tell("state " + std::to_string(static_cast<int32_t>(K274_ScanState())) + ", record " +
                 std::to_string(record.statusWord));
        if (k274::monitor.cancelled)
            Tell("cancelled");
        if (image == 0)
            Tell(hires == 0 ? "all images cleared" : "images cleared");
    };
    steps["wait"] = [](In &in) {
        const auto mask = NextAs<uint32_t>(in);
        const int32_t word = k274::WaitForStatus(mask, Rest(in) == "or idle");
        Tell(std::to_string(word));
    };
    steps["link"] = [](In &in) {
        state.linkState = NextAs<int32_t>(in);
        k274::LinkStep(Rest(in) == "good");
        K274_Version version;
        K274_GetVersion(&version);
        Tell(std::to_string(state.linkState) + (K274_UsbIsOnline() ? ", online" : "") + ", scanner " +
             std::to_string(version.serialNumber));
    };
    steps["start-up"] = [](In &) {
        k274::StartupChecks();
        k274::DeliverRaisedStates();
    };
    steps["decode"] = [](In &in) { K274_SetBcdOpt(NextAs<uint8_t>(in)); };
    steps["barcode"] = [](In &) {
        K274_Barcode record;
        K274_GetBC(&record);
        const std::string text(reinterpret_cast<const char *>(record.pdfText));
        Tell('"' + text + "\" of " + std::to_string(record.pdfLength) + ", decoder " +
             std::to_string(record.decoder));
    };
    steps["scan"] = [](In &) {
        k274::ScanSequence();
        Tell("scans " + std::to_string(state.scanCounter));
    };
    steps["resend"] = [](In &) {
        k274::ResendLastScan();
        Tell("scans " + std::to_string(state.scanCounter));
    };
}

// What a workshop asks for.
void Scenario::MaintenanceSteps() {
    const auto program = [](int32_t (*run)(const char *)) {
        return [run](In &in) { // a file's name, or none
            const std::string path = Rest(in);
            const int32_t result = run(path.empty() ? nullptr : path.c_str());
            Tell(std::to_string(result) + ", hold-off " + std::to_string(state.firmwareHoldOff));
            state.firmwareHoldOff = 0;
        };
    };
    steps["program-firmware"] = program(K274_ProgFlash);
    steps["program-fpga"] = program(K274_ProgFpga);
    steps["program-fpga-unerased"] = program(K274_ProgFpgaEx);
    steps["file"] = [](In &in) {
        std::string name;
        in >> name;
        std::ofstream(name, std::ios::binary) << std::string(NextAs<size_t>(in), 'i');
    };
    steps["forget-versions"] = [](In &) { k274::records.version = {}; };
    steps["hold-off"] = [](In &in) { state.firmwareHoldOff = NextAs<int32_t>(in); };
    steps["sync-firmware"] = [](In &in) {
        k274::records.status.device17 = NextAs<uint16_t>(in);
        TellBool(k274::SyncFirmware());
        Tell("hold-off " + std::to_string(state.firmwareHoldOff));
    };
    steps["format-flash"] = [](In &) { K274_FormatFlash(); };
    steps["erase-fpga"] = [](In &) { K274_EraseFPGA(); };
    steps["flash-block"] = [](In &in) {
        uint8_t block[4096];
        Tell(std::to_string(K274_RdFlashData(block, NextAs<uint16_t>(in))));
    };
    steps["save-response"] = [](In &in) {
        const std::vector<uint8_t> response(18900, NextAs<uint8_t>(in));
        Tell(std::to_string(K274_SaveWcc(response[0] ? response.data() : nullptr)));
    };
    steps["leds"] = [](In &in) {
        const auto a = NextAs<uint8_t>(in), b = NextAs<uint8_t>(in);
        K274_SetLEDs(a, b, NextAs<uint8_t>(in));
    };
    steps["led-aging"] = [](In &in) { K274_GuiLedAging(NextAs<uint8_t>(in)); };
    steps["mechanism"] = [](In &in) {
        const auto test = NextAs<uint8_t>(in);
        const auto first = NextAs<uint32_t>(in);
        K274_MechTest(test, first, NextAs<uint32_t>(in));
    };
    steps["usb-test"] = [](In &in) {
        const auto number = NextAs<int32_t>(in);
        const int32_t result = K274_UsbTest(number, NextAs<uint32_t>(in));
        Tell(std::to_string(result) + ", count " + std::to_string(state.loopbackCount));
    };
}

void Scenario::Play(const std::string &file) {
    ScannerSteps();
    TransportSteps();
    PassSteps();
    ScanSteps();
    MaintenanceSteps();
    const std::string kept = ReadText(K274_SOURCE_DIR "/tests/" + file);
    ASSERT_NE(kept, "") << file;
    std::istringstream lines(kept);
    std::string played;
    for (std::string line; std::getline(lines, line);) {
        const bool isStep = line.compare(0, 2, "> ") == 0;
        if (isStep || line.empty() || line.compare(0, 2, "# ") == 0)
            played += line + '\n';
        if (!isStep)
            continue;
        In words(line.substr(2));
        std::string name;
        words >> name;
        ASSERT_TRUE(steps.count(name)) << line;
        steps[name](words);
        played += transcript::Take();
    }
    ExpectKept(file, played);
}

std::vector<std::string> ScenariosIn(const std::string &folder) {
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(K274_SOURCE_DIR "/tests/" + folder))
        names.push_back(folder + '/' + entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}
