#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "qxk/BaseInstance.h"
#include "qxk/Instance.h"

// How a client names tree nodes: by id for loaded nodes, through the
// instance map of a tree watcher, and by idpath for any node, through the
// world's tree.

// The id of every instance of a tree; the pointers are not counted, so the
// map must hear of each removal before the instance goes.
using InstanceMap = std::map<std::uint64_t, qxk::BaseInstance*>;

// Reads an id the way every request does: leading white space is skipped,
// the number ends at the first character that is not part of it, and text
// with no number, or one out of range, fails.
bool TextToId(const std::string& text, std::uint64_t& id);

// The instance that the text names in the map, or null.
qxk::BaseInstance* LookUpId(const InstanceMap& map, const std::string& text);

// The instance of the world's tree with that idpath, or null, also when
// there is no world or it has no tree.
du::SmartPtr<qxk::Instance> FindInstanceAtPath(const du::Symbol& path);

// The longest prefix of path, cut at "/", that names an instance of the
// world's tree, or the empty symbol.
du::Symbol NearestInstancePath(const du::Symbol& path);
