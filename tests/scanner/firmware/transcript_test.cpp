// Scripts of what a host and the people around it do to a scanner, each line with what comes of it under it,
// in transcripts/. Its first lines say how they are written. The clock is the script's.
#include "scanner/firmware/device.h"
#include "scanner/firmware/faults.h"
#include "tests/scanner/transcript.h"
#include "wire.h"
#include "wire/commands.h"
#include "wire/status.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstring>
#include <iomanip>

namespace {

using namespace scanner;
using namespace wire;

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

/// Bytes as "1x02 3x04" in hexadecimal, or "noise SEED COUNT", with points for blanks.
Bytes DataOf(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '.' || c == 'x'; }, ' ');
    Bytes bytes;
    if (text.rfind("noise", 0) == 0) {
        uint32_t seed = 0, count = 0;
        Take(text.substr(5), seed, count);
        bytes.resize(count);
        FillWithNoise(seed, bytes.data(), count);
        return bytes;
    }
    std::istringstream words(text);
    for (unsigned count = 0, value = 0; words >> std::dec >> count >> std::hex >> value;)
        bytes.insert(bytes.end(), count, static_cast<uint8_t>(value));
    return bytes;
}

Clock::TimePoint fakeNow{};

constexpr VS_Identity kIdentity{0x11223344, 0x5566778899AABBCC, {2, 3, 6}, {1, 12}, 6, 7, 0};

// Where the fields of commands are, and how many bytes they have.
constexpr struct {
    const char *name;
    size_t at, bytes;
} kFields[] = {{"sub", 1, 1},   {"word0", 8, 2}, {"word1", 10, 2},  {"arg0", 16, 1},
               {"arg1", 17, 1}, {"arg2", 18, 1}, {"dword0", 44, 4}, {"dword1", 52, 4}};

// The lines of the passes as hosts fetch them, and the status words of their stages.
constexpr struct {
    uint16_t word;
    int first, last, block;
} kPassesFetched[] = {{0x0007, 2188, 100, 12}, {0x001F, 100, 2289, 11}, {0x005F, 1194, 0, 6}};

class Desk : public Player {
public:
    /// @param anySpeed  of scenarios that come out the same at any
    explicit Desk(double anySpeed) {
        device_.PowerOn();
        verbs = {
            {"speed",
             [this, anySpeed](const auto &speed) {
                 clock_.SetSpeed(speed_ = speed == "any" ? anySpeed : std::stod(speed));
             }},
            {"wait", [this](const auto &seconds) { Wait(std::stod(seconds)); }},
            {"pass", [this](const auto &seconds) { Wait(speed_ == 0 ? 0 : std::stod(seconds) / speed_); }},
            {"seed", [this](const auto &seed) { device_.SetSeed(Number(seed)); }},
            {"card",
             [this](const auto &text) {
                 const auto card = LoadCard(AddCard(folder, "card", 200, text));
                 if (!device_.InsertCard(std::make_shared<Card>(card)))
                     Tell("the slot is taken");
             }},
            {"open", [this](auto &) { device_.OpenDoor(); }},
            {"close", [this](auto &) { device_.CloseDoor(); }},
            {"eject", [this](auto &) { device_.PressEject(); }},
            {"restart", [this](auto &) { device_.Restart(); }},
            {"off", [this](auto &) { device_.PowerOff(); }},
            {"on", [this](auto &) { device_.PowerOn(); }},
            {"reset", [this](auto &) { device_.Reset(); }},
            {"identity", [this](auto &) { state_.identity = kIdentity; }},
            {"post",
             [this](const auto &what) {
                 unsigned times = 0;
                 std::string text;
                 for (Take(what, times, text); times > 0; times--)
                     if (!state_.events.Post(text))
                         Tell("the queue is full");
             }},
            {"flash", [this](const auto &file) { state_.flashFile.Open(state_, folder.File(file)); }},
            {"spoil", [this](const auto &what) { Spoil(what); }},
            {"file",
             [this](const auto &file) {
                 const Bytes bytes = ReadBytes(folder.File(file));
                 Tell(std::to_string(bytes.size()) + " bytes: " + BytesText(bytes.data(), bytes.size()));
             }},
            {"forget",
             [this](auto &) { // another process has the scanner
                 state_.stored = {};
                 state_.identity = kFactoryIdentity;
                 state_.calibration.Follow(state_.lines.Lamps());
             }},
            {"poll",
             [this](const auto &mode) {
                 const std::string word = "0x" + Hex(Poll(mode[0]), 4);
                 const int job = reply_.at(17);
                 Tell(word + " " + status::KindName(reply_.at(4)) +
                      (job != 0 ? ", job " + std::to_string(job) : ""));
             }},
            {"until", [this](const auto &word) { Scan(0, 0, Number(word)); }},
            {"scan",
             [this](const auto &what) {
                 unsigned passes = 0;
                 std::string mode;
                 Take(what, passes, mode);
                 Scan(mode[0], passes, 0);
             }},
            {"fetch", [this](const auto &pass) { Fetch(std::stoi(pass)); }},
            {"events",
             [this](auto &) {
                 while (Ask({command::kEvent}) == InResult::Data && !Text(reply_).empty())
                     Tell(Text(reply_));
             }},
            {">",
             [this](const auto &command) {
                 Command(command);
                 TellReply(Await());
             }},
            {"send", [this](const auto &command) { Command(command); }},
            {"read",
             [this](const auto &room) { TellReply(Read(room.empty() ? kMaxReplyBytes : std::stoul(room))); }},
        };
    }

