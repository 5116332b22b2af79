#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace fuzz {

// Reads fixed-size values from the front of a fuzz input. Past the end it
// gives zeros, so that every input, however short, means something.
class ByteReader {
public:
    ByteReader(const std::uint8_t* data, std::size_t size) : data_(data), left_(size) {}

    bool Empty() const { return left_ == 0; }

    template <class T>
    T Take() {
        T value{};
        const std::size_t n = sizeof(T) < left_ ? sizeof(T) : left_;
        if (n > 0) std::memcpy(&value, data_, n);
        Skip(n);
        return value;
    }

    // A length byte, then up to that many bytes.
    std::string TakeText() {
        std::size_t n = Take<std::uint8_t>();
        if (n > left_) n = left_;
        std::string text(reinterpret_cast<const char*>(data_), n);
        Skip(n);
        return text;
    }

private:
    void Skip(std::size_t n) {
        data_ += n;
        left_ -= n;
    }

    const std::uint8_t* data_;
    std::size_t left_;
};

}  // namespace fuzz
