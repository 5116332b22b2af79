#pragma once

#include <functional>
#include <string>
#include <vector>

#include <rapidjson/document.h>

#include "devhost/content/WorldContent.h"

namespace devhost {

// Reports a problem at a place of the world file, such as
// "/shapes/bracket/bodies/0/children/2".
using ContentErrorSink = std::function<void(const std::string& place, const std::string& message)>;

// The top-level keys of a world file that hold content.
const std::vector<std::string>& ContentSectionNames();

// Reads one content section into the content. False after reporting the
// first problem through error; the content may then be partly filled.
// place is the section's own place, such as "/shapes".
bool ReadContentSection(const std::string& key, const rapidjson::Value& value, const std::string& place,
                        WorldContent& content, const ContentErrorSink& error);

}  // namespace devhost
