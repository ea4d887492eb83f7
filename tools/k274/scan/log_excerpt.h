// The lines that the library's log gets during a scan.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace host {

class LogExcerpt {
public:
    /// Comes before the session, with which the library begins its log anew.
    /// @param folder of the log; empty: there is none
    explicit LogExcerpt(const std::string &folder);
    /// The lines since the one before.
    std::string Take();

private:
    std::filesystem::path file_;
    uintmax_t taken_ = 0;
};

} // namespace host
