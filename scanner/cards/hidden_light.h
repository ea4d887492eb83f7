// What the lights that nobody sees show of a card whose folder has no pictures for them.
#pragma once

#include "scanner/cards/card.h"

namespace scanner {

/// Infrared: black stays dark, coloured dyes all but vanish.
GreyPicture DeriveInfrared(const Picture &art);
/// Ultraviolet: paper glows weakly and blue, print covers the glow.
Picture DeriveUltraviolet(const Picture &art);
/// A picture as grey, for infrared light.
GreyPicture Luminance(const Picture &picture);

} // namespace scanner
