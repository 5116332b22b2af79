#include "devhost/samples/Thumbnails.h"

#include <cstdint>

namespace devhost {

RgbImage DrawPartThumbnail(unsigned seed, unsigned size) {
    RgbImage image(size, size);
    const std::uint32_t h = seed * 2654435761u;
    const std::uint8_t r = static_cast<std::uint8_t>(64 + (h >> 24) % 160);
    const std::uint8_t g = static_cast<std::uint8_t>(64 + (h >> 16) % 160);
    const std::uint8_t b = static_cast<std::uint8_t>(64 + (h >> 8) % 160);
    const unsigned margin = size / 5 + (h % 3);
    const unsigned depth = size / 6;
    for (unsigned y = 0; y < size; ++y) {
        for (unsigned x = 0; x < size; ++x) {
            const auto shade = static_cast<std::uint8_t>(200 + 40 * y / (size ? size : 1));
            image.Set(x, y, shade, shade, shade);
        }
    }
    // Front face, then the top and right faces drawn lighter and darker.
    for (unsigned y = margin + depth; y + margin < size; ++y)
        for (unsigned x = margin; x + margin + depth < size; ++x) image.Set(x, y, r, g, b);
    for (unsigned d = 0; d < depth; ++d) {
        for (unsigned x = margin + d; x + margin + depth < size + d; ++x)
            image.Set(x + 1, margin + depth - 1 - d, static_cast<std::uint8_t>(r + (255 - r) / 2),
                      static_cast<std::uint8_t>(g + (255 - g) / 2), static_cast<std::uint8_t>(b + (255 - b) / 2));
        for (unsigned y = margin + depth - d; y + margin < size - d; ++y)
            image.Set(size - margin - depth + d, y, static_cast<std::uint8_t>(r / 2), static_cast<std::uint8_t>(g / 2),
                      static_cast<std::uint8_t>(b / 2));
    }
    return image;
}

bool WritePartThumbnail(const std::string& path, unsigned seed, unsigned size) {
    return WritePng(DrawPartThumbnail(seed, size), path);
}

}  // namespace devhost
