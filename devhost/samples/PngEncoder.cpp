#include "devhost/samples/PngEncoder.h"

#include <algorithm>
#include <array>
#include <fstream>

namespace devhost {
namespace {

const std::array<std::uint32_t, 256>& CrcTable() {
    static const std::array<std::uint32_t, 256> table = [] {
        std::array<std::uint32_t, 256> t{};
        for (std::uint32_t n = 0; n < 256; ++n) {
            std::uint32_t c = n;
            for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xedb88320u ^ (c >> 1) : c >> 1;
            t[n] = c;
        }
        return t;
    }();
    return table;
}

std::uint32_t Crc32(const std::string& bytes, std::size_t from) {
    std::uint32_t c = 0xffffffffu;
    for (std::size_t i = from; i < bytes.size(); ++i)
        c = CrcTable()[(c ^ static_cast<std::uint8_t>(bytes[i])) & 0xff] ^ (c >> 8);
    return c ^ 0xffffffffu;
}

void PutBigEndian(std::string& out, std::uint32_t value) {
    out.push_back(static_cast<char>(value >> 24));
    out.push_back(static_cast<char>(value >> 16));
    out.push_back(static_cast<char>(value >> 8));
    out.push_back(static_cast<char>(value));
}

void PutChunk(std::string& out, const char* type, const std::string& data) {
    PutBigEndian(out, static_cast<std::uint32_t>(data.size()));
    std::string body(type, 4);
    body += data;
    out += body;
    PutBigEndian(out, Crc32(body, 0));
}

// A zlib stream of stored deflate blocks (at most 65535 bytes each).
std::string StoredZlib(const std::string& raw) {
    std::string out("\x78\x01", 2);
    std::uint32_t a = 1, b = 0;
    for (unsigned char ch : raw) {
        a = (a + ch) % 65521;
        b = (b + a) % 65521;
    }
    std::size_t pos = 0;
    do {
        const std::size_t n = std::min<std::size_t>(65535, raw.size() - pos);
        const bool last = pos + n == raw.size();
        out.push_back(last ? 1 : 0);
        out.push_back(static_cast<char>(n & 0xff));
        out.push_back(static_cast<char>(n >> 8));
        out.push_back(static_cast<char>(~n & 0xff));
        out.push_back(static_cast<char>((~n >> 8) & 0xff));
        out.append(raw, pos, n);
        pos += n;
    } while (pos < raw.size());
    PutBigEndian(out, (b << 16) | a);
    return out;
}

}  // namespace

void RgbImage::Set(unsigned x, unsigned y, std::uint8_t r, std::uint8_t g, std::uint8_t b) {
    if (x >= width || y >= height) return;
    std::uint8_t* p = &pixels[(std::size_t(y) * width + x) * 3];
    p[0] = r;
    p[1] = g;
    p[2] = b;
}

std::string EncodePng(const RgbImage& image) {
    std::string png("\x89PNG\r\n\x1a\n", 8);
    std::string header;
    PutBigEndian(header, image.width);
    PutBigEndian(header, image.height);
    header += std::string("\x08\x02\x00\x00\x00", 5);  // 8-bit RGB, no interlace
    PutChunk(png, "IHDR", header);

    std::string raw;
    raw.reserve((std::size_t(image.width) * 3 + 1) * image.height);
    for (unsigned y = 0; y < image.height; ++y) {
        raw.push_back('\0');  // filter type none
        raw.append(reinterpret_cast<const char*>(&image.pixels[std::size_t(y) * image.width * 3]),
                   std::size_t(image.width) * 3);
    }
    PutChunk(png, "IDAT", StoredZlib(raw));
    PutChunk(png, "IEND", std::string());
    return png;
}

bool WritePng(const RgbImage& image, const std::string& path) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!out) return false;
    const std::string bytes = EncodePng(image);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return static_cast<bool>(out);
}

}  // namespace devhost
