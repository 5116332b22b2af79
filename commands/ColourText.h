#pragma once

#include <ostream>

#include "dg/Color.h"
#include "du/Symbol.h"

namespace webapi {

// Colour text is one 32-bit unsigned number in hexadecimal, read the way a
// formatted hexadecimal extraction reads it: leading blanks, an optional
// "0x", digits of either case up to the first other character. False, with
// value untouched, when no number can be had or it is beyond 32 bits.
bool ParseColourText(const du::Symbol& text, unsigned int& value);

// Writes "0x00" and then the colour's packed value in lower-case hexadecimal,
// unpadded, so that the text reads back as the same number.
void WriteColourText(std::ostream& out, const dg::Color& color);

}  // namespace webapi
