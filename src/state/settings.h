// The settings record: the options of the host and what the settings file "K274.ini" in the working
// directory says about automatic file names. The options are never read from or written to the file.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>

namespace k274 {

class Settings {
public:
    // Options: stored by the host's setters, read at their next use.
    std::atomic<uint8_t> illumination[4]{{1}, {1}, {1}, {0}}; // visible, infrared, ultraviolet, unused
    std::atomic<int32_t> irEnhance{1};
    std::atomic<int32_t> uvOption[3]{{1}, {1}, {1}};
    std::atomic<int32_t> stripeImageOption{1};

    /// Fixes the file's path from the working directory; a later change of the directory moves it not.
    void FixPath();
    /// Reads the file; what is absent takes its default.
    void LoadSettings();

    static constexpr size_t kNameSize = 20;
    /// @return false when there is no automatic name (no base name, or the number is 0)
    bool AutoSaveFileName(char (&name)[kNameSize]);
    /// Adds one to a positive number and writes it back; a failed write is not told.
    void AdvanceAutoSaveNum();

private:
    std::mutex lock_; // scans load while the host saves
    char path_[128] = "";
    char autoSaveName_[8] = "";
    int32_t autoSaveNum_ = 0;
    int32_t lastScan_ = 1; // kept for hosts that share the file
};
extern Settings settings;

} // namespace k274
