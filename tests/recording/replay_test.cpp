// A host in front of a recording: what it may do otherwise than the one recorded, and what it is told when it
// does something else.
#include "tests/recording/recorded.h"
#include "tests/support/data.h"
#include "tests/support/system.h"

#include <chrono>
#include <functional>
#include <map>
#include <sstream>

namespace {

using namespace recorded;
using testing::HasSubstr;
using wire::Fields;
using wire::Host;

const Fields kPoll = wire::PollFields(), kEject{0x41}, kBeep{0x74, 0, 0, 0, 3};
const std::map<std::string, Fields> kCommands = {
    {"poll", kPoll},
    {"send", kPoll},
    {"eject", kEject},
    {"othereject", {0x41, 0, 0, 0, 1}},
    {"shorteject", {0x41, 0, 0, 0, 0, 0, 0, 24}},
    {"beep", kBeep},
    {"ask", {0x15}},
};
const Bytes kEvent(256, 9);

struct ReplayTest : RecordingTest {
    void SetUp() override { Use("replay:" + file); }
    /// Writes a session.
    void Record(const std::function<void(Author &)> &write) const {
        Author author(file);
        author.Begin();
        write(author);
    }
    /// Runs a host; returns what was said on standard error.
    static std::string Replay(const std::function<void(Host &)> &run) {
        testing::internal::CaptureStderr();
        {
            Host host;
            EXPECT_EQ(host.status, 0u);
            run(host);
        }
        return testing::internal::GetCapturedStderr();
    }
};

/// A line of the transcripts.
struct Line {
    int count = 1, word = -1, kind = -1;
    uint32_t thread = 1;
    std::string what, result;

    explicit Line(const std::string &text) {
        std::istringstream from(text);
        if (isdigit(text[0]))
            from >> count;
        from >> what;
        if (what == "t1" || what == "t2") {
            thread = what == "t1" ? 1 : 2;
            from >> what;
        }
        if (from >> std::ws && isdigit(from.peek()))
            from >> word >> kind;
        else
            from >> result;
    }
};

/// @param thread  of one of many
void Write(Author &author, const Line &line, uint32_t thread) {
    const auto size = static_cast<size_t>(std::max(line.word, 0));
    const Bytes status = Status(static_cast<uint16_t>(size), static_cast<uint8_t>(std::max(line.kind, 0)));
    if (line.what == "read") {
        author.Read(status, line.thread);
    } else if (line.what == "event") {
        author.Exchange({0x15}, kEvent);
    } else if (kCommands.count(line.what) != 0) {
        author.Exchange(kCommands.at(line.what), line.word < 0 ? Bytes() : status, line.thread);
    } else if (line.what == "beeps") {
        author.Exchange(kBeep, status, thread);
    } else if (line.what == "cut") {
        author.Exchange(kPoll, {1});
    } else if (line.what == "nothing") {
        author.Exchange(Fields{0, 0, 0, 0, 0, 0, 0, 0}, Bytes(size, 1));
    } else if (line.what == "leaves") {
        author.Add(Kind::Detach);
    } else if (line.what == "arrives") {
        author.Add(Kind::Attach, size == 0 ? 0 : ~uint64_t{0}, Bytes(size, 0xFF));
    } else if (line.what == "returns") { // with descriptors that are not whole
        author.Add(Kind::Attach, 50000, Bytes(5, 1), 2);
    } else { // a call of a host that knew of the return, or did not
        Entry entry = Transfer(false, 1, line.what == "late" ? wire::kGone : 0);
        entry.device = line.what == "late" ? 1 : 2;
        entry.size = entry.transferred = 80;
        author.Add(entry, wire::Packet(kPoll, 1));
    }
}

const std::map<std::string, uint32_t> kResults = {
    {"", 0}, {"failed", wire::kFailed}, {"gone", wire::kGone}, {"nobody", wire::kBadHandle}};

/// @param first  the handle of the first attach
void Act(Host &host, const Line &line, void *first) {
    for (int k = 0; k < line.count; k++) {
        if (line.what == "poll") {
            const int word = host.Poll();
            EXPECT_EQ(line.word < 0 ? -1 : word, line.word);
            EXPECT_EQ(line.kind < 0 ? -1 : host.Kind(), line.kind);
        } else if (line.what == "pollfor") {
            EXPECT_TRUE(host.PollFor(static_cast<uint16_t>(line.word), 4));
        } else if (line.what == "event") {
            EXPECT_EQ(host.Exchange({0x15}), kEvent);
        } else if (line.what == "sees") { // it leave and return
            ASSERT_TRUE(host.WaitForNews(2, 1));
            EXPECT_NE(host.device, first);
        } else if (line.what == "takes") {
            host.lastDevice = line.result == "old" ? first : nullptr;
        } else {
            const uint32_t status =
                line.what == "reset" ? WDU_ResetDevice(host.device, 1) : host.Send(kCommands.at(line.what));
            if (line.result != "any")
                EXPECT_EQ(status, kResults.at(line.result));
        }
    }
}

TEST_F(ReplayTest, FollowsTheTranscripts) {
    std::map<std::string, std::map<std::string, std::vector<std::string>>> scenes;
    std::istringstream lines(ReadText(K274_SOURCE_DIR "/tests/recording/replays.txt"));
    std::string scene;
    for (std::string line, kind; std::getline(lines, line);) {
        std::istringstream from(line);
        if (!(from >> kind >> std::ws) || kind == "#")
            continue;
        std::string text(std::istreambuf_iterator<char>(from), {});
        if (kind == "=")
            scene = text;
        else if (text.compare(0, 5, "like ") == 0)
            scenes[scene]["rec"] = scenes.at(text.substr(5))["rec"];
        else
            scenes[scene][kind].push_back(text);
    }
    EXPECT_EQ(scenes.size(), 24u);
    for (auto &[name, parts] : scenes) {
        SCOPED_TRACE(name);
        std::filesystem::remove(file);
        Record([&lines = parts["rec"]](Author &author) {
            for (const std::string &text : lines) {
                const Line line(text);
                for (int k = 0; k < line.count; k++)
                    Write(author, line, static_cast<uint32_t>(k));
            }
        });
        const bool any = parts["says"] == std::vector<std::string>{"any"};
        const std::string said = Replay([any, &lines = parts["host"]](Host &host) {
            EXPECT_TRUE(any || host.attaches == 1);
            void *const first = host.device;
            for (const std::string &line : lines) {
                SCOPED_TRACE(line);
                Act(host, Line(line), first);
            }
        });
        if (any)
            continue;
        for (const std::string &text : parts["says"])
            EXPECT_THAT(said, HasSubstr(text));
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), parts["says"].empty() ? 0 : 1) << said;
    }
}

