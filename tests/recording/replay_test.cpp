// A host in front of a recording: what it may do otherwise than the one recorded, and what it is told when it
// does something else.
#include "tests/recording/recorded.h"
#include "tests/scanner/firmware/host.h"

#include <gmock/gmock.h>

#include <chrono>
#include <functional>

namespace {

using namespace recorded;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using wire::Host;

const wire::Fields kPoll = wire::PollFields();
const wire::Fields kEject{0x41}, kBeep{0x74, 0, 0, 0, 3};
constexpr uint16_t kIdle = 0, kCardIn = 1;

struct ReplayTest : testing::Test {
    void SetUp() override { wire::SetVariable("K274_DEVICE", "replay:" + file); }
    void TearDown() override {
        wire::SetVariable("K274_DEVICE", "virtual");
        wire::SetVariable("K274_RECORD", "");
    }
    /// Writes a session: polls, an eject, more polls, the card.
    void WriteUsual() {
        Author author(file);
        author.Begin();
        for (int k = 0; k < 60; k++)
            author.Exchange(kPoll, Status(kIdle));
        author.Exchange(kEject, {});
        for (int k = 0; k < 3; k++)
            author.Exchange(kPoll, Status(kIdle));
        author.Exchange(kPoll, Status(kCardIn, 2));
        author.Exchange({0x15}, Bytes(256, 9));
        author.Exchange(kPoll, Status(kCardIn));
    }
    /// Runs a host; returns what was said on standard error.
    std::string Replay(const std::function<void(Host &)> &run) {
        testing::internal::CaptureStderr();
        {
            Host host;
            EXPECT_EQ(host.status, 0u);
            if (host.status == 0)
                run(host);
        }
        return testing::internal::GetCapturedStderr();
    }

    TempFolder folder;
    const std::string file = folder.File("a.rec");
};

TEST_F(ReplayTest, AnswersInOrder) {
    WriteUsual();
    EXPECT_THAT(Replay([](Host &host) {
                    EXPECT_EQ(host.attaches, 1);
                    for (int k = 0; k < 60; k++)
                        EXPECT_EQ(host.Poll(), kIdle);
                    EXPECT_EQ(host.Send(kEject), 0u);
                    EXPECT_EQ(host.transferred, 256u);
                    for (int k = 0; k < 3; k++)
                        EXPECT_EQ(host.Poll(), kIdle);
                    EXPECT_EQ(host.Poll(), kCardIn);
                    EXPECT_EQ(host.Kind(), 2);
                    EXPECT_EQ(host.Exchange({0x15}), Bytes(256, 9));
                    EXPECT_EQ(host.Poll(), kCardIn);
                    EXPECT_EQ(host.Kind(), 0);
                }),
                IsEmpty());
}

TEST_F(ReplayTest, PollsMayBeFewerOrMore) {
    WriteUsual();
    for (const int polls : {1, 59, 61, 90}) {
        EXPECT_THAT(Replay([polls](Host &host) {
                        for (int k = 0; k < polls; k++)
                            EXPECT_EQ(host.Poll(), kIdle);
                        EXPECT_EQ(host.Send(kEject), 0u);
                        EXPECT_TRUE(host.PollFor(kCardIn, 4));
                        for (int k = 0; k < 3; k++) { // the event is waited for, and told once
                            EXPECT_EQ(host.Poll(), kCardIn);
                            EXPECT_EQ(host.Kind(), 0);
                        }
                        EXPECT_EQ(host.Exchange({0x15}).size(), 256u);
                        for (int k = 0; k < 5; k++) // beyond the end
                            EXPECT_EQ(host.Poll(), kCardIn);
                    }),
                    IsEmpty())
            << polls;
    }
}

TEST_F(ReplayTest, SaysWhatItWaitsFor) {
    WriteUsual();
    EXPECT_THAT(Replay([](Host &host) {
                    for (int k = 0; k < 170; k++)
                        EXPECT_EQ(host.Poll(), kIdle);
                    EXPECT_EQ(host.Send(kEject), 0u);
                }),
                HasSubstr("waits for the host at entry 123, eject (0x41), 256 bytes\n"));
}

TEST_F(ReplayTest, ADepartureIsNamed) {
    WriteUsual();
    const struct {
        int polls;
        wire::Fields sent;
        const char *expected, *got;
    } cases[] = {
        {60, kBeep, "entry 123 is eject (0x41), 256 bytes,",
         "wants beep (0x74), 256 bytes, byte 0 0x74 in place of 0x41;"},
        {60,
         {0x41, 0, 0, 0, 1},
         "entry 123 is eject",
         "eject (0x41), 256 bytes, byte 16 0x01 in place of 0x00;"},
        {60, {0x41, 0, 0, 0, 0, 0, 0, 24}, "entry 123 is eject", "eject (0x41), 24 bytes;"},
        {2, kBeep, "entry 123 is eject", "beep"}, // idle polls are passed over, the eject is not
        {3, {0x15}, "entry 123 is eject", "event read"},
    };
    for (const auto &c : cases) {
        const std::string said = Replay([&c](Host &host) {
            for (int k = 0; k < c.polls; k++)
                host.Poll();
            EXPECT_EQ(host.Send(c.sent), wire::kFailed);
            EXPECT_EQ(host.Send(kEject), wire::kFailed); // what was right comes too late
            EXPECT_EQ(WDU_ResetDevice(host.device, 1), wire::kFailed);
        });
        EXPECT_THAT(said,
                    AllOf(HasSubstr("the host departs from it: "), HasSubstr(c.expected), HasSubstr(c.got)));
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1);
    }
}

