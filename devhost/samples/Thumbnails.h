#pragma once

#include <string>

#include "devhost/samples/PngEncoder.h"

namespace devhost {

// A small picture of a part for a viewable's thumbnail: a shaded background
// and a lit box whose colour and proportions follow the seed, so that
// different viewables get visibly different thumbnails.
RgbImage DrawPartThumbnail(unsigned seed, unsigned size = 32);

// Writes DrawPartThumbnail(seed, size) as a PNG file; false on failure.
bool WritePartThumbnail(const std::string& path, unsigned seed, unsigned size = 32);

}  // namespace devhost