TEST_F(ReplayTest, AnEndThatIsMissingIsNamed) {
    Record([](Author &author) { author.Exchange(kPoll, Status(0)); });
    WriteText(file, ReadText(file) + 'K');
    const auto size = std::filesystem::file_size(file);
    EXPECT_THAT(Replay([](Host &host) {
                    host.Poll();
                    EXPECT_EQ(host.Send(kBeep), wire::kFailed);
                }),
                HasSubstr("the recording ends, cut short: what follows byte " + std::to_string(size - 1)));
}

TEST_F(ReplayTest, SessionsFollowOneAnother) {
    for (const uint16_t word : {uint16_t{3}, uint16_t{7}})
        Record([word](Author &author) {
            author.Exchange(kPoll, Status(word));
            author.Add(Kind::Uninit);
        });
    for (const int word : {3, 7, 3, 7})
        Replay([word](Host &host) { EXPECT_EQ(host.Poll(), word); });
}

TEST_F(ReplayTest, KeepsTheRecordedPaceWhenAsked) {
    Record([](Author &author) {
        Entry read = Transfer(true);
        read.endUs = 100000;
        author.Add(read, {1});
    });
    for (const auto &[speed, least] : {std::pair("2", 50), std::pair("100000", 0)}) {
        const Variable pace("K274_SPEED", speed);
        Replay([least = least](Host &host) {
            Bytes reply;
            const auto begin = std::chrono::steady_clock::now();
            EXPECT_EQ(host.Read(&reply), 0u);
            EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(least));
        });
    }
}

TEST_F(ReplayTest, WhatCannotBeUsedIsRefusedInOneLine) {
    Record([](Author &) {});
    std::string bytes = ReadText(file);
    bytes[16] ^= 1;
    WriteText(folder.File("damaged"), bytes);
    bytes[8] = 2;
    WriteText(folder.File("newer"), bytes);
    WriteText(folder.File("text"), "no");
    Author(folder.File("empty")).Close();
    const auto place = [this](const std::string &text) {
        const size_t at = text.find('@');
        return at == std::string::npos ? text : text.substr(0, at) + folder.File(text.substr(at + 1));
    };
    for (const auto &row : Table("recording/refused.txt")) {
        SCOPED_TRACE(row[0] + " " + row[1]);
        const std::string record = place(row[1]), before = ReadText(record);
        Use(place(row[0]), record);
        testing::internal::CaptureStderr();
        const Host host;
        const std::string said = testing::internal::GetCapturedStderr();
        EXPECT_EQ(host.status, wire::kFailed);
        EXPECT_EQ(host.driver, nullptr);
        EXPECT_THAT(said, HasSubstr(row[2]));
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
        EXPECT_TRUE(before.empty() || ReadText(record) == before);
    }
}

} // namespace
