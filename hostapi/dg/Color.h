#pragma once

namespace dg {

// A colour as the viewer stores it: 0xRRGGBBAA, red in the top byte and
// alpha in the lowest. The packed number is the colour's identity: built from
// a number, GetAsHex gives that number back unchanged.
class Color {
public:
    Color() noexcept = default;
    explicit Color(unsigned int rgba) noexcept : rgba_(rgba) {}
    // Components from 0.0 to 1.0; values outside are clamped.
    Color(float red, float green, float blue, float alpha) noexcept
        : rgba_(Byte(red) << 24 | Byte(green) << 16 | Byte(blue) << 8 | Byte(alpha)) {}

    unsigned int GetAsHex() const noexcept { return rgba_; }
    float Red() const noexcept { return Component(24); }
    float Green() const noexcept { return Component(16); }
    float Blue() const noexcept { return Component(8); }
    float Alpha() const noexcept { return Component(0); }

    bool operator==(const Color& other) const noexcept { return rgba_ == other.rgba_; }
    bool operator!=(const Color& other) const noexcept { return rgba_ != other.rgba_; }

private:
    static unsigned int Byte(float value) noexcept {
        if (!(value > 0.0f)) return 0;  // also catches NaN
        if (value >= 1.0f) return 255;
        return static_cast<unsigned int>(value * 255.0f + 0.5f);
    }
    float Component(int shift) const noexcept {
        return static_cast<float>((rgba_ >> shift) & 0xffu) / 255.0f;
    }

    unsigned int rgba_ = 0x000000ffu;  // opaque black
};

}  // namespace dg
