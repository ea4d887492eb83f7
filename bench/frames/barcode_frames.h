// Grey frames with barcodes in known places, as the decoder library gets them from the scanner: a dark
// surround, a printed card, and symbols turned, mirrored, skewed, blurred and covered with noise. The same
// description gives the same bytes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace barcode_frames {

enum class Kind { Pdf417, CompactPdf417, Code128, Code39 };

struct Symbol {
    Kind kind = Kind::Pdf417;
    std::string text;        // bytes; binary is allowed in PDF417
    double module = 4.4;     // width of the narrowest element, pixels
    double rowModules = 3;   // PDF417: height of one row of codewords
    double barModules = 30;  // linear codes: height of the bars
    int correctionLevel = 3; // PDF417
    double centreLine = 600; // of the symbol in the frame
    double centrePixel = 1150;
    int turn = 0; // 0..3: quarter turns clockwise; 4 more: mirrored left to right first
};

struct Damage {
    int paper = 205, ink = 30;
    double noise = 0;  // standard deviation, grey levels
    double blur = 0.6; // standard deviation, pixels
    double skew = 0;   // degrees, clockwise
};

struct Frame {
    int lines = 2540, pixels = 2300;
    std::vector<uint8_t> grey;
};

/// What a decoder should say about a symbol.
struct Truth {
    int firstLine, lastLine; // of the whole symbol, quiet zones excluded; may lie outside the frame
    int orientation;         // 1 when read towards growing pixels (or lines, for quarter turns), else 2
    int rows, columns;       // PDF417: rows and data columns
};

/// An empty scan: dark surround with a card on each side of the frame's middle when it is large enough, and
/// something like print and a portrait on the cards when `printed`.
Frame BlankFrame(int lines, int pixels, const Damage &damage, bool printed, uint32_t seed);

/// Draws the symbol on paper with its quiet zone. Parts outside the frame are clipped.
Truth Draw(Frame &frame, const Symbol &symbol, const Damage &damage);

/// Noise over the whole frame: call last.
void AddNoise(Frame &frame, const Damage &damage, uint32_t seed);

/// `length` characters that depend on `seed`: capitals, digits and blanks, or any byte.
std::string SampleText(size_t length, uint32_t seed);
std::string SampleBytes(size_t length, uint32_t seed);

/// The set that the figures in docs/barcodes.md are about: PDF417, or the linear codes in turn, over eight
/// turns, both sides and four degrees of damage.
struct Sample {
    Symbol symbol;
    Damage damage;
};
constexpr int kSamples = 64, kDegrees = 4;
Damage StandardDamage(int degree);
Sample StandardSample(bool linear, int number);

/// Draws a sample on a copy of a blank frame of the same damage.
Frame SampleFrame(const Sample &sample, const Frame &blank, uint32_t seed, Truth *truth);

} // namespace barcode_frames
