#include "tests/support/library_fixture.h"

#include "include/k274.h"
#include "platform/os/os.h"
#include "src/common/running.h"
#include "src/link/attach.h"
#include "src/log/log.h"
#include "src/state/renew.h"
#include "tests/support/transcript.h"

#include <map>
#include <mutex>
#include <thread>
#include <utility>

namespace {

std::mutex stateLock;
std::vector<int> states;
std::map<int, std::function<void()>> answers; // of the host, by state

void K274_CALLBACK NoteState(int32_t code) {
    transcript::Note("state " + std::to_string(code));
    std::function<void()> answer;
    {
        std::lock_guard guard(stateLock);
        states.push_back(code);
        if (answers.count(code))
            answer = answers[code];
    }
    if (answer)
        answer();
}

} // namespace

void LibraryTest::SetUp() {
    scripted::ResetDriver();
    scripted::ResetDecoder();
    test_clock::Reset();
    k274::RenewState();
    {
        std::lock_guard guard(stateLock);
        states.clear();
        answers.clear();
    }
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

void LibraryTest::OnState(int code, std::function<void()> answer) {
    std::lock_guard guard(stateLock);
    answers[code] = std::move(answer);
}

void LibraryTest::OpenDriver() { ASSERT_EQ(k274::DriverInit(), 0u); }

void LibraryTest::Await(const std::function<bool()> &condition) {
    for (int i = 0; i < 60000 && !condition(); ++i)
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
