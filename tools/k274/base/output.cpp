// Lines for people, JSON lines for machines. A terminal gets a live line with the running stage.
#include "tools/k274/base/output.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>

#include "tools/k274/base/states.h"
#include "tools/k274/base/system.h"

namespace host {

namespace {

using nlohmann::ordered_json;

constexpr auto kRedraw = std::chrono::milliseconds(100);

double Milliseconds(Clock::duration time) { return std::chrono::duration<double, std::milli>(time).count(); }

const char *ColourOf(Tone tone) {
    switch (tone) {
    case Tone::kGood:
        return "\x1b[32m";
    case Tone::kNotice:
        return "\x1b[33m";
    case Tone::kBad:
        return "\x1b[31m";
    case Tone::kPlain:
        break;
    }
    return nullptr;
}

std::string Dump(const ordered_json &object) {
    return object.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

} // namespace

Output::Output(bool json, std::FILE *out, std::FILE *err) : json_(json), out_(out), err_(err) {
    if (!json_ && IsTerminal(out_) && EnableEscapes(out_)) {
        live_ = true;
        const char *noColour = std::getenv("NO_COLOR");
        colours_ = noColour == nullptr || *noColour == '\0';
    }
}

void Output::BeginScan(int number, Clock::time_point zero) {
    scan_ = number;
    scanZero_ = zero;
}

void Output::State(int32_t code, Clock::time_point time) {
    const StateInfo state = DescribeState(code);
    const auto sinceStart = static_cast<int64_t>(Milliseconds(time - start_));
    const auto sinceCard = static_cast<int64_t>(Milliseconds(time - scanZero_));
    if (json_) {
        ordered_json object = {
            {"event", "state"}, {"state", state.code}, {"name", state.name}, {"ms", sinceStart}};
        if (scan_ != 0) {
            object["scan"] = scan_;
            object["cardMs"] = sinceCard;
        }
        Object(object);
        return;
    }
    if (state.code < 0) {
        ClearLive();
        Flush();
        std::fprintf(err_, "k274: warning: %s (%d)\n", state.text, static_cast<int>(state.code));
        return;
    }
    char stamp[32];
    std::snprintf(stamp, sizeof stamp, "%8lld ms  ",
                  static_cast<long long>(scan_ != 0 ? sinceCard : sinceStart));
    Line(stamp + Coloured(state.text, ColourOf(state.tone)) + " (" + std::to_string(state.code) + ")");
}

void Output::Note(const std::string &text) {
    if (!json_)
        Line(text);
}

void Output::Pending(const char *stage) {
    ClearLive();
    pending_ = stage == nullptr ? "" : stage;
    pendingSince_ = Clock::now();
    drawn_ = {};
    Tick();
}

void Output::Tick() {
    const Clock::time_point now = Clock::now();
    if (!live_ || pending_.empty() || (liveShown_ && now - drawn_ < kRedraw))
        return;
    char time[32];
    std::snprintf(time, sizeof time, "%8.1f s   ", Milliseconds(now - pendingSince_) / 1000);
    std::fprintf(out_, "\r\x1b[K%s%s ...", time, Coloured(pending_, "\x1b[36m").c_str());
    drawn_ = now;
    liveShown_ = true;
    Flush();
}

void Output::Question(const std::string &text) {
    std::fputs(text.c_str(), err_);
    std::fflush(err_);
}

void Output::Progress(const std::string &text) {
    if (json_)
        return;
    ClearLive();
    Flush();
    std::fprintf(err_, "k274: %s\n", text.c_str());
}

void Output::Object(const ordered_json &object) {
    if (json_)
        Line(Dump(object));
}

void Output::Fail(const HostError &error) {
    if (liveShown_)
        std::fputs("\r\x1b[K", out_);
    if (json_) {
        const ordered_json object = {{"event", "error"},
                                     {"code", ExitName(error.Status())},
                                     {"status", static_cast<int>(error.Status())},
                                     {"message", error.what()}};
        std::fputs((Dump(object) + "\n").c_str(), out_);
    }
    std::fflush(out_);
    std::fprintf(err_, "k274: %s\n", error.what());
}

void Output::Line(const std::string &text) {
    ClearLive();
    std::fputs(text.c_str(), out_);
    std::fputc('\n', out_);
    Flush();
}

// Whoever reads the lines wants them as they come, and a full disk must not pass for success.
void Output::Flush() {
    if (std::fflush(out_) != 0 || std::ferror(out_) != 0)
        throw HostError(Exit::kCannotWrite,
                        std::string("cannot write standard output: ") + std::strerror(errno));
}

void Output::ClearLive() {
    if (liveShown_)
        std::fputs("\r\x1b[K", out_);
    liveShown_ = false;
}

std::string Output::Coloured(const std::string &text, const char *colour) const {
    if (!colours_ || colour == nullptr)
        return text;
    return colour + text + "\x1b[0m";
}

} // namespace host
