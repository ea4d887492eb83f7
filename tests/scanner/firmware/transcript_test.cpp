// Scripts of what a host and the people around it do to a scanner, each line with what comes of it under it,
// in transcripts/. Its first lines say how they are written. K274_RENEW=1 writes the outcomes anew.
#include "device_fixture.h"
#include "scanner/firmware/faults.h"
#include "tests/scanner/transcript.h"
#include "wire/commands.h"
#include "wire/status.h"

#include <zlib.h>

#include <cstring>
#include <functional>
#include <iomanip>
#include <map>
#include <regex>
#include <sstream>

namespace {

using namespace wire;

// The fields of VS_Observed, each a number of 32 bits, in their order.
constexpr char kObserved[] =
    "led0 led1 led2 led3 led4 led5 led6 led7 userLed beeps lastBeep ejects resets clears handshakes closes "
    "guiScans hardResets portCycles pipeResets loggedIn pollLogin pollScanMode uvOption secondScan "
    "lastScanMode "
    "lastScanLines polls rgbBlocks scans cancelled unknownCommands lastSequence irBlocks uvBlocks "
    "stripeReads "
    "trackReads whiteCardNumber hiresBlocks ledByte0 ledByte1 ledByte2 mechTests lastMechTest mechParameter0 "
    "mechParameter1 loopbacks agingMode firmwareLoads fpgaLoads firmwarePrograms fpgaPrograms fpgaErases "
    "formats "
    "recordWrites calibrationWrites afeWrites";
using Counts = std::array<uint32_t, sizeof(VS_Observed) / sizeof(uint32_t)>;

std::string Hex(uint32_t value, int digits) {
    std::ostringstream text;
    text << std::hex << std::uppercase << std::setfill('0') << std::setw(digits) << value;
    return text.str();
}

/// Bytes in hexadecimal, those that repeat by their number; many that differ by their checksum.
std::string BytesText(const uint8_t *bytes, size_t count) {
    constexpr size_t kMostWords = 80;
    std::string text;
    size_t words = 0;
    for (size_t k = 0, run; k < count && words <= kMostWords; k += run, words++) {
        for (run = 1; k + run < count && bytes[k + run] == bytes[k];)
            run++;
        text += (text.empty() ? "" : " ") + (run > 2 ? std::to_string(run) + "x" : "") + Hex(bytes[k], 2);
        run = run > 2 ? run : 1;
    }
    const auto sum = static_cast<uint32_t>(crc32(0, bytes, static_cast<uInt>(count)));
    return words <= kMostWords ? text : Hex(bytes[0], 2) + " ... " + Hex(sum, 8);
}

/// What a field of a command may be: a number, or a letter.
uint32_t Number(const std::string &text) {
    return std::isalpha(text[0]) != 0 ? static_cast<uint8_t>(text[0])
                                      : static_cast<uint32_t>(std::stoul(text, nullptr, 0));
}

/// Bytes as "1x02 3x04", or "noise SEED COUNT" with points for blanks.
Bytes DataOf(std::string text) {
    std::replace(text.begin(), text.end(), '.', ' ');
    std::istringstream words(text);
    if (std::string word; text.rfind("noise", 0) == 0 && words >> word) {
        uint32_t seed = 0;
        size_t count = 0;
        words >> seed >> count;
        Bytes noise(count);
        scanner::FillWithNoise(seed, noise.data(), count);
        return noise;
    }
    Bytes bytes;
    for (size_t count = 0; words >> count;) {
        unsigned value = 0;
        words.ignore();
        words >> std::hex >> value >> std::dec;
        bytes.insert(bytes.end(), count, static_cast<uint8_t>(value));
    }
    return bytes;
}

class Player : Desk {
public:
    /// Does what a line says. @return what came of it, a line each
    std::string Do(const std::string &line);

private:
    void Tell(const std::string &text) { told_ += "  " + text + "\n"; }
    Fields Command(std::istringstream &words);
    Traits TraitsOf(std::istringstream &words);
    void Exchange(std::istringstream &words, bool wait);
    void Scan(uint8_t mode, unsigned passes, uint16_t end);
    void TellStatus(uint16_t word);
    void TellReply(InResult result);
    void TellWhatItRemembers();

