// A host in front of a recording: what it may do otherwise than the one recorded, and what it is told when it
// does something else.
#include "tests/recording/recorded.h"
#include "tests/scanner/firmware/host.h"

#include <gmock/gmock.h>

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

struct ReplayTest : testing::Test {
    void SetUp() override { wire::SetVariable("K274_DEVICE", "replay:" + file); }
    void TearDown() override {
        wire::SetVariable("K274_DEVICE", "virtual");
        wire::SetVariable("K274_RECORD", "");
        wire::SetVariable("K274_SPEED", "");
    }
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

    const TempFolder folder;
    // Of its own name: a file that was replayed before goes on with its next session.
    const std::string file =
        folder.File(testing::UnitTest::GetInstance()->current_test_info()->name() + std::string(".rec"));
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

/// What only some recordings hold: departures, arrivals, and calls of a host that knew better.
Entry Special(const std::string &what) {
    Entry entry = Transfer(false, 1, what == "late" ? wire::kGone : 0);
    entry.size = entry.transferred = 80;
    if (what == "sent")
        entry.device = 2;
    if (what == "leaves")
        entry.kind = Kind::Detach;
    if (what == "returns") {
        entry.kind = Kind::Attach;
        entry.device = 2;
        entry.startUs = entry.endUs = 50000;
    }
    return entry;
}

void Write(Author &author, const Line &line) {
    for (int k = 0; k < line.count; k++) {
        const Bytes status =
            Status(static_cast<uint16_t>(line.word), static_cast<uint8_t>(std::max(line.kind, 0)));
        if (line.what == "read")
            author.Read(status, line.thread);
        else if (line.what == "event")
            author.Exchange({0x15}, kEvent);
        else if (kCommands.count(line.what) != 0)
            author.Exchange(kCommands.at(line.what), line.word < 0 ? Bytes() : status, line.thread);
        else // of the arrival, descriptors that are not whole
            author.Add(Special(line.what), line.what == "returns" ? Bytes(5, 1) : wire::Packet(kPoll, 1));
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
    EXPECT_EQ(scenes.size(), 18u);
    for (auto &[name, parts] : scenes) {
        SCOPED_TRACE(name);
        std::filesystem::remove(file);
        Record([&lines = parts["rec"]](Author &author) {
            for (const std::string &line : lines)
                Write(author, Line(line));
        });
        const std::string said = Replay([&lines = parts["host"]](Host &host) {
            EXPECT_EQ(host.attaches, 1);
            void *const first = host.device;
            for (const std::string &line : lines) {
                SCOPED_TRACE(line);
                Act(host, Line(line), first);
            }
        });
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
        wire::SetVariable("K274_SPEED", speed);
        Replay([least = least](Host &host) {
            Bytes reply;
            const auto begin = std::chrono::steady_clock::now();
            EXPECT_EQ(host.Read(&reply), 0u);
            EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(least));
        });
    }
}

TEST_F(ReplayTest, HostileRecordingsAreSurvived) {
    const std::function<void(Author &)> writers[] = {
        [](Author &author) { author.Add(Kind::Attach, 0, {}); },
        [](Author &author) { author.Add(Kind::Attach, ~uint64_t{0}, Bytes(18 + 9 * 40, 0xFF)); },
        [](Author &author) { author.Exchange(kPoll, {1}); },
        [](Author &author) {
            author.Exchange(Fields{0, 0, 0, 0, 0, 0, 0, 0}, Bytes(300000, 1));
        },
        [](Author &author) {
            for (uint32_t k = 0; k < 3000; k++)
                author.Exchange(kBeep, Status(0), k);
        },
        [](Author &author) { author.Add(Kind::Detach); },
    };
    for (const auto &write : writers) {
        std::filesystem::remove(file);
        Record([&write](Author &author) {
            write(author);
            author.Begin();
            author.Exchange(kPoll, Status(0));
            write(author);
        });
        Replay([](Host &host) {
            for (int k = 0; k < 3; k++)
                host.Poll();
            host.Send(kEject);
        });
    }
}

TEST_F(ReplayTest, WhatCannotBeUsedIsRefusedInOneLine) {
    Record([](Author &) {});
    const std::string text = folder.File("text"), empty = folder.File("empty");
    WriteText(text, "no");
    Author(empty).Close();
    const struct {
        std::string device, record, why;
    } cases[] = {
        {"replay:" + folder.File("none"), "", "no such file"},
        {"replay:", "", "no such file"},
        {"replay:" + text, "", "not a recording"},
        {"replay:" + empty, "", "holds no session"},
        {"replay:" + file, file, "the same recording"},
        {"virtual", text, "not a recording"},
        {"virtual", folder.File("none/a.rec"), "cannot be made"},
        {"nothing", folder.File("b.rec"), "names no device"},
    };
    for (const auto &c : cases) {
        wire::SetVariable("K274_DEVICE", c.device);
        wire::SetVariable("K274_RECORD", c.record);
        testing::internal::CaptureStderr();
        const Host host;
        const std::string said = testing::internal::GetCapturedStderr();
        EXPECT_EQ(host.status, wire::kFailed) << c.why;
        EXPECT_EQ(host.driver, nullptr);
        EXPECT_THAT(said, HasSubstr(c.why));
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
    }
}

} // namespace
