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

void ScannerTest::SetUp() {
    LibraryTest::SetUp();
    OpenDriver();
    scanner.Serve();
    TakeLog();
}