    TempFolder folder_;
    double speed_ = 1;
    Fields asked_{};
    Bytes reply_;
    Counts remembered_{};
    std::string told_;
};

Fields Player::Command(std::istringstream &words) {
    Fields fields;
    std::string word;
    words >> word;
    fields.code = static_cast<uint8_t>(std::stoul(word, nullptr, 16));
    const std::map<std::string, std::function<void(uint32_t)>> kFields = {
        {"sub", [&](uint32_t value) { fields.sub = static_cast<uint8_t>(value); }},
        {"word0", [&](uint32_t value) { fields.word0 = static_cast<uint16_t>(value); }},
        {"word1", [&](uint32_t value) { fields.word1 = static_cast<uint16_t>(value); }},
        {"arg0", [&](uint32_t value) { fields.arg0 = static_cast<uint8_t>(value); }},
        {"arg1", [&](uint32_t value) { fields.arg1 = static_cast<uint8_t>(value); }},
        {"arg2", [&](uint32_t value) { fields.arg2 = static_cast<uint8_t>(value); }},
        {"dword0", [&](uint32_t value) { fields.dword0 = value; }},
        {"dword1", [&](uint32_t value) { fields.dword1 = value; }},
        {"size", [&](uint32_t value) { fields.size = value; }},
        {"at", [&](uint32_t value) { fields.dataAt = value; }},
    };
    while (words >> word) {
        const size_t equals = word.find('=');
        const std::string name = word.substr(0, equals), value = word.substr(equals + 1);
        if (name == "data")
            fields.data = DataOf(value);
        else
            kFields.at(name)(Number(value));
    }
    return fields;
}

Traits Player::TraitsOf(std::istringstream &words) {
    Traits traits;
    Track *track = nullptr;
    for (std::string word; words >> word;) {
        if (word == "jamming")
            traits.behaviour = Behaviour::kJamming;
        else if (word == "cleaning")
            traits.behaviour = Behaviour::kCleaning;
        else if (word == "backward")
            traits.swipedBackward = true;
        else if (word == "parity")
            track->fault = TrackFault::kParity;
        else if (word == "lrc")
            track->fault = TrackFault::kLrc;
        else if (word == "5-bit")
            track->bits = 5;
        else
            words >> (track = &traits.tracks.at(Number(word) - 1))->text;
    }
    return traits;
}

void Player::TellStatus(uint16_t word) {
    Tell("0x" + Hex(word, 4) + " " + wire::status::KindName(static_cast<uint8_t>(kind)) +
         (job != 0 ? ", job " + std::to_string(job) : ""));
}

void Player::TellReply(InResult result) {
    constexpr const char *kResults[] = {"", "nothing yet", "stalled", "does not fit"};
    if (result != InResult::Data) {
        const double left = std::chrono::duration<double>(device.NextMoment() - fakeNow).count();
        Tell(kResults[static_cast<int>(result)] + (left < 1e6 ? ", in " + std::to_string(left) + " s" : ""));
        return;
    }
    if (asked_.code == wire::command::kEvent) {
        Tell("\"" + Text(reply_) + "\"");
        return;
    }
    const bool lines = asked_.code >= wire::command::kRgbLines && asked_.code <= wire::command::kUvLines;
    const size_t head = std::min(reply_.size(), lines ? wire::kShortHeaderBytes : wire::kHeaderBytes);
    const bool own = reply_[wire::field::kCode] == asked_.code && reply_[wire::field::kSub] == asked_.sub &&
                     Dword(reply_, wire::field::kSequence) == sequence;
    std::string text = std::to_string(reply_.size()) + (own ? " bytes" : " bytes, not of this command");
    wire::Store32(&reply_[wire::field::kSequence], 0);
    for (size_t k = 2, end; k < head; k = end + 1) { // what is not zero, and where
        for (end = k; end < head && reply_[end] != 0;)
            end++;
        text += end > k ? ", " + std::to_string(k) + ": " + BytesText(&reply_[k], end - k) : "";
    }
    Tell(text + (reply_.size() > head ? ", data: " + BytesText(&reply_[head], reply_.size() - head) : ""));
}

void Player::TellWhatItRemembers() {
    const VS_Observed observed = device.Observed();
    Counts now{};
    std::memcpy(now.data(), &observed, sizeof observed);
    std::istringstream names(kObserved);
    std::string text;
    for (size_t k = 0; k < now.size(); k++) {
        std::string name;
        names >> name;
        if (now[k] != remembered_[k] && name != "polls" && name != "lastSequence")
            text += (text.empty() ? "" : ", ") + name + " " + std::to_string(now[k]);
    }
    remembered_ = now;
    if (!text.empty())
        Tell("remembers " + text);
}

void Player::Exchange(std::istringstream &words, bool wait) {
    asked_ = Command(words);
    if (Send(asked_) == OutResult::Stall)
        Tell("refused");
    if (!wait)
        return;
    InResult result;
    while ((result = Read(&reply_)) == InResult::Nak && device.NextMoment() > fakeNow &&
           device.NextMoment() < Clock::TimePoint::max())
        fakeNow = device.NextMoment();
    TellReply(result);
}

/// Polls every 10 ms until a word comes, and fetches the lines of passes: 1 visible, 2 infrared, 4
/// ultraviolet.
void Player::Scan(uint8_t mode, unsigned passes, uint16_t end) {
    std::string text;
    uint16_t word = Poll(mode), last = word;
    for (int polls = 1, all = 0; word != end && all < 3000; all++) {
        Wait(0.01);
        word = Poll(mode);
        if (word == last) {
            polls++;
            continue;
        }
        text += std::to_string(polls) + " x 0x" + Hex(last, 4) + ", ";
        last = word;
        polls = 1;
        for (const Fetched &f : kPassesFetched)
            if (word == f.word && (passes >> (f.Code() - 1) & 1) != 0)
                Fetch(f);
    }
    Tell(text + "0x" + Hex(word, 4));
}

std::string Player::Do(const std::string &line) {
    std::istringstream words(line);
    std::string verb, word;
    words >> verb;
    double number = 0;
    unsigned mode = 0;
    const auto name = [&] { return words >> word ? word : std::string(); };
    const std::map<std::string, std::function<void()>> kVerbs = {
        {"speed", [&] { words >> speed_, clock.SetSpeed(speed_); }},
        {"wait", [&] { words >> number, Wait(number); }},
        {"pass", [&] { words >> number, Wait(speed_ == 0 ? 0 : number / speed_); }},
        {"seed", [&] { words >> mode, device.SetSeed(mode); }},
        {"card", [&] { device.InsertCard(PlainCard(TraitsOf(words))) ? void() : Tell("the slot is taken"); }},
        {"open", [&] { device.OpenDoor(); }},
        {"close", [&] { device.CloseDoor(); }},
        {"eject", [&] { device.PressEject(); }},
        {"restart", [&] { device.Restart(); }},
        {"off", [&] { device.PowerOff(); }},
        {"on", [&] { device.PowerOn(); }},
        {"reset", [&] { device.Reset(); }},
        {"identity",
         [&] {
             device.State().identity = {0x11223344, 0x5566778899AABBCC, {2, 3, 6}, {1, 12}, 6, 7, 0};
         }},
        {"post",
         [&] {
             words >> mode, name();
             while (mode-- > 0)
                 device.State().events.Post(word) ? void() : Tell("the queue is full");
         }},
        {"flash", [&] { device.State().flashFile.Open(device.State(), folder_.File("flash.bin")); }},
        {"forget",
         [&] { // another process has the scanner
             device.State().stored = {};
             device.State().identity = kFactoryIdentity;
             device.State().calibration.Follow(device.State().lines.Lamps());
         }},
        {"poll", [&] { TellStatus(Poll(name() == "R" ? 'R' : 0)); }},
        {"until", [&] { Scan(0, 0, static_cast<uint16_t>(Number(name()))); }},
        {"scan", [&] { words >> mode, Scan(name() == "R" ? 'R' : 0, mode, 0); }},
        {"fetch", [&] { words >> mode, Fetch(kPassesFetched[mode - 1]); }},
        {"events",
         [&] {
             for (const std::string &text : Events())
                 Tell(text);
         }},
        {">", [&] { Exchange(words, true); }},
        {"send", [&] { Exchange(words, false); }},
        {"read", [&] { TellReply(Read(&reply_, words >> mode ? mode : kMaxReplyBytes)); }},
    };
    told_.clear();
    kVerbs.at(verb)();
    TellWhatItRemembers();
    return told_;
}

/// What comes of each line of a scenario. After a line "with $NAME = A B" the scenario is played with A and
/// with B in the place of $NAME, and the same must come of it.
Lines Outcomes(Lines lines) {
    const auto with =
        std::find_if(lines.begin(), lines.end(), [](const auto &l) { return l.rfind("with ", 0) == 0; });
    Lines outcomes;
    if (with == lines.end()) {
        Player player;
        for (const std::string &line : lines)
            outcomes.push_back(line.empty() || line[0] == '#' || line[0] == '=' ? "" : player.Do(line));
        return outcomes;
    }
    std::istringstream words(with->substr(5));
    std::string name, value;
    *with = "";
    for (words >> name >> value; words >> value;) {
        Lines filled;
        for (const std::string &line : lines)
            filled.push_back(std::regex_replace(line, std::regex("\\" + name), value));
        const Lines now = Outcomes(filled);
        EXPECT_EQ(outcomes.empty() ? now : outcomes, now) << lines[0] << " with " << name << " = " << value;
        outcomes = outcomes.empty() ? now : outcomes;
    }
    return outcomes;
}

struct Transcripts : testing::TestWithParam<const char *> {};

TEST_P(Transcripts, ComeOutAsTheyStand) {
    ExpectTranscript(std::string("scanner/firmware/transcripts/") + GetParam(), Outcomes);
}

INSTANTIATE_TEST_SUITE_P(Device, Transcripts,
                         testing::Values("commands.txt", "scans.txt", "interruptions.txt", "programming.txt",
                                         "flash.txt"));

} // namespace
