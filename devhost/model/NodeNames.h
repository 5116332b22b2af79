#pragma once

#include <string>
#include <vector>

namespace devhost::model {

// The idpath segments of the children of one node, from the names the file
// gives them, in file order (WORLD_FORMAT.md, "Worlds from 3D models"):
// every "/" and "," becomes "_", "[" and "]" become "(" and ")" (idpaths are
// parted at "/", and the module's load lists at brackets and commas), no
// name becomes "node", and a segment taken by an earlier sibling gets "~"
// and the child's place among its siblings (from 0) added until it is free.
// The same file gives the same idpaths on every run.
std::vector<std::string> SegmentNames(const std::vector<std::string>& names);

}  // namespace devhost::model
