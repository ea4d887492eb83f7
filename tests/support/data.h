// What tests keep as text files beside them: tables of cases, and outputs that are compared as a whole.
#pragma once

#include "tests/support/files.h"

#include <cstdint>
#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

/// The rows of a table under tests/: columns parted by '|', blanks around them taken off; \n and \xNN stand
/// for bytes. Empty lines and those that begin with "# " are left out.
std::vector<std::vector<std::string>> Table(const std::string &name);
/// A text without blanks around it, its escapes resolved.
std::string Unescaped(const std::string &text);
/// A column of numbers parted by blanks, 0x before hexadecimal ones.
std::vector<int64_t> Numbers(const std::string &column);
std::vector<int> Ints(const std::string &column);

/// The values of a column, parted by blanks.
template <typename... Values>
void Take(const std::string &column, Values &...values) {
    std::istringstream from(column);
    (from >> std::setbase(0) >> ... >> values);
}

/// Compares a text with the file under tests/ that keeps it. With K274_RENEW=1 the file is written anew, to
/// be read through before it is committed.
void ExpectKept(const std::string &name, const std::string &text);
