#include "devhost/model/NodeNames.h"

#include <unordered_set>

namespace devhost::model {

std::vector<std::string> SegmentNames(const std::vector<std::string>& names) {
    std::vector<std::string> segments;
    segments.reserve(names.size());
    std::unordered_set<std::string> taken;
    for (std::size_t place = 0; place < names.size(); ++place) {
        std::string segment = names[place].empty() ? std::string("node") : names[place];
        // "/" parts an idpath; the module's load lists are cut at brackets
        // and commas.
        for (char& c : segment) c = c == '/' || c == ',' ? '_' : c == '[' ? '(' : c == ']' ? ')' : c;
        // The place is unique among the siblings, so only a sibling that
        // carries such a suffix in its own name can take the segment again.
        while (!taken.insert(segment).second) segment += "~" + std::to_string(place);
        segments.push_back(std::move(segment));
    }
    return segments;
}

}  // namespace devhost::model
