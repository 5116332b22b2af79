#pragma once

#include <cstddef>

namespace devhost {

// Memory for texts of megabytes. Filling tens of megabytes of fresh 4 kB
// pages costs a page fault each, which on a virtual machine takes far
// longer than writing the bytes; these pages start at a huge-page boundary
// and the kernel is asked to back them with huge pages.
constexpr std::size_t kHugePage = std::size_t{1} << 21;

// length in whole huge pages.
std::size_t HugePagesLength(std::size_t length);
// Pages for HugePagesLength(length) bytes; throws std::bad_alloc.
char* MapHugePages(std::size_t length);
// Unmaps what MapHugePages gave for the same length.
void UnmapHugePages(char* pages, std::size_t length);

}  // namespace devhost