TEST_F(ReplayTest, AChangeIsNotPassedOver) {
    {
        Author author(file);
        author.Begin();
        author.Exchange(kPoll, Status(kIdle));
        author.Exchange(kPoll, Status(kCardIn));
        author.Exchange(kEject, {});
    }
    EXPECT_THAT(Replay([](Host &host) {
                    host.Poll();
                    EXPECT_EQ(host.Send(kEject), wire::kFailed);
                }),
                HasSubstr("entry 5 is status poll (0x00), 80 bytes, and the host wants eject"));
}

TEST_F(ReplayTest, TheEndIsADepartureForAllButPolls) {
    WriteUsual();
    Bytes bytes = ReadFile(file);
    bytes.push_back('K');
    WriteFile(file, bytes);
    EXPECT_THAT(
        Replay([](Host &host) {
            host.Poll();
            host.Send(kEject);
            EXPECT_TRUE(host.PollFor(kCardIn));
            host.Exchange({0x15});
            host.Poll();
            EXPECT_EQ(host.Send(kBeep), wire::kFailed);
        }),
        HasSubstr("the recording ends, cut short: what follows byte " + std::to_string(bytes.size() - 1)));
}

TEST_F(ReplayTest, ThreadsMayInterleaveOtherwise) {
    {
        Author author(file);
        author.Begin();
        author.Exchange(kPoll, Status(kIdle), 1);
        for (int k = 0; k < 5; k++) {
            author.Exchange(kPoll, {}, 1);
            author.Exchange(kBeep, {}, 2);
            author.Read(Status(kCardIn), 1);
        }
        author.Exchange(kEject, {}, 2);
    }
    EXPECT_THAT(Replay([](Host &host) {
                    host.Poll();
                    EXPECT_EQ(host.Send(kBeep), 0u); // before its time
                    for (int k = 0; k < 5; k++)
                        EXPECT_EQ(host.Poll(), kCardIn);
                    for (int k = 0; k < 4; k++) // behind it
                        EXPECT_EQ(host.Send(kBeep), 0u);
                    EXPECT_EQ(host.Send(kEject), 0u);
                }),
                IsEmpty());
    EXPECT_THAT(Replay([](Host &host) {
                    host.Poll();
                    EXPECT_EQ(host.Send(kEject), wire::kFailed); // the same thread had to beep first
                }),
                HasSubstr("departs"));
}

TEST_F(ReplayTest, FailuresArriveAsRecorded) {
    {
        Author author(file);
        author.Begin();
        author.Exchange(kPoll, {1, 2, 3}, 1, wire::kTimeout);
        Entry reset;
        reset.kind = Kind::DeviceReset;
        reset.device = 1;
        reset.pipe = 1;
        reset.status = wire::kStalled;
        author.Add(reset);
        reset.kind = Kind::PipeReset;
        reset.pipe = 0x81;
        author.Add(reset);
        Entry boast;
        boast.device = 1;
        boast.read = true;
        boast.pipe = 0x81;
        boast.size = scanner::kMaxReplyBytes;
        boast.transferred = 0xFFFFFFFF;
        author.Add(boast, {5, 6});
    }
    Replay([](Host &host) {
        Bytes reply;
        EXPECT_EQ(host.Send(kPoll), 0u);
        EXPECT_EQ(host.Read(&reply), wire::kTimeout);
        EXPECT_EQ(reply, Bytes({1, 2, 3}));
        EXPECT_EQ(WDU_ResetDevice(host.device, 1), wire::kStalled);
        EXPECT_EQ(WDU_ResetPipe(host.device, 0x81), wire::kStalled);
        EXPECT_EQ(host.Read(&reply), 0u);
        EXPECT_EQ(host.transferred, 0xFFFFFFFFu);
        EXPECT_EQ(Bytes(reply.begin(), reply.begin() + 3), Bytes({5, 6, 0xEE}));
    });
}

