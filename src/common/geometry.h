// Geometry that the line capture, the analysis and the scan share.
#pragma once

namespace k274 {

// Sensor positions: the front sensor's half comes first, the back sensor's half is mirrored.
constexpr int kSensorRows = 2700;
constexpr int kBackFirstRow = 1350;

// Device lines: the back sensor's pixels begin before the middle of the line.
constexpr int kLinePixels = 2720;
constexpr int kBackFirstPixel = 1328;

constexpr int kRgbColumns = 2300;
constexpr int kRgbLineBytes = 3 * kLinePixels;
constexpr int kRgbLinesPerPacket = 12;

constexpr int kIrColumns = 2400;
constexpr int kIrLinesPerPacket = 11;

constexpr int kUvLines = 1200;
constexpr int kUvPixels = 1368;
constexpr int kUvLinesPerPacket = 6;
constexpr int kUvLineBytes = 3 * kUvPixels;

constexpr int kResponseTables = 7;
constexpr int kResponseBytes = kResponseTables * kSensorRows;

} // namespace k274