    std::string Do(const std::string &line) {
        testing::internal::CaptureStderr();
        Player::Do(line);
        std::istringstream said(testing::internal::GetCapturedStderr());
        for (std::string text; std::getline(said, text);)
            Tell(text);
        TellWhatItRemembers();
        return told;
    }

private:
    InResult Read(size_t room = kMaxReplyBytes) {
        reply_.assign(room, 0xEE);
        size_t size = 0;
        const InResult result = device_.In(reply_.data(), room, &size);
        reply_.resize(size);
        return result;
    }

    /// Reads, waiting for the head.
    InResult Await() {
        InResult result;
        while ((result = Read()) == InResult::Nak && device_.NextMoment() > fakeNow &&
               device_.NextMoment() < Clock::TimePoint::max())
            fakeNow = device_.NextMoment();
        return result;
    }

    InResult Ask(const Fields &fields) {
        Send(Packet(fields, ++sequence_));
        return Await();
    }

    /// @return the status word
    uint16_t Poll(char mode) { return Ask(PollFields(static_cast<uint8_t>(mode))), Word(reply_, 6); }

    /// Asks for every twelfth block of a pass and the last one.
    void Fetch(int pass) {
        const auto &f = kPassesFetched[pass - 1];
        const int step = (f.last > f.first ? 12 : -12) * f.block;
        for (int first = f.first; (first - f.last) * step < 0; first += step)
            Ask(LineFields(pass, first, f.block));
        Ask(LineFields(pass, f.last, f.block));
    }

    /// Sends "CODE FIELD=VALUE ...", also "at" and "data" for what stands there, and "size" of all.
    void Command(const std::string &what) {
        std::istringstream words(what);
        std::string word;
        words >> word;
        asked_ = Packet({static_cast<uint8_t>(std::stoul(word, nullptr, 16))}, ++sequence_);
        size_t at = asked_.size();
        while (words >> word) {
            const size_t equals = word.find('=');
            const std::string name = word.substr(0, equals), value = word.substr(equals + 1);
            if (name == "data") {
                const Bytes data = DataOf(value);
                asked_.resize(std::max(asked_.size(), at + data.size()));
                std::copy(data.begin(), data.end(), asked_.begin() + static_cast<ptrdiff_t>(at));
            } else if (name == "at")
                at = Number(value);
            else if (name == "size")
                asked_.resize(Number(value));
            for (const auto &field : kFields)
                for (size_t k = 0; field.name == name && k < field.bytes; k++)
                    asked_.at(field.at + k) = static_cast<uint8_t>(Number(value) >> (8 * k));
        }
        if (Send(asked_) == OutResult::Stall)
            Tell("refused");
    }

