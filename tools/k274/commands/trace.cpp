// k274 trace: shows a recording of the traffic with a scanner; without a scanner.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>

#include "platform/recording/commands.h"
#include "platform/recording/recording.h"
#include "tools/k274/base/errors.h"
#include "tools/k274/base/hex.h"
#include "tools/k274/base/output.h"
#include "tools/k274/base/text.h"
#include "tools/k274/commands/commands.h"
#include "tools/k274/commands/maint.h"
#include "tools/k274/facts/packet_fields.h"
#include "wire/commands.h"

namespace host {

namespace {

using nlohmann::ordered_json;
using recording::Entry;
using recording::Kind;

constexpr size_t kExcerpt = 16, kRow = 32;

struct TraceOptions {
    std::string file;
    std::vector<std::string> commands; // names or codes; none: all
    bool data = false;
};

std::optional<uint8_t> FindCommand(const std::string &text) {
    for (const wire::NamedCommand &command : wire::kCommands) {
        if (text == command.name)
            return command.code;
    }
    char *end = nullptr;
    const long code = std::strtol(text.c_str(), &end, 0);
    return text.empty() || *end != '\0' || code < 0 || code > 255
               ? std::nullopt
               : std::optional<uint8_t>(static_cast<uint8_t>(code));
}

std::string CheckCommand(const std::string &text) {
    return FindCommand(text)
               ? std::string()
               : "\"" + text + "\" is neither a command's name, such as \"status poll\", nor its code";
}

template <typename... Values>
std::string Formatted(const char *format, Values... values) {
    char text[160];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

std::string Utc(uint64_t microseconds) {
    // Of a damaged time no more than the last one that has four digits for its year.
    const auto seconds = static_cast<std::time_t>(std::min<uint64_t>(microseconds / 1000000, 253402300799));
    char text[40] = "";
    if (const std::tm *time = std::gmtime(&seconds))
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", time);
    return text;
}

const char *KindName(Kind kind) {
    switch (kind) {
    case Kind::Init:
        return "init";
    case Kind::Uninit:
        return "uninit";
    case Kind::Attach:
        return "attach";
    case Kind::AttachAnswer:
        return "attach-answer";
    case Kind::Detach:
        return "detach";
    case Kind::Transfer:
        return "transfer";
    case Kind::PipeReset:
        return "pipe-reset";
    case Kind::DeviceReset:
        return "device-reset";
    }
    return "";
}

std::string FieldText(const ordered_json &fields) {
    std::string text;
    for (const auto &[name, value] : fields.items()) {
        text += text.empty() ? "" : ", ";
        if (value.is_array()) {
            for (const ordered_json &item : value)
                text += (&item == &value.front() ? name + " (" : " (") + FieldText(item) + ")";
        } else {
            text += name + " " + (value.is_string() ? value.get<std::string>() : value.dump());
        }
    }
    return VisibleText(text);
}

/// One entry with what it means.
struct Shown {
    Entry entry;
    uint64_t number;
    unsigned session;
    std::optional<uint8_t> command;

    ordered_json Fields() const;
    std::string Text() const;
    std::string TransferText() const;
    ordered_json Object(bool data) const;
};

ordered_json Shown::Fields() const {
    switch (entry.kind) {
    case Kind::Init: {
        const recording::SessionStart start = recording::DecodeStart(entry);
        return {
            {"started", Utc(start.unixUs)},
            {"device", Utf8Text(reinterpret_cast<const uint8_t *>(start.device.data()), start.device.size())},
            {"vendor", Formatted("0x%04X", unsigned{start.vendor})},
            {"product", Formatted("0x%04X", unsigned{start.product})}};
    }
    case Kind::Attach:
        return DescriptorFields(entry);
    case Kind::AttachAnswer:
        return {{"accepted", entry.status != 0}};
    case Kind::DeviceReset:
        return {{"options", entry.pipe}};
    case Kind::Transfer:
        return !command     ? ordered_json::object()
               : entry.read ? ReplyFields(*command, entry)
                            : CommandFields(entry);
    default:
        return ordered_json::object();
    }
}

std::string Shown::TransferText() const {
    std::string text = entry.read ? "in   " : "out  ";
    text += command ? recording::CommandText(*command) : "no command";
    text += entry.transferred == entry.size || (entry.read && entry.status == 0)
                ? Formatted(", %u bytes", static_cast<unsigned>(entry.transferred))
                : Formatted(", %u of %u bytes", static_cast<unsigned>(entry.transferred),
                            static_cast<unsigned>(entry.size));
    return text;
}

std::string Shown::Text() const {
    std::string text =
        Formatted("%7llu %12.6f %9.3f  ", static_cast<unsigned long long>(number),
                  static_cast<double>(entry.startUs) / 1e6,
                  (static_cast<double>(entry.endUs) - static_cast<double>(entry.startUs)) / 1e3);
    if (entry.kind == Kind::Transfer)
        text += TransferText();
    else if (entry.kind == Kind::PipeReset)
        text += Formatted("reset of pipe 0x%02X", static_cast<unsigned>(entry.pipe));
    else
        text += KindName(entry.kind);
    if (entry.kind == Kind::Init)
        text += " of session " + std::to_string(session);
    if (entry.status != 0 && entry.kind != Kind::AttachAnswer)
        text += ", " + recording::StatusText(entry.status);
    if (entry.kind == Kind::Uninit && entry.dataBytes > 0)
        text += ": " + VisibleText(Utf8Text(entry.data, entry.dataBytes));
    if (const std::string fields = FieldText(Fields()); !fields.empty())
        text += ": " + fields;
    return text;
}

ordered_json Shown::Object(bool data) const {
    ordered_json object = {{"event", "entry"},
                           {"entry", number},
                           {"session", session},
                           {"kind", KindName(entry.kind)},
                           {"order", entry.order},
                           {"thread", entry.thread},
                           {"device", entry.device},
                           {"us", entry.startUs},
                           {"durationUs", entry.endUs > entry.startUs ? entry.endUs - entry.startUs : 0},
                           {"status", entry.status}};
    if (entry.kind == Kind::Transfer) {
        object["direction"] = entry.read ? "in" : "out";
        object["command"] = command ? ordered_json(*command) : ordered_json();
        const char *name = command ? wire::CommandName(*command) : nullptr;
        object["name"] = name != nullptr ? ordered_json(name) : ordered_json();
        object["size"] = entry.size;
        object["transferred"] = entry.transferred;
        object["timeoutMs"] = entry.timeoutMs;
    }
    if (entry.kind == Kind::Transfer || entry.kind == Kind::PipeReset)
        object["pipe"] = entry.pipe;
    object["fields"] = Fields();
    if (data)
        object["base64"] = Base64(entry.data, entry.dataBytes);
    return object;
}

void ShowData(const Entry &entry, bool all, Output &output) {
    if (output.Json() || entry.kind != Kind::Transfer)
        return;
    for (size_t at = 0; all && at < entry.dataBytes; at += kRow)
        output.Note(Formatted("%39s %06zx  ", "", at) +
                    HexText(entry.data + at, std::min<size_t>(kRow, entry.dataBytes - at)));
}

struct Totals {
    uint64_t transfers = 0, failed = 0, bytes = 0;
};

void Count(const Entry &entry, Totals *totals) {
    if (entry.kind != Kind::Transfer)
        return;
    totals->transfers++;
    totals->failed += entry.status != 0 ? 1 : 0;
    totals->bytes += std::min(entry.transferred, entry.size);
}

void Show(const Shown &shown, bool data, Output &output) {
    if (output.Json()) {
        output.Object(shown.Object(data));
        return;
    }
    const Entry &entry = shown.entry;
    const bool excerpt = !data && entry.kind == Kind::Transfer && entry.dataBytes > 0;
    const size_t count = std::min<size_t>(kExcerpt, entry.dataBytes);
    output.Note(shown.Text() + (excerpt ? "  | " + HexText(entry.data, count) : "") +
                (excerpt && count < entry.dataBytes ? " ..." : ""));
    ShowData(entry, data, output);
}

recording::Reader Open(const std::string &file) {
    try {
        return recording::Reader(file);
    } catch (const std::runtime_error &error) {
        throw HostError(Exit::kBadFile, error.what());
    }
}

void Trace(const TraceOptions &options, Output &output) {
    std::set<uint8_t> wanted;
    for (const std::string &text : options.commands)
        wanted.insert(*FindCommand(text));
    recording::Reader reader = Open(options.file);
    recording::Exchanges exchanges;
    Totals totals;
    unsigned sessions = 0;
    output.Note("  entry            s        ms");
    for (Entry entry; reader.Next(&entry);) {
        sessions += entry.kind == Kind::Init ? 1 : 0;
        Count(entry, &totals);
        const Shown shown{entry, reader.Number(), sessions, exchanges.CommandOf(entry)};
        if (wanted.empty() || (shown.command && wanted.count(*shown.command) != 0))
            Show(shown, options.data, output);
    }
    const std::string end = reader.EndText();
    const bool damaged = reader.HowEnded() == recording::Reader::End::Damaged;
    output.Note(Formatted("%llu entries, %u sessions, %llu transfers (%llu failed), %llu bytes",
                          static_cast<unsigned long long>(reader.Number()), sessions,
                          static_cast<unsigned long long>(totals.transfers),
                          static_cast<unsigned long long>(totals.failed),
                          static_cast<unsigned long long>(totals.bytes)));
    if (!end.empty() && !damaged)
        output.Note("the recording is " + end);
    output.Object({{"event", "trace"},
                   {"file", options.file},
                   {"entries", reader.Number()},
                   {"sessions", sessions},
                   {"transfers", totals.transfers},
                   {"failed", totals.failed},
                   {"bytes", totals.bytes},
                   {"cutShort", reader.HowEnded() == recording::Reader::End::CutShort},
                   {"endByte", reader.EndByte()}});
    if (damaged)
        throw HostError(Exit::kBadFile, options.file + " is " + end);
}

} // namespace

void AddTrace(CLI::App &app, const Options &, Command &chosen) {
    CLI::App *command = app.add_subcommand("trace", "show a recording of the traffic with a scanner");
    const auto options = std::make_shared<TraceOptions>();
    command->add_option("file", options->file, "recording, as K274_RECORD makes it")
        ->type_name("FILE")
        ->required();
    command
        ->add_option("--command", options->commands,
                     "show the transfers of this command alone, by name or code; may be repeated")
        ->type_name("COMMAND")
        ->expected(1)
        ->take_all()
        ->check(CheckCommand);
    command->add_flag("--data", options->data, "show all bytes");
    command->callback(
        [options, &chosen] { chosen = [options](Output &output) { Trace(*options, output); }; });
}

} // namespace host
