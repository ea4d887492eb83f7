#include "tests/support/host.h"
#include "tests/support/system.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace {

// Shared with the library's threads, which may call back after a test has ended, and after main: never freed.
struct Heard {
    std::mutex lock;
    std::condition_variable changed;
    std::vector<int> states;
};
Heard &heard = *new Heard;

void K274_CALLBACK NoteState(int32_t code) {
    std::lock_guard guard(heard.lock);
    heard.states.push_back(code);
    heard.changed.notify_all();
}

} // namespace

void HostTest::SetUpTestSuite() {
    SetVariable("K274_DEVICE", "virtual");
    VS_SetSpeed(0);
    VS_SetSeed(1);
}

void HostTest::SetUp() {
    K274_ScanMode(0);
    K274_SetBcdOpt(1);
    K274_SetBcDecMode(0);
    Mark();
}

void HostTest::TearDown() {
    K274_Close();
    VS_ClearFaults();
    VS_PlugIn();
    VS_PressEject();
}

void HostTest::Start() {
    K274_SetLogPath(folder.c_str());
    K274_RegNewScanCB(NoteState);
    Mark();
    K274_Init(0);
    ASSERT_EQ(WaitFor({10}), 10);
}

std::string HostTest::Sample(const std::string &name) {
    return std::string(K274_SOURCE_DIR "/scanner/cards/samples/") + name;
}

void HostTest::Insert(const std::string &name) {
    // The card before this one may still be on its way out.
    for (int i = 0; i < 1000 && VS_CardWaiting(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    Mark();
    ASSERT_EQ(VS_InsertCard(Sample(name).c_str()), VS_OK) << VS_LastError();
}

int HostTest::Scan(const std::string &name) {
    Insert(name);
    return WaitFor({8, 9, 11});
}

int HostTest::WaitFor(const std::vector<int> &codes, std::chrono::milliseconds time) {
    std::unique_lock lock(heard.lock);
    int found = 0;
    heard.changed.wait_for(lock, time, [&] {
        const auto at =
            std::find_first_of(heard.states.begin(), heard.states.end(), codes.begin(), codes.end());
        found = at == heard.states.end() ? 0 : *at;
        return found != 0;
    });
    return found;
}

void HostTest::Mark() {
    std::lock_guard guard(heard.lock);
    heard.states.clear();
}

std::vector<int> HostTest::StatesSinceMark() {
    std::lock_guard guard(heard.lock);
    return heard.states;
}
