#pragma once

#include <cstddef>

namespace devhost {

// Memory for texts of megabytes. Filling tens of megabytes of fresh 4 kB
// pages costs a page fault each, which on a virtual machine takes far
// longer than writing the bytes; these pages start at a huge-page boundary
// and the kernel is asked to back them with huge pages.
constexpr std::size_t kHugePage = std::size_t{1} << 21;

// length is rounded up to whole huge pages; throws std::bad_alloc.
char* MapHugePages(std::size_t& length);
void UnmapHugePages(char* pages, std::size_t length);

}  // namespace devhost
