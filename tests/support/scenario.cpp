#include "tests/support/scenario.h"

#include "include/k274.h"
#include "platform/os/os.h"
#include "src/api/lifecycle.h"
#include "src/common/running.h"
#include "src/decoders/barcode.h"
#include "src/link/attach.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/maint/rig.h"
#include "src/maint/version.h"
#include "src/passes/hires_pass.h"
#include "src/passes/ir_pass.h"
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
#include "src/state/locks.h"
#include "src/state/monitor_record.h"
#include "src/state/notify.h"
#include "src/state/pass_results.h"
#include "src/state/records.h"
#include "src/state/settings.h"
#include "tests/support/data.h"
#include "tests/support/scan_results.h"
#include "tests/support/transcript.h"

#include <algorithm>
#include <future>
#include <thread>
#include <tuple>

namespace {

using k274::CmdPkt;
using k274::Outcome;
using k274::state;
using k274::transport;
using scripted::TheDriver;
using In = std::istringstream;

CmdPkt packet;               // of single exchanges
std::vector<uint8_t> buffer; // the host's

/// An argument as a word: a number, a command of a packet, a name, the buffer or none; a text is the rest of
/// the line. What is missing is 0, or the packet as it stands.
template <typename Argument>
struct Word {
    std::string word;
    explicit Word(In &in) {
        if constexpr (std::is_same_v<Argument, std::string>)
            std::getline(in >> std::ws, word);
        else
            in >> word;
    }
    operator Argument() const {
        if constexpr (std::is_integral_v<Argument>)
            return static_cast<Argument>(word.empty() ? 0 : std::stoll(word, nullptr, 0));
        else if constexpr (std::is_same_v<Argument, CmdPkt &>)
            return word.empty() ? packet
                                : packet = CmdPkt(static_cast<uint8_t>(std::stoi(word, nullptr, 16)));
        else if constexpr (std::is_same_v<Argument, std::string>)
            return word;
        else if constexpr (std::is_same_v<Argument, const char *>)
            return word == "none" ? nullptr : word.c_str();
        else
            return word == "none" ? nullptr : buffer.data();
    }
};

template <typename Result>
std::string Told(const Result &result) {
    std::ostringstream text;
    if constexpr (std::is_same_v<Result, Outcome>)
        text << std::hex << result.status << (result.Ok() ? ", done" : ", not done");
    else if constexpr (std::is_same_v<Result, uint32_t>)
        text << std::hex << result;
    else if constexpr (std::is_same_v<Result, uint8_t>)
        text << int{result};
    else
        text << std::boolalpha << result;
    return text.str();
}

template <typename Result, typename... Arguments>
auto Call(std::function<Result(Arguments...)> function) {
    return [function](In &in) {
        const std::tuple<Word<Arguments>...> arguments{Word<Arguments>(in)...};
        if constexpr (std::is_void_v<Result>)
            std::apply(function, arguments);
        else
            transcript::Note("= " + Told(std::apply(function, arguments)));
    };
}
template <typename Function>
auto Call(Function function) {
    return Call(std::function(function));
}
template <typename Class, typename Result, typename... Arguments>
auto Call(Class &object, Result (Class::*function)(Arguments...)) {
    return Call(std::function<Result(Arguments...)>(
        [&object, function](Arguments... arguments) { return (object.*function)(arguments...); }));
}

template <typename... Values>
std::string Line(const char *name, const Values &...values) {
    std::ostringstream text;
    text << name;
    ((text << ' ' << static_cast<int32_t>(values)), ...);
    return text.str();
}

/// What the library keeps for later; what a step changes of it is told.
std::vector<std::string> Kept() {
    const auto &[red, green, blue, infrared] = k274::settings.illumination;
    const auto &uv = k274::settings.uvOption;
    const k274::ScanMetadata &metadata = k274::records.metadata;
    K274_Status status;
    K274_UpdateStatus(&status);
    K274_Version version;
    K274_GetVersion(&version);
    return {Line("word", K274_ScanState()),
            Line("word in the record", status.statusWord),
            Line("cancelled", k274::monitor.cancelled),
            Line("link", state.linkState),
            Line("online", K274_UsbIsOnline()),
            Line("attached", k274::deviceLink.device != nullptr, k274::deviceLink.online),
            Line("scanner", version.serialNumber),
            Line("transfer errors", K274_GefXfrErrs()),
            Line("failures", k274::deviceLink.transferErrors),
            Line("beep", state.beepRequest),
            Line("hold-off", state.firmwareHoldOff),
            Line("loopback", state.loopbackCount),
            Line("scans", state.scanCounter),
            Line("cleared", state.cleared),
            Line("login", state.loginFlag),
            Line("last scan", state.lastScanMode),
            Line("illumination", red, green, blue, infrared),
            Line("ultraviolet", uv[0], uv[1], uv[2]),
            Line("infrared", k274::settings.irEnhance),
            Line("parameters", metadata.parameter0, metadata.parameter1, metadata.parameter3),
            Line("red gain", k274::records.afe.words[0])};
}

void K274_CALLBACK NoteAnother(int32_t code) { transcript::Note("another state " + std::to_string(code)); }

std::string BarcodeRecord() {
    K274_Barcode record;
    K274_GetBC(&record);
    return '"' + std::string(reinterpret_cast<const char *>(record.pdfText)) + "\" of " +
           std::to_string(record.pdfLength) + ", decoder " + std::to_string(record.decoder);
}

/// What the fake rig that is built beside this program was told since the last time. LD_LIBRARY_PATH, set by
/// ctest, leads to it.
std::string RigTrace() {
    void *driver = os::LoadModule("labjackud");
    EXPECT_NE(driver, nullptr) << "run through ctest";
    return driver ? reinterpret_cast<const char *(*)()>(os::ModuleSymbol(driver, "TakeRigTrace"))() : "";
}

} // namespace

