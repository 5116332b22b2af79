#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace devhost {

// A picture of 8-bit RGB pixels, row by row from the top.
struct RgbImage {
    unsigned width = 0;
    unsigned height = 0;
    std::vector<std::uint8_t> pixels;  // width * height * 3 bytes

    RgbImage(unsigned w, unsigned h) : width(w), height(h), pixels(std::size_t(w) * h * 3, 0) {}
    void Set(unsigned x, unsigned y, std::uint8_t r, std::uint8_t g, std::uint8_t b);
};

// Encodes the image as a complete PNG file. The image data is stored
// uncompressed (deflate's stored blocks): thumbnails are small, and this
// keeps the encoder free of a compression library.
std::string EncodePng(const RgbImage& image);

// Writes the PNG of the image to path; false when the file cannot be written.
bool WritePng(const RgbImage& image, const std::string& path);

}  // namespace devhost