TEST_F(ReplayTest, DeparturesAndArrivalsAreTold) {
    {
        Author author(file);
        author.Begin();
        author.Exchange(kPoll, Status(kIdle));
        author.Add(Kind::Detach, 1000);
        Entry attach;
        attach.kind = Kind::Attach;
        attach.device = 2;
        attach.startUs = attach.endUs = 50000;
        author.Add(attach, Bytes(5, 1)); // descriptors that are not whole
        Entry late;
        late.device = 1;
        late.pipe = 2;
        late.size = 80;
        late.status = wire::kGone;
        author.Add(late, wire::Packet(kPoll, 1));
        late.device = 2;
        late.transferred = 80;
        late.status = 0;
        author.Add(late, wire::Packet(kPoll, 1));
    }
    EXPECT_THAT(Replay([](Host &host) {
                    void *const first = host.device;
                    host.Poll();
                    ASSERT_TRUE(host.WaitForNews(2, 1));
                    EXPECT_NE(host.device, first);
                    EXPECT_EQ(host.Send(kPoll), 0u); // one that was too late is passed over
                    host.lastDevice = first;
                    EXPECT_EQ(host.Send(kPoll), wire::kGone);
                    host.lastDevice = nullptr;
                    EXPECT_EQ(host.Send(kPoll), wire::kBadHandle);
                }),
                IsEmpty());
}

TEST_F(ReplayTest, SessionsFollowOneAnother) {
    for (const uint16_t word : {uint16_t{3}, uint16_t{7}}) {
        Author author(file);
        author.Begin();
        author.Exchange(kPoll, Status(word));
        author.Add(Kind::Uninit);
    }
    for (const int word : {3, 7, 3, 7})
        Replay([word](Host &host) { EXPECT_EQ(host.Poll(), word); });
}

TEST_F(ReplayTest, KeepsTheRecordedPaceWhenAsked) {
    {
        Author author(file);
        author.Begin();
        Entry read;
        read.device = 1;
        read.read = true;
        read.pipe = 0x81;
        read.size = scanner::kMaxReplyBytes;
        read.endUs = 400000;
        author.Add(read, {1});
    }
    for (const auto &[speed, least] : {std::pair("2", 200), std::pair("100000", 0)}) {
        wire::SetVariable("K274_SPEED", speed);
        Replay([least = least](Host &host) {
            Bytes reply;
            const auto begin = std::chrono::steady_clock::now();
            EXPECT_EQ(host.Read(&reply), 0u);
            EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(least));
        });
    }
    wire::SetVariable("K274_SPEED", "");
}

TEST_F(ReplayTest, HostileRecordingsAreSurvived) {
    const std::function<void(Author &)> writers[] = {
        [](Author &author) { author.Add(Kind::Attach, 0, {}); },
        [](Author &author) { author.Add(Kind::Attach, ~uint64_t{0}, Bytes(18 + 9 * 40, 0xFF)); },
        [](Author &author) { author.Exchange(kPoll, {1}); },
        [](Author &author) {
            author.Exchange({0, 0, 0, 0, 0, 0, 0, 0}, Bytes(300000, 1));
        },
        [](Author &author) {
            for (uint32_t k = 0; k < 3000; k++)
                author.Exchange(kBeep, Status(0), k);
        },
        [](Author &author) { author.Add(Kind::Detach); },
    };
    for (const auto &write : writers) {
        {
            Author author(file);
            author.Add(Kind::Init);
            write(author);
            author.Begin();
            author.Exchange(kPoll, Status(kIdle));
            write(author);
        }
        Replay([](Host &host) {
            for (int k = 0; k < 3; k++)
                host.Poll();
            host.Send(kEject);
        });
        std::filesystem::remove(file);
    }
}

TEST_F(ReplayTest, WhatCannotBeUsedIsRefusedInOneLine) {
    WriteUsual();
    const std::string text = folder.File("text"), empty = folder.File("empty");
    WriteFile(text, {'n', 'o'});
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
        EXPECT_EQ(Host().status, wire::kFailed) << c.why;
        const std::string said = testing::internal::GetCapturedStderr();
        EXPECT_THAT(said, HasSubstr(c.why));
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
    }
}

} // namespace
