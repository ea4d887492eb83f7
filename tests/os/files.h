// Files of a test's own folder, written by the system's layer as a whole.
#pragma once

#include "platform/os/os.h"
#include "tests/support/files.h"

inline os::FileWrite WriteWhole(const std::string &path, const std::string &text) {
    return os::WriteWholeFile(path.c_str(), reinterpret_cast<const uint8_t *>(text.data()), text.size());
}

inline std::ptrdiff_t Entries(const TempFolder &folder) {
    return std::distance(std::filesystem::directory_iterator(folder.Path()), {});
}
