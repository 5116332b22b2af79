#pragma once

#include <cstddef>
#include <string>

// The text strictly between two positions of it, as the loose request
// readers cut it, with the arithmetic of unsigned positions: an end before
// the start, or npos, wraps round to a count past the end and so takes the
// rest of the text; a start of npos begins at the first character. Both
// the node state query and the scene loader cut their lists this way, and
// a client's text relies on it.
std::string CutBetween(const std::string& text, std::size_t start, std::size_t end);
