// The sensor's three colour rows see a point one after the other: here the colours of one point come together
// from the lines that saw them. Vector loops take 16 pixels at a time and mask the bytes of other colours.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace k274 {

constexpr int kBlue = 0, kGreen = 1, kRed = 2;

/// Where a line's colours come from, each as the address from which its bytes are taken at their own place.
struct ColourRows {
    const uint8_t *blue, *green, *red;
};

/// Lines of red, green, blue pixels, as the scanner sends them, for a line of blue, green, red ones.
constexpr ColourRows TurnedColours(const uint8_t *blue, const uint8_t *green, const uint8_t *red) {
    return {blue + (kRed - kBlue), green, red - (kRed - kBlue)};
}

using ColourGroup = std::array<uint8_t, 48>;
constexpr int kColourGroup = static_cast<int>(ColourGroup().size());

/// Repeats a pixel's three bytes, the one of the given colour first.
constexpr ColourGroup RepeatPixel(const std::array<uint8_t, 3> &pixel, size_t firstColour = 0) {
    ColourGroup group{};
    for (size_t i = 0; i < group.size(); i++)
        group[i] = pixel[(i + firstColour) % 3];
    return group;
}

/// 255 where a byte holds the colour, in a group whose first byte holds kFirst.
template <int kColour, int kFirst>
inline constexpr ColourGroup kColourMask =
    RepeatPixel({kColour == kBlue ? 255 : 0, kColour == kGreen ? 255 : 0, kColour == kRed ? 255 : 0}, kFirst);

/// Byte `at + i` of a line, i being its place in a group whose first byte holds kFirst. The bytes of all
/// three sources are read.
template <int kFirst>
inline uint8_t MergedByte(const ColourRows &from, int at, int i) {
    const auto k = static_cast<size_t>(i);
    return static_cast<uint8_t>((from.blue[at + i] & kColourMask<kBlue, kFirst>[k]) |
                                (from.green[at + i] & kColourMask<kGreen, kFirst>[k]) |
                                (from.red[at + i] & kColourMask<kRed, kFirst>[k]));
}

/// Merges the whole pixels of bytes `at` to `end` of a line, less a level of every byte. The line may be one
/// of the sources.
inline void MergeLine(const ColourRows &from, int at, int end, const ColourGroup &level, uint8_t *line) {
    const auto less = [&](uint8_t value, int i) {
        const uint8_t off = level[static_cast<size_t>(i)];
        return static_cast<uint8_t>(std::max(value, off) - off);
    };
    for (; at + kColourGroup <= end; at += kColourGroup) {
        // Gathered apart from the line, whose red reaches into the group.
        ColourGroup group;
        for (int i = 0; i < kColourGroup; i++)
            group[static_cast<size_t>(i)] = less(MergedByte<kBlue>(from, at, i), i);
        std::memcpy(line + at, group.data(), group.size());
    }
    // Masked bytes might lie behind the image.
    for (; at < end; at += 3) {
        line[at + kBlue] = less(from.blue[at + kBlue], kBlue);
        line[at + kGreen] = less(from.green[at + kGreen], kGreen);
        line[at + kRed] = less(from.red[at + kRed], kRed);
    }
}

} // namespace k274
