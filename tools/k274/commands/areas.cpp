// k274 userdata and factorydata: the two records of 128 bytes that the scanner keeps.
#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>

#include "include/k274.h"
#include "tools/k274/base/errors.h"
#include "tools/k274/base/hex.h"
#include "tools/k274/base/output.h"
#include "tools/k274/base/text.h"
#include "tools/k274/commands/commands.h"
#include "tools/k274/commands/maint.h"
#include "tools/k274/files/files.h"

namespace host {

namespace {

constexpr int kRecord = 128;

struct Area {
    const char *command, *name;
    uint8_t (*read)(uint8_t *, int32_t);
    uint8_t (*write)(const uint8_t *, int32_t);
};
constexpr Area kAreas[] = {{"userdata", "user record", K274_RdUserData, K274_WrUserData},
                           {"factorydata", "factory record", K274_RdFactData, K274_WrFactData}};

struct AreaOptions {
    bool hex = false, yes = false;
    std::string out, text, in;
};

std::vector<uint8_t> Read(Session &session, const Area &area) {
    std::vector<uint8_t> record(kRecord);
    if (!Persist(session, [&] { return area.read(record.data(), kRecord) == 1; }))
        NoAnswer(area.name);
    return record;
}

void ReadArea(const Options &options, const Area &area, const AreaOptions &chosen, Output &output) {
    Session session(options, output);
    Connect(session, options);
    const std::vector<uint8_t> record = Read(session, area);
    // What fills a record up is no part of its text: zeros behind a write, 0xFF where nothing was written.
    size_t length = record.size();
    while (length > 0 && (record[length - 1] == 0 || record[length - 1] == 0xFF))
        --length;
    if (!chosen.out.empty())
        WriteOut(chosen.out, record.data(), record.size(), output);
    else if (chosen.hex)
        output.Note(HexText(record.data(), record.size()));
    else
        output.Note(length == 0 ? "(empty)" : VisibleText(Utf8Text(record.data(), length)));
    output.Object({{"event", area.command},
                   {"text", Utf8Text(record.data(), length)},
                   {"base64", Base64(record.data(), record.size())}});
}

std::vector<uint8_t> Content(const AreaOptions &chosen) {
    if (chosen.in.empty() == chosen.text.empty() || (chosen.hex && !chosen.in.empty()))
        throw HostError(Exit::kUsage, "write takes a TEXT, with --hex one of digits, or --in FILE");
    std::vector<uint8_t> content = !chosen.in.empty() ? ReadFile(chosen.in)
                                   : chosen.hex
                                       ? ParseHex(chosen.text)
                                       : std::vector<uint8_t>(chosen.text.begin(), chosen.text.end());
    if (content.size() > kRecord)
        throw HostError(chosen.in.empty() ? Exit::kUsage : Exit::kBadFile,
                        "the record holds 128 bytes and not " + std::to_string(content.size()));
    content.resize(kRecord);
    return content;
}

void WriteArea(const Options &options, const Area &area, const AreaOptions &chosen, Output &output) {
    const std::vector<uint8_t> content = Content(chosen);
    Confirm(chosen.yes, output, std::string("replace the ") + area.name);
    Session session(options, output);
    Connect(session, options);
    if (area.write(content.data(), kRecord) != 1)
        NoAnswer(area.name);
    // Nothing answers a write, so it is read back.
    if (Read(session, area) != content)
        throw HostError(Exit::kFailedTest,
                        std::string("the ") + area.name + " does not hold what was written");
    output.Note(std::string("the ") + area.name + " was written");
    output.Object({{"event", area.command}, {"written", kRecord}});
}

} // namespace

void AddAreas(CLI::App &app, const Options &options, Command &chosen) {
    for (const Area &area : kAreas) {
        CLI::App *command =
            app.add_subcommand(area.command, std::string("read or write the ") + area.name + " of 128 bytes");
        command->require_subcommand(1);
        const auto values = std::make_shared<AreaOptions>();
        CLI::App *read = command->add_subcommand("read", "show it");
        read->add_flag("--hex", values->hex, "as hexadecimal digits");
        read->add_option("--out", values->out, "write its bytes into this file")->type_name("FILE");
        read->callback([&area, values, &options, &chosen] {
            chosen = [&area, values, &options](Output &output) { ReadArea(options, area, *values, output); };
        });
        CLI::App *write = command->add_subcommand("write", "replace it; the rest is filled with zeros");
        write->add_option("text", values->text, "its new content")->type_name("TEXT");
        write->add_flag("--hex", values->hex, "TEXT is of hexadecimal digits, two a byte");
        write->add_option("--in", values->in, "file with its new content")->type_name("FILE");
        AddYes(*write, values->yes);
        write->callback([&area, values, &options, &chosen] {
            chosen = [&area, values, &options](Output &output) { WriteArea(options, area, *values, output); };
        });
        read->fallthrough();
        write->fallthrough();
    }
}

} // namespace host
