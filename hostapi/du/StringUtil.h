#pragma once

#include <string>
#include <vector>

namespace du {

// Appends the pieces of text between occurrences of separator to tokens.
// Empty pieces are skipped, so an empty text or a text of separators yields
// no token at all.
void StringSplit(const std::string& text, std::vector<std::string>& tokens, const char* separator);

// The smallest prime of the host's hash table sizes that is not below n.
unsigned long HashNextPrime(unsigned long n);

}  // namespace du
