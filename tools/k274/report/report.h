// One self-contained HTML page of a scan.
#pragma once

#include <string>

#include "tools/k274/files/package.h"

namespace host {

/// Opens from a disk without any other file and without a network.
/// Throws HostError(kBadFile) when the description lacks what a scan's must have.
std::string BuildReport(const Package &package);

} // namespace host
