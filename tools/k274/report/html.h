// Pieces of HTML that the sections of a report are made of. What goes in is escaped already.
#pragma once

#include <initializer_list>
#include <string>

namespace host {

std::string Cell(const std::string &html, const char *style = nullptr);
/// Begins a row; the caller ends it.
std::string RowHead(const std::string &html);
/// @param heads those of numbers begin with #
std::string Table(const std::string &caption, std::initializer_list<const char *> heads,
                  const std::string &rows);
/// @param grade "good", "marginal" or "bad"
std::string Verdict(const std::string &grade, const std::string &text);

} // namespace host
