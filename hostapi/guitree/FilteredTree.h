#pragma once

namespace guitree {

// The tree as a filter leaves it.
class FilteredTree {
public:
    class Node;  // a node of the filtered tree; the host's own
};

class TreeSelectionController;  // links tree selection and scene selection
class SceneInfoLog;             // changes of a scene gathered for the tree

}  // namespace guitree
