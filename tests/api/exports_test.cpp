// The exports that send something, set options or maintain the scanner: what goes over the wire, what is
// kept, logged and answered (transcripts/ here and beside the maintenance tests).
#include "include/k274.h"
#include "platform/os/os.h"
#include "src/maint/rig.h"
#include "src/state/flags.h"
#include "src/state/records.h"
#include "src/state/settings.h"
#include "tests/support/scenario.h"
#include "tests/support/transcript.h"

#include <algorithm>
#include <tuple>

namespace {

std::vector<uint8_t> buffer; // the host's

/// One argument of an export, as a word: a number, a file, the buffer or none.
template <typename Argument>
struct Word {
    std::string word;
    explicit Word(std::istringstream &in) { in >> word; }
    operator Argument() const {
        if constexpr (!std::is_pointer_v<Argument>)
            return static_cast<Argument>(std::stoll(word, nullptr, 0));
        else if constexpr (std::is_same_v<Argument, const char *>)
            return word == "none" ? nullptr : word.c_str();
        else
            return word == "none" ? nullptr : buffer.data();
    }
};

template <typename Result, typename... Arguments>
std::function<void(std::istringstream &)> Call(Result (*function)(Arguments...)) {
    return [function](std::istringstream &in) {
        const std::tuple<Word<Arguments>...> arguments{Word<Arguments>(in)...};
        if constexpr (std::is_void_v<Result>)
            std::apply(function, arguments);
        else
            transcript::Note("= " + std::to_string(std::apply(function, arguments)));
    };
}

template <typename Option>
std::string Values(const Option &options) {
    std::string text;
    for (const auto &value : options)
        text += " " + std::to_string(value);
    return text;
}

void TellKept() {
    using k274::records;
    std::ostringstream text;
    text << "login " << int{k274::state.loginFlag} << ", last scan " << k274::state.lastScanMode
         << ", illumination" << Values(k274::settings.illumination) << ", ultraviolet"
         << Values(k274::settings.uvOption) << ", infrared " << k274::settings.irEnhance << ", parameters "
         << records.metadata.parameter0 << ' ' << records.metadata.parameter1 << ' '
         << records.metadata.parameter3 << ", red gain " << records.afe.words[0];
    transcript::Note(text.str());
}

/// What the fake rig was told since the last time.
std::string TakeRigTrace() {
    void *driver = os::LoadModule("labjackud");
    EXPECT_NE(driver, nullptr) << "run through ctest";
    return driver ? reinterpret_cast<const char *(*)()>(os::ModuleSymbol(driver, "TakeRigTrace"))() : "";
}

struct Exports : Scenario, testing::WithParamInterface<std::string> {
    void SetUp() override {
        Scenario::SetUp();
        buffer.assign(200000, 0);
        steps["SetIllumOpt"] = Call(K274_SetIllumOpt);
        steps["SetUvOpt"] = Call(K274_SetUvOpt);
        steps["UvEnhance"] = Call(K274_UvEnhance);
        steps["IrEnhance"] = Call(K274_IrEnhance);
        steps["UseCertaxis"] = Call(K274_UseCertaxis);
        steps["2ndScan"] = Call(K274_2ndScan);
        steps["LstScan"] = Call(K274_LstScan);
        steps["DebugLEDs"] = Call(K274_DebugLEDs);
        steps["LogIn"] = Call(K274_LogIn);
        steps["Reset"] = Call(K274_Reset);
        steps["Clear"] = Call(K274_Clear);
        steps["RdFlashData"] = Call(K274_RdFlashData);
        steps["RdFactData"] = Call(K274_RdFactData);
        steps["WrFactData"] = Call(K274_WrFactData);
        steps["RdUserData"] = Call(K274_RdUserData);
        steps["WrUserData"] = Call(K274_WrUserData);
        steps["Params"] = Call(K274_Params);
        steps["GetParams"] = Call(K274_GetParams);
        steps["AfeRegs"] = Call(K274_AfeRegs);
        steps["GetFocusImg"] = Call(K274_GetFocusImg);
        steps["GetFocImgAry"] = Call(K274_GetFocImgAry);
        steps["LabJack"] = Call(K274_LabJack);
        steps["kept"] = [](std::istringstream &) { TellKept(); };
        steps["set"] = [](std::istringstream &in) { // of the buffer: from, count, value
            size_t from = 0, count = 0;
            int value = 0;
            in >> from >> count >> value;
            std::fill_n(&buffer.at(from), count, static_cast<uint8_t>(value));
        };
        steps["show"] = [](std::istringstream &in) { // the buffer's beginning
            size_t count = 0;
            in >> count;
            transcript::Note("buffer " + transcript::Runs(buffer.data(), 0, count));
        };
        steps["bytes"] = [this](std::istringstream &in) { // of replies: command, from, count, value
            int code = 0, value = 0;
            size_t from = 0, count = 0;
            in >> std::hex >> code >> std::dec >> from >> count >> value;
            for (size_t i = 0; i < count; ++i)
                patches[code][from + i] = value;
        };
        // The fake rig that is built beside this program; LD_LIBRARY_PATH, set by ctest, leads to it.
        steps["rig-opens"] = [](std::istringstream &) {
            k274::LabJackOpen();
            TakeRigTrace(); // what earlier tests left
        };
        steps["rig"] = [](std::istringstream &) { transcript::Note("= \"" + TakeRigTrace() + '"'); };
    }
};

TEST_P(Exports, SendAndAnswerAsKept) { Play(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Transcripts, Exports, testing::ValuesIn(ScenariosIn("api/transcripts")));

struct ClearTest : LibraryTest {};

TEST_F(ClearTest, FillsTheScanAndLeavesTheRest) {
    const std::tuple<uint8_t *(*)(), size_t, bool> images[] = {
        {K274_GetImgNatFr, 6655200, true},  {K274_GetImgNatBk, 6655200, true},
        {K274_GetImgIrFr, 2633728, true},   {K274_GetImgIrBk, 2633728, true},
        {K274_GetImgIrbFr, 2633728, true},  {K274_GetImgIrbBk, 2633728, true},
        {K274_GetImgUvFr, 1975296, true},   {K274_GetImgUvBk, 1975296, true},
        {K274_GetImgSliFr, 6900000, false}, {K274_GetImgSliBk, 6900000, false},
        {K274_GetImgEdge, 90000, false},    {K274_GetImgMsIr, 576000, false},
        {K274_GetImgMsBl, 256000, true},
    };
    K274_Clear(0);
    for (const auto &[get, size, filled] : images)
        std::fill_n(get(), size, uint8_t{7});
    K274_Clear(0xFF);
    for (const auto &[get, size, filled] : images)
        EXPECT_EQ(std::count(get(), get() + size, filled ? 0xFF : 7), static_cast<ptrdiff_t>(size));
    EXPECT_EQ(k274::state.cleared, 1);
}

} // namespace
