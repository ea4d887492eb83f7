#include "src/state/settings.h"

#include "platform/os/os.h"
#include "src/common/text.h"
#include "src/log/log.h"

#include <climits>
#include <cstdio>

namespace k274 {

namespace {

constexpr char kSection[] = "Demo";

} // namespace

void Settings::FixPath() {
    char directory[Log::kPathSize];
    log.CopyWorkingDirectory(directory, sizeof directory);
    std::lock_guard guard(lock_);
    // Longer paths are cut, as the record's size lays down.
    std::snprintf(path_, sizeof path_, "%.127s", directory);
    const size_t length = std::strlen(path_);
    CopyText(path_ + length, sizeof path_ - length, "\\K274.ini");
}

void Settings::LoadSettings() {
    std::lock_guard guard(lock_);
    os::ReadProfileText(path_, kSection, "AutoSaveName", "", autoSaveName_, sizeof autoSaveName_);
    autoSaveNum_ = os::ReadProfileInt(path_, kSection, "AutoSaveNum", 0);
    lastScan_ = os::ReadProfileInt(path_, kSection, "LastScan", 0);
}

bool Settings::AutoSaveFileName(char (&name)[kNameSize]) {
    std::lock_guard guard(lock_);
    if (!autoSaveName_[0] || autoSaveNum_ == 0)
        return false;
    std::snprintf(name, sizeof name, "%s%03d", autoSaveName_, autoSaveNum_);
    return true;
}

void Settings::AdvanceAutoSaveNum() {
    std::lock_guard guard(lock_);
    if (autoSaveNum_ <= 0 || autoSaveNum_ == INT_MAX)
        return;
    ++autoSaveNum_;
    char number[12];
    std::snprintf(number, sizeof number, "%d", autoSaveNum_);
    os::WriteProfileText(path_, kSection, "AutoSaveNum", number);
}

} // namespace k274
