// Replacing a file as a whole, from pieces.
#pragma once

#include "platform/os/os.h"

#include <string_view>

namespace os {

/// Writes the pieces beside the file and puts the result in its place, with the mode and, where that is
/// allowed, the owner of the file that was there. A link to a file stays a link. Devices and pipes are
/// written to as they are. `native` is the system's path.
FileWrite ReplaceFile(const char *native, const std::string_view *pieces, size_t count);

} // namespace os