    void TellReply(InResult result) {
        constexpr const char *kResults[] = {"", "nothing yet", "stalled", "does not fit"};
        if (result != InResult::Data) {
            const double left = std::chrono::duration<double>(device_.NextMoment() - fakeNow).count();
            Tell(kResults[static_cast<int>(result)] +
                 (left < 1e6 ? ", in " + std::to_string(left) + " s" : ""));
            return;
        }
        const uint8_t code = asked_[field::kCode];
        if (code == command::kEvent) {
            Tell("\"" + Text(reply_) + "\"");
            return;
        }
        const bool lines = code >= command::kRgbLines && code <= command::kUvLines;
        const size_t head = std::min(reply_.size(), lines ? kShortHeaderBytes : kHeaderBytes);
        const bool own = reply_[field::kCode] == code && reply_[field::kSub] == asked_[field::kSub] &&
                         Dword(reply_, field::kSequence) == sequence_;
        std::string text = std::to_string(reply_.size()) + (own ? " bytes" : " bytes, not of this command");
        Store32(&reply_[field::kSequence], 0);
        for (size_t k = 2, end; k < head; k = end + 1) { // what is not zero, and where
            for (end = k; end < head && reply_[end] != 0;)
                end++;
            text += end > k ? ", " + std::to_string(k) + ": " + BytesText(&reply_[k], end - k) : "";
        }
        Tell(text +
             (reply_.size() > head ? ", data: " + BytesText(&reply_[head], reply_.size() - head) : ""));
    }

    void TellWhatItRemembers() {
        const VS_Observed observed = device_.Observed();
        auto now = remembered_;
        std::memcpy(now.data(), &observed, sizeof observed);
        static const auto kNames = Table("scanner/firmware/observed.txt"); // polls and sequence without names
        std::string text;
        for (size_t k = 0; k < now.size(); k++)
            if (const std::string &name = kNames.at(k).at(0); now[k] != remembered_[k] && name != "-")
                text += (text.empty() ? "" : ", ") + name + " " + std::to_string(now[k]);
        remembered_ = now;
        if (!text.empty())
            Tell("remembers " + text);
    }

    /// Polls every 10 ms until a word comes, and fetches the lines of passes: 1 visible, 2 infrared, 4
    /// ultraviolet.
    void Scan(char mode, unsigned passes, uint32_t end) {
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
            for (const int pass : {1, 2, 3})
                if (word == kPassesFetched[pass - 1].word && (passes >> (pass - 1) & 1) != 0)
                    Fetch(pass);
        }
        Tell(text + "0x" + Hex(word, 4));
    }

    static void Wait(double seconds) {
        fakeNow +=
            std::chrono::duration_cast<Clock::TimePoint::duration>(std::chrono::duration<double>(seconds));
    }
    OutResult Send(const Bytes &packet) { return device_.Out(packet.data(), packet.size()); }

    Clock clock_{[] { return fakeNow; }};
    DeviceLog log_{clock_, ""};
    Device device_{clock_, log_};
    DeviceState &state_ = device_.State();
    double speed_ = 1;
    uint32_t sequence_ = 0;
    Bytes asked_, reply_;
    std::array<uint32_t, sizeof(VS_Observed) / sizeof(uint32_t)> remembered_{};
};

struct Transcripts : testing::TestWithParam<std::pair<const char *, double>> {};

TEST_P(Transcripts, ComeOutAsTheyStand) {
    const auto &[file, anySpeed] = GetParam();
    ExpectTranscript<Desk>(std::string("scanner/firmware/transcripts/") + file, anySpeed);
}

INSTANTIATE_TEST_SUITE_P(Device, Transcripts,
                         testing::Values(std::pair("commands.txt", 1.0), std::pair("scans.txt", 1.0),
                                         std::pair("interruptions.txt", 1.0), std::pair("flash.txt", 1.0),
                                         std::pair("programming.txt", 0.0), std::pair("programming.txt", 1.0),
                                         std::pair("programming.txt", 50.0)));

} // namespace
