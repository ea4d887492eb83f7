// What passes between the library, the scanner, the host and the clock, noted line by line in the order in
// which it happens: packets, resets, lines of the log, states, waits.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace transcript {

/// Forgets what was noted and follows this log from its end on.
void Begin(const std::string &logFile);
void End();

void Note(const std::string &text);
void NoteSend(const std::vector<uint8_t> &packet, uint32_t status);
void NoteRead(uint32_t asked, uint32_t came, uint32_t status);

/// The bytes from one place to before another, without zeros: "8 to 11: 255, 15: 3".
std::string Runs(const uint8_t *bytes, size_t from, size_t end);

/// The lines since the last call; runs of equal ones are told once, also when a line number counts in them.
std::string Take();

} // namespace transcript
