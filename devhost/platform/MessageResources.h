#pragma once

#include <map>
#include <string>

namespace devhost {

// The host's message resources, read by du::Localizer. A resource is a named
// table of texts by key, e.g. "qxbase:qxkStrings" with key "7000".
// Registering a name again replaces its table.
void RegisterMessageResource(const std::string& name, std::map<std::string, std::string> texts);
void UnregisterMessageResource(const std::string& name);

}  // namespace devhost
