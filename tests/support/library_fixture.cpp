#include "tests/support/library_fixture.h"

#include "include/k274.h"
#include "platform/os/os.h"
#include "src/analysis/calibration.h"
#include "src/common/running.h"
#include "src/decoders/barcode.h"
#include "src/link/attach.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/state/capture_state.h"
#include "src/state/flags.h"
#include "src/state/image_set.h"
#include "src/state/measures.h"
#include "src/state/monitor_record.h"
#include "src/state/renew.h"
#include "src/state/settings.h"
#include "tests/support/system.h"
#include "tests/support/transcript.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <thread>
#include <utility>

namespace fs = std::filesystem;

namespace {

std::mutex stateLock;
std::vector<int> states;

void K274_CALLBACK NoteState(int32_t code) {
    std::lock_guard guard(stateLock);
    states.push_back(code);
    transcript::Note("state " + std::to_string(code));
}

} // namespace

void LibraryTest::SetUp() {
    scripted::ResetDriver();
    scripted::ResetDecoder();
    test_clock::Reset();
    k274::RenewState();
    for (auto *responses : {&k274::CcdRawResp, &k274::CcdCorResp})
        std::memset(responses, 0, sizeof *responses);
    {
        std::lock_guard guard(stateLock);
        states.clear();
    }
    folder = NewFolder();
    K274_SetLogPath(folder.c_str());
    k274::log.Open();
    k274::running = true; // so that single operations write the log
    K274_RegNewScanCB(NoteState);
}

void LibraryTest::TearDown() {
    test_clock::Release();
    K274_Close();
    AwaitThreadsEnd();
    k274::DriverUninit();
    fs::remove_all(folder);
}

Texts LibraryTest::Log() const {
    std::ifstream file(LogFile(), std::ios::binary);
    Texts lines;
    std::string begun; // a text may hold a line feed of its own
    for (std::string line; std::getline(file, line);) {
        line = begun + line;
        begun = line.empty() || line.back() != '\r' ? line + "\n" : "";
        if (!begun.empty())
            continue;
        line.pop_back();
        const size_t text = line.find(", ");
        lines.push_back(text == std::string::npos ? line : line.substr(text + 2));
    }
    EXPECT_EQ(begun, "");
    return lines;
}

Texts LibraryTest::TakeLog() {
    Texts lines = Log();
    k274::log.Open();
    return lines;
}

std::vector<int> LibraryTest::States() {
    std::lock_guard guard(stateLock);
    return states;
}

std::vector<int> LibraryTest::TakeStates() {
    std::lock_guard guard(stateLock);
    return std::exchange(states, {});
}

void LibraryTest::OpenDriver() { ASSERT_EQ(k274::DriverInit(), 0u); }

void LibraryTest::Await(const std::function<bool()> &condition) {
    for (int i = 0; i < 10000 && !condition(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    ASSERT_TRUE(condition());
}

void LibraryTest::AwaitThreadsEnd() {
    Await([] { return os::RunningThreads() == 0; });
}

void HealthyScanner::Serve() {
    scripted::TheDriver().onRead = [this](const scripted::Sent &last, uint32_t size) {
        return Answer(last, size);
    };
}

scripted::Reply HealthyScanner::Answer(const scripted::Sent &last, uint32_t size) {
    using scripted::Bytes;
    auto put16 = [](std::vector<uint8_t> &bytes, size_t offset, int value) {
        bytes[offset] = static_cast<uint8_t>(value);
        bytes[offset + 1] = static_cast<uint8_t>(value >> 8);
    };
    scripted::Reply reply;
    switch (last.code) {
    case 0x00: {
        reply.bytes = Bytes(80);
        const uint16_t word = words.empty() ? uint16_t{0} : words[std::min(polls.load(), words.size() - 1)];
        ++polls;
        reply.bytes[4] = events.empty() ? replyKind : uint8_t{2};
        put16(reply.bytes, 6, word);
        break;
    }
    case 0x01:
    case 0x02:
    case 0x03:
        reply.bytes = Bytes(size);
        put16(reply.bytes, 16, progress);
        break;
    case 0x07:
        reply.bytes = Bytes(256 + 28800);
        break;
    case 0x20:
        reply.bytes = Bytes(256 + 4096);
        break;
    case 0x13: {
        // A flat response: length, checksum, data.
        constexpr int kFlat = 200;
        reply.bytes = Bytes(256 + 18908, kFlat);
        for (size_t i = 0; i < 4; ++i) {
            reply.bytes[256 + i] = static_cast<uint8_t>(18900 >> 8 * i);
            reply.bytes[260 + i] = static_cast<uint8_t>(18900 * kFlat >> 8 * i);
        }
        break;
    }
    case 0x15: {
        reply.bytes = Bytes(256);
        if (!events.empty()) {
            std::copy(events.front().begin(), events.front().end(), reply.bytes.begin() + 128);
            events.erase(events.begin());
        }
        break;
    }
    case 0x60:
        reply.bytes = Bytes(256);
        for (size_t i = 0; i < 26; ++i)
            put16(reply.bytes, 24 + 2 * i, afe);
        break;
    case 0x7F:
        reply.bytes = Bytes(256);
        std::copy(firmware, firmware + 3, reply.bytes.begin() + 16);
        put16(reply.bytes, 26, 1 << 8 | 12);
        reply.bytes[28] = 3;
        put16(reply.bytes, 30, 112);
        put16(reply.bytes, 44, 77);
        reply.bytes[34] = 9;
        put16(reply.bytes, 52, 5);
        put16(reply.bytes, 56, 4711);
        break;
    default:
        reply.bytes = Bytes(256);
        break;
    }
    return reply;
}

void ScannerTest::SetUp() {
    LibraryTest::SetUp();
    OpenDriver();
    scanner.Serve();
    TakeLog();
}
