// k274 firmware, fpga and flash: what erases and programs the scanner's memories, and shows a block of them.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>

#include "include/k274.h"
#include "tools/k274/base/errors.h"
#include "tools/k274/base/hex.h"
#include "tools/k274/base/output.h"
#include "tools/k274/base/text.h"
#include "tools/k274/commands/commands.h"
#include "tools/k274/commands/maint.h"
#include "tools/k274/facts/records.h"
#include "tools/k274/files/files.h"

namespace host {

namespace {

using nlohmann::ordered_json;
using std::chrono::milliseconds;

constexpr double kProgrammingTimeout = 60;
constexpr size_t kMostImage = 131072;
constexpr milliseconds kVersionsRead{500}; // the library reads them behind state 12
constexpr milliseconds kUntilFormatted{500};
constexpr size_t kRow = 16;

struct Programming {
    std::string file;
    bool erase = false, keep = false, yes = false;
};

struct FlashOptions {
    int block = -1;
    bool format = false, yes = false;
    std::string out;
};

// The library cuts what is longer, and half an image would be programmed.
void CheckImage(const std::string &file) {
    const size_t size = ReadFile(file).size();
    if (size == 0 || size > kMostImage)
        throw HostError(Exit::kBadFile,
                        file + " is no image: it has " + std::to_string(size) + " bytes, of 1 to 131072");
}

ordered_json Shown(const K274_Version &version) {
    return {{"firmware", Dotted(version.firmware, 3)}, {"fpga", Dotted(version.fpga, 2)}};
}

// Programs, waits for the restart and shows what has become of the versions.
// @param start begins the job; its result as the library tells it
template <typename Start>
void Program(const Options &options, Output &output, const char *event, const char *file, Start start) {
    K274_AutoFwUpgrade(0); // the image that was asked for stays
    Session session(options, output);
    session.WaitOnline(Deadline(ScannerTimeout(options)));
    const K274_Version before = ReadVersions(session);
    session.ShowUntil(session.Start() + kUntilNotices);
    RequireNoCard();
    output.Progress("sending; leave the scanner connected");
    switch (start()) {
    case 0:
        break;
    case 1:
        throw HostError(Exit::kBadFile, std::string("the image cannot be read: ") + file);
    case 2:
        throw HostError(Exit::kDeviceLost, "the image could not be sent: check the cable and retry");
    default:
        throw HostError(Exit::kCancelled, "the scanner refused the image: it was not changed");
    }
    output.Progress("programming; this takes some seconds");
    const Clock::time_point deadline = Deadline(options.timeout.value_or(kProgrammingTimeout));
    output.Pending("waiting for the scanner to restart");
    for (bool restarted = false; !restarted;) {
        const std::optional<Event> next = session.Next(deadline);
        if (!next)
            throw HostError(Exit::kTimeout,
                            "the scanner did not restart: unplug it, connect it again and look "
                            "at its versions with k274 info");
        output.State(next->state, next->time);
        restarted = next->state == K274_STATE_DEVICE_RESET;
    }
    output.Pending(nullptr);
    session.ShowUntil(Clock::now() + kVersionsRead);
    K274_Version after = {};
    K274_GetVersion(&after);
    const ordered_json was = Shown(before), is = Shown(after);
    output.Note("firmware          " + is["firmware"].get<std::string>() + ", was " +
                was["firmware"].get<std::string>());
    output.Note("FPGA              " + is["fpga"].get<std::string>() + ", was " +
                was["fpga"].get<std::string>());
    output.Object({{"event", event},
                   {"file", *file == '\0' ? nullptr : ordered_json(file)},
                   {"before", was},
                   {"after", is}});
}

void Firmware(const Options &options, const Programming &chosen, Output &output) {
    const bool carried = chosen.file.empty();
    if (!carried)
        CheckImage(chosen.file);
    Confirm(chosen.yes, output,
            "replace the scanner's firmware by " +
                (carried ? "the image that the library carries" : chosen.file));
    Program(options, output, "firmware", chosen.file.c_str(),
            [&] { return K274_ProgFlash(carried ? nullptr : chosen.file.c_str()); });
}

void Fpga(const Options &options, const Programming &chosen, Output &output) {
    if (chosen.erase != chosen.file.empty() || (chosen.erase && chosen.keep))
        throw HostError(Exit::kUsage, "fpga takes a FILE, or --erase alone");
    if (!chosen.erase)
        CheckImage(chosen.file);
    Confirm(chosen.yes, output,
            chosen.erase ? "erase the FPGA configuration"
                         : "replace the FPGA configuration by " + chosen.file);
    Program(options, output, "fpga", chosen.file.c_str(), [&]() -> int32_t {
        if (chosen.erase) {
            K274_EraseFPGA();
            return 0;
        }
        return chosen.keep ? K274_ProgFpgaEx(chosen.file.c_str()) : K274_ProgFpga(chosen.file.c_str());
    });
}

void ShowBlock(const std::vector<uint8_t> &block, Output &output) {
    for (size_t at = 0; at < block.size(); at += kRow) {
        const uint8_t *row = block.data() + at;
        // Rows that repeat the one before are left out.
        if (at != 0 && std::equal(row, row + kRow, row - kRow))
            continue;
        std::string text;
        for (size_t i = 0; i < kRow; ++i)
            text += row[i] >= ' ' && row[i] < 0x7F ? static_cast<char>(row[i]) : '.';
        char offset[24];
        std::snprintf(offset, sizeof offset, "%04x  ", static_cast<unsigned>(at));
        output.Note(offset + HexText(row, kRow) + "  " + text);
    }
}

void Flash(const Options &options, const FlashOptions &chosen, Output &output) {
    if (chosen.format == (chosen.block >= 0))
        throw HostError(Exit::kUsage, "flash takes the number of a BLOCK, or --format alone");
    if (chosen.format)
        Confirm(chosen.yes, output, "erase the factory record, the user record and the calibration");
    Session session(options, output);
    Connect(session, options);
    if (chosen.format) {
        RequireNoCard();
        K274_FormatFlash();
        session.ShowUntil(Clock::now() + kUntilFormatted);
        output.Note("the scanner was told to format its data flash; it needs a calibration now");
        output.Object({{"event", "flash"}, {"format", true}});
        return;
    }
    std::vector<uint8_t> block(K274_FLASH_BLOCK);
    if (!Persist(session,
                 [&] { return K274_RdFlashData(block.data(), static_cast<uint16_t>(chosen.block)) == 1; }))
        NoAnswer("flash block");
    if (chosen.out.empty())
        ShowBlock(block, output);
    else
        WriteOut(chosen.out, block.data(), block.size(), output);
    output.Object(
        {{"event", "flash"}, {"block", chosen.block}, {"base64", Base64(block.data(), block.size())}});
}

} // namespace

void AddProgramming(CLI::App &app, const Options &options, Command &chosen) {
    CLI::App *firmware = app.add_subcommand("firmware", "program the scanner's firmware");
    const auto image = std::make_shared<Programming>();
    firmware->add_option("file", image->file, "image; without one, that which the library carries")
        ->type_name("FILE");
    AddYes(*firmware, image->yes);
    firmware->callback([image, &options, &chosen] {
        chosen = [image, &options](Output &output) { Firmware(options, *image, output); };
    });

    CLI::App *fpga = app.add_subcommand("fpga", "program or erase the FPGA configuration");
    const auto configuration = std::make_shared<Programming>();
    fpga->add_option("file", configuration->file, "configuration")->type_name("FILE");
    fpga->add_flag("--no-erase", configuration->keep, "program without erasing first");
    fpga->add_flag("--erase", configuration->erase, "erase only");
    AddYes(*fpga, configuration->yes);
    fpga->callback([configuration, &options, &chosen] {
        chosen = [configuration, &options](Output &output) { Fpga(options, *configuration, output); };
    });

    CLI::App *flash = app.add_subcommand("flash", "show a block of the flash, or format the data areas");
    const auto area = std::make_shared<FlashOptions>();
    flash->add_option("block", area->block, "number of a block")
        ->type_name("BLOCK")
        ->check(CLI::Range(0, 65535));
    flash->add_flag("--format", area->format, "erase factory record, user record and calibration");
    flash->add_option("--out", area->out, "write the block's 4096 bytes into this file")->type_name("FILE");
    AddYes(*flash, area->yes);
    flash->callback([area, &options, &chosen] {
        chosen = [area, &options](Output &output) { Flash(options, *area, output); };
    });
}

} // namespace host
