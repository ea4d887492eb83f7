// Reads on in the log file, which the library goes on writing.
#include "tools/k274/scan/log_excerpt.h"

#include <fstream>
#include <iterator>
#include <system_error>

namespace host {

namespace fs = std::filesystem;

LogExcerpt::LogExcerpt(const std::string &folder) {
    if (!folder.empty())
        file_ = fs::path(folder) / "K274dll.log";
}

std::string LogExcerpt::Take() {
    if (file_.empty())
        return {};
    std::error_code error;
    if (const uintmax_t size = fs::file_size(file_, error); error || size < taken_)
        taken_ = 0; // begun anew
    std::ifstream stream(file_, std::ios::binary);
    stream.seekg(static_cast<std::streamoff>(taken_));
    std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    text.erase(text.find_last_of('\n') + 1); // a line under way waits for the next turn
    taken_ += text.size();
    return text;
}

} // namespace host
