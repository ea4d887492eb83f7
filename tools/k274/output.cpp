// Lines for people, JSON lines for machines. A terminal gets a live line with the running stage.
#include "tools/k274/output.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>

#include "tools/k274/states.h"
#include "tools/k274/system.h"

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

Output::Output(bool json) : json_(json) {
    if (!json_ && IsTerminal(stdout) && EnableEscapes(stdout)) {
        live_ = true;
        const char *noColour = std::getenv("NO_COLOR");
        colours_ = noColour == nullptr || *noColour == '\0';
    }
}

void Output::BeginScan(int number, Clock::time_point zero) {
    scan_ = number;
    scanZero_ = zero;
}

void Output::State(const Event &event) {
    const StateInfo state = DescribeState(event.state);
    const auto sinceStart = static_cast<int64_t>(Milliseconds(event.time - start_));
    const auto sinceCard = static_cast<int64_t>(Milliseconds(event.time - scanZero_));
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
        std::fprintf(stderr, "k274: warning: %s (%d)\n", state.text, static_cast<int>(state.code));
        return;
    }
    char time[32];
    std::snprintf(time, sizeof time, "%8lld ms  ",
                  static_cast<long long>(scan_ != 0 ? sinceCard : sinceStart));
    Line(time + Coloured(state.text, ColourOf(state.tone)) + " (" + std::to_string(state.code) + ")");
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
    std::printf("\r\x1b[K%s%s ...", time, Coloured(pending_, "\x1b[36m").c_str());
    drawn_ = now;
    liveShown_ = true;
    Flush();
}

void Output::Progress(const std::string &text) {
    if (json_)
        return;
    ClearLive();
    Flush();
    std::fprintf(stderr, "k274: %s\n", text.c_str());
}

void Output::Object(const ordered_json &object) {
    if (json_)
        Line(Dump(object));
}

void Output::Fail(const HostError &error) {
    if (liveShown_)
        std::fputs("\r\x1b[K", stdout);
    if (json_) {
        const ordered_json object = {{"event", "error"},
                                     {"code", ExitName(error.Status())},
                                     {"status", static_cast<int>(error.Status())},
                                     {"message", error.what()}};
        std::puts(Dump(object).c_str());
    }
    std::fflush(stdout);
    std::fprintf(stderr, "k274: %s\n", error.what());
}

void Output::Line(const std::string &text) {
    ClearLive();
    std::fputs(text.c_str(), stdout);
    std::fputc('\n', stdout);
    Flush();
}

// Whoever reads the lines wants them as they come, and a full disk must not pass for success.
void Output::Flush() {
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
        throw HostError(Exit::kCannotWrite,
                        std::string("cannot write standard output: ") + std::strerror(errno));
}

void Output::ClearLive() {
    if (liveShown_)
        std::fputs("\r\x1b[K", stdout);
    liveShown_ = false;
}

std::string Output::Coloured(const std::string &text, const char *colour) const {
    if (!colours_ || colour == nullptr)
        return text;
    return colour + text + "\x1b[0m";
}

} // namespace host
