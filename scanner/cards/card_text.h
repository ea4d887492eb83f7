// The text file of a card: one "key = value" a line, "#" begins a comment line.
#pragma once

#include "scanner/cards/card.h"

#include <filesystem>
#include <string>

namespace scanner {

struct CardText {
    std::string name;        // empty: the folder's name
    int dotsPerInch = 550;   // of the pictures
    int cornerRadius = 1250; // 1/10000 inch
    Traits traits;
};

/// Throws CardError with a text that names the file, the line and the cure.
CardText ReadCardText(const std::filesystem::path &path);

} // namespace scanner
