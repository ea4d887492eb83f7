#include "tests/support/transcript.h"

#include "tests/support/files.h"
#include "wire/bytes.h"
#include "wire/commands.h"
#include "wire/packet.h"

#include <algorithm>
#include <mutex>
#include <numeric>
#include <sstream>

namespace transcript {

namespace {

/// A number that may count from line to line stands between two texts.
struct Line {
    std::string text;
    int64_t number = -1; // -1: none
    std::string rest;
};

std::recursive_mutex lock;
bool noting = false;
std::vector<Line> lines;
std::string log;
size_t logEnd = 0;
uint32_t lastNumber = 0; // of the packets sent

/// The log's new lines, without the decoder's time.
void NoteLog() {
    const std::string all = ReadText(log), text = all.substr(std::min(logEnd, all.size()));
    logEnd = std::max(logEnd, all.size());
    for (std::string line : LogLines(text)) {
        if (const size_t duration = line.find("dur:"); duration != std::string::npos)
            line.replace(duration + 4, 3, "...");
        lines.push_back({"log \"" + line + '"', -1, ""});
    }
}

void Append(Line line) {
    std::lock_guard guard(lock);
    if (!noting)
        return;
    NoteLog();
    lines.push_back(std::move(line));
}

size_t Repeats(size_t from, size_t period) {
    for (size_t times = 1;; ++times) {
        if (from + (times + 1) * period > lines.size())
            return times;
        for (size_t i = from; i < from + period; ++i) {
            const Line &first = lines[i], &second = lines[i + period], &now = lines[i + times * period];
            const auto step = second.number - first.number;
            if (now.text != first.text || now.rest != first.rest ||
                now.number != first.number + static_cast<int64_t>(times) * step)
                return times;
        }
    }
}

void Print(std::ostream &to, const Line &first, const Line &last) {
    to << first.text;
    if (first.number >= 0)
        to << first.number;
    if (last.number != first.number)
        to << " to " << last.number;
    to << first.rest << '\n';
}

} // namespace

void Begin(const std::string &logFile) {
    std::lock_guard guard(lock);
    noting = true;
    lines.clear();
    lastNumber = 0;
    log = logFile;
    logEnd = 0;
    NoteLog();
    lines.clear();
}

void End() {
    std::lock_guard guard(lock);
    noting = false;
}

void Note(const std::string &text) { Append({text, -1, ""}); }

std::string Runs(const uint8_t *bytes, size_t from, size_t end) {
    std::ostringstream text;
    for (size_t next; from < end; from = next) {
        next = from + 1;
        while (next < end && bytes[next] == bytes[from])
            ++next;
        if (bytes[from] == 0)
            continue;
        text << (text.tellp() > 0 ? ", " : "") << from;
        if (next > from + 1)
            text << " to " << next - 1;
        text << ": " << int{bytes[from]};
    }
    return text.str();
}

void NoteSend(const std::vector<uint8_t> &packet, uint32_t status) {
    namespace field = wire::field;
    const char *name = wire::CommandName(packet[0]);
    std::ostringstream text, rest;
    const auto tell = [](std::ostream &to, const char *what, uint32_t value, uint32_t untold = 0) {
        if (value != untold)
            to << ", " << what << value;
    };
    text << "send " << (name ? name : "?") << " (" << std::hex << int{packet[0]} << std::dec << "), "
         << packet.size() << " bytes";
    Line line;
    tell(text, "sub ", packet[field::kSub]);
    tell(text, "status ", packet[field::kStatus], wire::kFreshStatus);
    const uint8_t code = packet[field::kCode];
    const bool image = code >= wire::command::kRgbLines && code <= wire::command::kHiresLines;
    if (const uint16_t word = wire::Load16(&packet[field::kWord0]); word || image) {
        text << ", from ";
        line.number = word;
    }
    tell(rest, "count ", wire::Load16(&packet[field::kWord1]));
    if (wire::Load32(&packet[field::kArguments]))
        for (size_t i = 0; i < field::kArgumentBytes; ++i)
            rest << (i ? " " : ", arguments ") << int{packet[field::kArguments + i]};
    if (packet.size() >= wire::kHeaderBytes)
        for (const size_t at : {field::kDword0, field::kDword1})
            tell(rest, "", wire::Load32(&packet[at]));
    std::vector<uint8_t> others(packet.begin(),
                                packet.begin() + std::min<ptrdiff_t>(packet.size(), wire::kHeaderBytes));
    for (const size_t at : {field::kDword0, field::kDword1})
        if (others.size() > at)
            std::fill_n(&others[at], 4, uint8_t{0});
    if (const std::string runs = Runs(others.data(), field::kValues, others.size()); !runs.empty())
        rest << ", bytes " << runs;
    if (packet.size() > wire::kHeaderBytes)
        rest << ", data of sum " << std::accumulate(packet.begin() + wire::kHeaderBytes, packet.end(), 0);
    if (const uint32_t number = wire::Load32(&packet[field::kSequence]); number != lastNumber + 1)
        rest << ", number " << number;
    else
        lastNumber = number;
    if (status)
        rest << " fails with " << std::hex << status;
    line.text = text.str();
    line.rest = rest.str();
    Append(line);
}

void NoteRead(uint32_t asked, uint32_t came, uint32_t status) {
    std::ostringstream text;
    text << "read " << came << " of " << asked;
    if (status)
        text << " fails with " << std::hex << status;
    Note(text.str());
}

std::string Take() {
    constexpr size_t kLongestPeriod = 8, kFewest = 3;
    std::lock_guard guard(lock);
    NoteLog();
    std::ostringstream text;
    for (size_t i = 0; i < lines.size();) {
        size_t period = 1, times = 1;
        for (size_t p = 1; p <= kLongestPeriod; ++p) {
            const size_t n = i + p <= lines.size() ? Repeats(i, p) : 1;
            if (n >= kFewest && n * p > times * period) {
                period = p;
                times = n;
            }
        }
        if (times > 1)
            text << times << " times\n";
        for (size_t k = 0; k < period; ++k) {
            text << (times > 1 ? "    " : "");
            Print(text, lines[i + k], lines[i + k + (times - 1) * period]);
        }
        i += times * period;
    }
    lines.clear();
    return text.str();
}

} // namespace transcript