void Scenario::SetUp() {
    ScannerTest::SetUp();
    K274_SetBcdOpt(0);
    k274::monitor.uptime = 5;
    scanner.Heal();
    scanner.words.clear();
    scanner.events.clear();
    scanner.progress = {2299};
    scanner.polls = scanner.packets = 0;
    buffer.assign(1224000, 0); // no image is larger
    scripted::TheDecoder().onDecode = [this](const scripted::DecodeRequest &request) {
        const std::string text = barcodes.empty() ? "" : barcodes.front();
        if (!barcodes.empty())
            barcodes.erase(barcodes.begin());
        transcript::Note("decode " + std::to_string(request.lines) + " lines of " +
                         std::to_string(request.pixels) + " pixels" +
                         (request.linear ? ", linear, too" : "") + ": \"" + text + '"');
        return text.empty() ? scripted::Symbol{} : scripted::Symbol{0x1000, text};
    };
    before = std::filesystem::current_path();
    std::filesystem::current_path(folder);
    transcript::Begin(LogFile());
}

void Scenario::TearDown() {
    transcript::End();
    std::filesystem::current_path(before);
    ScannerTest::TearDown();
}

void Scenario::Teach() {
    steps = {{"SendCmd", Call(transport, &k274::Transport::SendCmd)},
             {"SendCmdHeader", Call(transport, &k274::Transport::SendCmdHeader)},
             {"SendCmdData", Call(transport, &k274::Transport::SendCmdData)},
             {"ReadPacketHdr", Call(transport, &k274::Transport::ReadPacketHdr)},
             {"ReadData", Call(transport, &k274::Transport::ReadData)},
             {"SetVerbose", Call(transport, &k274::Transport::SetVerbose)},
             {"CyclePort", Call(transport, &k274::Transport::CyclePort)},
             {"HardReset", Call(transport, &k274::Transport::HardReset)},
             {"ResetPipes", Call(transport, &k274::Transport::ResetPipes)},
             {"FwCmd", Call(k274::FwCmd)},
             {"XfrRgb", Call(k274::XfrRgb)},
             {"XfrIR", Call(k274::XfrIR)},
             {"XfrUV", Call(k274::XfrUV)},
             {"Xfr12S", Call(k274::Xfr12S)},
             {"XfrMS", Call(k274::XfrMS)},
             {"Capture1200F", Call(k274::Capture1200F)},
             {"WaitForStatus", Call(k274::WaitForStatus)},
             {"ScanSequence", Call(k274::ScanSequence)},
             {"ResendLastScan", Call(k274::ResendLastScan)},
             {"SyncFirmware", Call(k274::SyncFirmware)},
             {"RdCcUv", Call(K274_RdCcUv)},
             {"ScanMode", Call(K274_ScanMode)},
             {"AutoFwUpgrade", Call(K274_AutoFwUpgrade)},
             {"Eject", Call(K274_Eject)},
             {"GuiScan", Call(K274_GuiScan)},
             {"UserLED", Call(K274_UserLED)},
             {"UserBeep", Call(K274_UserBeep)},
             {"SetBcdOpt", Call(K274_SetBcdOpt)},
             {"ProgFlash", Call(K274_ProgFlash)},
             {"ProgFpga", Call(K274_ProgFpga)},
             {"ProgFpgaEx", Call(K274_ProgFpgaEx)},
             {"FormatFlash", Call(K274_FormatFlash)},
             {"EraseFPGA", Call(K274_EraseFPGA)},
             {"SaveWcc", Call(K274_SaveWcc)},
             {"SetLEDs", Call(K274_SetLEDs)},
             {"GuiLedAging", Call(K274_GuiLedAging)},
             {"MechTest", Call(K274_MechTest)},
             {"UsbTest", Call(K274_UsbTest)},
             {"SetIllumOpt", Call(K274_SetIllumOpt)},
             {"SetUvOpt", Call(K274_SetUvOpt)},
             {"UvEnhance", Call(K274_UvEnhance)},
             {"IrEnhance", Call(K274_IrEnhance)},
             {"UseCertaxis", Call(K274_UseCertaxis)},
             {"2ndScan", Call(K274_2ndScan)},
             {"LstScan", Call(K274_LstScan)},
             {"DebugLEDs", Call(K274_DebugLEDs)},
             {"LogIn", Call(K274_LogIn)},
             {"Reset", Call(K274_Reset)},
             {"Clear", Call(K274_Clear)},
             {"RdFlashData", Call(K274_RdFlashData)},
             {"RdFactData", Call(K274_RdFactData)},
             {"WrFactData", Call(K274_WrFactData)},
             {"RdUserData", Call(K274_RdUserData)},
             {"WrUserData", Call(K274_WrUserData)},
             {"Params", Call(K274_Params)},
             {"GetParams", Call(K274_GetParams)},
             {"AfeRegs", Call(K274_AfeRegs)},
             {"GetFocusImg", Call(K274_GetFocusImg)},
             {"GetFocImgAry", Call(K274_GetFocImgAry)},
             {"StillImage", Call(K274_StillImage)},
             {"LabJack", Call(K274_LabJack)},
             {"ReSend", Call(K274_ReSend)},
             {"Close", Call(K274_Close)},
             {"Log", Call(K274_Log)},
             {"UpdateStatus", Call(K274_UpdateStatus)},
             {"GetVersion", Call(K274_GetVersion)},
             {"GetMag", Call(K274_GetMag)},
             {"DriverInit", Call(k274::DriverInit)},
             {"DriverUninit", Call(k274::DriverUninit)},
             {"OpenLink", Call(k274::OpenLink)},
             {"ReadVersion", Call(k274::ReadVersion)},
             {"ClearCapture", Call(k274::ClearCapture)},
             {"FlushDeferred", Call(k274::log, &k274::Log::FlushDeferred)},
             {"attach", Call(scripted::Attach)},
             {"detach", Call(scripted::Detach)},
             {"barcode", Call(BarcodeRecord)},
             {"rig", Call(RigTrace)}};
    // The library's inside.
    steps["LastSendWentOut"] = Call([] { return transport.LastSendWentOut(); });
    steps["WritePacket"] = Call([](uint32_t size) {
        std::fill_n(transport.DataToWrite(), size, uint8_t{3});
        return transport.WritePacket(size);
    });
    steps["ReadImgPkt"] =
        Call([](uint32_t size) { return transport.ReadImgPkt(transport.imagePacketBuffer, size); });
    steps["poll"] = Call([] {
        k274::monitor.cancelled = false;
        return static_cast<uint32_t>(k274::PollStatus());
    });
    steps["link"] = Call([](int32_t link, bool good) {
        state.linkState = link;
        k274::LinkStep(good);
    });
    steps["start-up"] = Call([] {
        k274::StartupChecks();
        k274::DeliverRaisedStates();
    });
    steps["rig-opens"] = Call([] {
        k274::LabJackOpen();
        RigTrace(); // what earlier tests left
    });
    steps["forget-faults"] = Call([] {
        K274_ClrXfrErrs();
        state.beepRequest = 0;
    });
    steps["status-word"] = Call([](uint32_t word) { state.statusWord = word; });
    steps["job"] = Call([](uint16_t job) { k274::records.status.device17 = job; });
    steps["resend-request"] = Call([](int32_t request) { state.resendRequest = request; });
    steps["login"] = Call([](uint8_t flag) { state.loginFlag = flag; });
    steps["hold-off"] = Call([](int32_t passes) { state.firmwareHoldOff = passes; });
    steps["uptime"] = Call([](int seconds) { k274::monitor.uptime = seconds; });
    steps["forget-versions"] = Call([] { k274::records.version = {}; });
    steps["close"] = Call([] { k274::running = false; });
    steps["measure"] = Call([](int top, int offset, int width, int front, int back) {
        k274::passResults.measure = {top, offset, width, front, back, 0.F};
    });
    steps["failures"] = Call([](int32_t count) { k274::deviceLink.transferErrors = count; });
    // The scanner, the driver and the decoder.
    steps["driver"] = Call([](uint32_t event, uint32_t mutex, uint32_t init, bool attach) {
        TheDriver().eventStatus = event;
        TheDriver().mutexStatus = mutex;
        TheDriver().initStatus = init;
        TheDriver().attachOnInit = attach;
    });
    steps["fresh"] = Call([this] {
        TearDown();
        SetUp();
    });
    const auto series = [](auto &values, auto &taken) {
        return Call([&](std::string text) {
            const std::vector<int> numbers = Ints(text);
            values.assign(numbers.begin(), numbers.end());
            taken = 0;
        });
    };
    steps["words"] = series(scanner.words, scanner.polls);
    steps["progress"] = series(scanner.progress, scanner.packets);
    steps["event"] = Call([this](std::string event) { scanner.events = {{scanner.polls, event}}; });
    steps["event-at"] = Call([this](size_t poll, std::string event) { scanner.events = {{poll, event}}; });
    for (const std::string change : {"length", "bytes", "fail-send", "fail-read"})
        steps[change] = Call([=](std::string rest) { scanner.Change(change + ' ' + rest); });
    steps["heal"] = Call(scanner, &ScriptedScanner::Heal);
    steps["claim"] = Call([this](int64_t claim) { scanner.claim = claim; });
    steps["claim-sent"] = Call([this](int64_t claim) { scanner.claimSent = claim; });
    steps["reset-detaches"] = Call([] { TheDriver().resetDetaches = true; });
    steps["decoder"] = Call([](int32_t version) {
        scripted::TheDecoder().minor = version;
        k274::SdVersion();
    });
    steps["barcodes"] = Call([this](std::string texts) {
        barcodes.clear();
        In words(texts);
        for (std::string text; std::getline(words, text, '|');)
            barcodes.push_back(text == "none" ? "" : text);
    });
    // The host's side.
    steps["session"] = Call([] { // until it is closed
        test_clock::Hold(200);   // the monitor thread begins when the start is over
        const int32_t result = K274_Init(0);
        test_clock::Release();
        AwaitThreadsEnd();
        return result;
    });
    steps["after"] = Call([this](int64_t milliseconds, std::string step) {
        test_clock::After(milliseconds, [=] { Do("* " + step); });
    });
    steps["on"] = Call([this](int state, std::string step) { OnState(state, [=] { Do("* " + step); }); });
    steps["busy"] = Call([this](std::string step) { // another thread has the scanner meanwhile
        std::promise<void> held, done;
        std::thread holder([&] {
            k274::DeviceGuard guard(k274::deviceLock);
            held.set_value();
            done.get_future().wait();
        });
        held.get_future().wait();
        Do("* " + step);
        done.set_value();
        holder.join();
    });
    steps["callback"] = Call([](std::string which) { // none, or another one
        K274_RegNewScanCB(which == "none" ? nullptr : NoteAnother);
    });
    steps["file"] = Call([](size_t size, std::string name) { WriteText(name, std::string(size, 'i')); });
    steps["set"] = Call([](size_t from, size_t count, uint8_t value) { // of the buffer
        std::fill_n(&buffer.at(from), count, value);
    });
    steps["show"] = Call([](size_t count) { // the buffer's beginning
        transcript::Note("buffer " + transcript::Runs(buffer.data(), 0, count));
    });
    steps["fill-images"] = Call([](uint8_t value) {
        for (const ScanPart &part : ScanImages())
            std::fill_n(part.bytes, part.size, value);
    });
    steps["images"] = Call([](std::string name) { // one or all
        for (const ScanPart &part : ScanImages())
            if (name.empty() || name == part.name)
                transcript::Note(part.name + (' ' + transcript::Runs(part.bytes, 0, part.size)));
    });
}

void Scenario::Do(const std::string &line) {
    In words(line);
    std::string mark, name;
    words >> mark >> name;
    if (mark == "*") // one that was put off
        transcript::Note(line);
    ASSERT_TRUE(steps.count(name)) << line;
    steps.at(name)(words);
}

void Scenario::Play(const std::string &file) {
    Teach();
    std::ifstream lines(K274_SOURCE_DIR "/tests/" + file, std::ios::binary);
    ASSERT_TRUE(lines) << file;
    std::vector<std::string> kept = Kept();
    std::string played;
    for (std::string line; std::getline(lines, line);) {
        const bool isStep = line.compare(0, 2, "> ") == 0;
        if (isStep || line.empty() || line.compare(0, 2, "# ") == 0)
            played += line + '\n';
        if (!isStep)
            continue;
        Do(line);
        std::string changes;
        const std::vector<std::string> last = std::exchange(kept, Kept());
        for (size_t i = 0; i < kept.size(); ++i)
            if (kept[i] != last[i])
                changes += (changes.empty() ? "now " : ", ") + kept[i];
        if (!changes.empty())
            transcript::Note(changes);
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
