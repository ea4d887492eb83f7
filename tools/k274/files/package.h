// A scan as its files hold it: the content of scan.json, the packed images, the response curves, the log.
// Commands make it from a finished scan, a scan file or a folder of an earlier scan.
#pragma once

#include <cstdint>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tools/k274/facts/capture.h"
#include "tools/k274/facts/curves.h"
#include "tools/k274/files/files.h"

namespace host {

struct PackedImage {
    std::string name;
    int width, height, channels;
    std::vector<uint8_t> png;
};

struct Package {
    nlohmann::ordered_json description;
    std::vector<PackedImage> images;
    Curves curves;
    std::string log; // empty: none was kept
    /// What maintenance commands left in the folder, by the names of their files without .json.
    nlohmann::ordered_json maint = nlohmann::ordered_json::object();
};

std::vector<PackedImage> PackImages(const Capture &capture);

/// Adds what a card says and what was measured to a description.
/// @param barcode null when nothing was decoded
/// @param decodedHere not from a file
void DescribeCard(const Capture &capture, const K274_Barcode *barcode, bool decodedHere,
                  nlohmann::ordered_json &description);

/// Puts the images into the set and tells of them in the description.
void AddImages(FileSet &files, Package &package);
/// Puts the file into the set and tells of it in the description's "files".
void AddFile(FileSet &files, Package &package, const char *key, const std::string &name,
             const std::string &content);
/// Puts scan.json into the set, last: it vouches for the files that it names.
void AddDescription(FileSet &files, const Package &package);

/// A scan file, or a folder with scan.json. Throws HostError(kBadFile).
Package ReadPackage(const std::filesystem::path &path);
/// A scan file. Throws HostError(kBadFile).
Package ReadScanFile(const std::filesystem::path &path);

} // namespace host
