#include "commands/ColourText.h"

#include <ios>
#include <sstream>

namespace webapi {

bool ParseColourText(const du::Symbol& text, unsigned int& value) {
    std::stringstream stream;
    stream << std::hex;
    text.Print(stream);
    unsigned int read = 0;
    stream >> read;
    if (stream.fail() || stream.bad()) return false;
    value = read;
    return true;
}

void WriteColourText(std::ostream& out, const dg::Color& color) {
    out << "0x00" << std::hex << color.GetAsHex();
}

}  // namespace webapi
