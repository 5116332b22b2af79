#pragma once

#include <stdexcept>

namespace devhost::model {

// A 3D file (or its side file) that gives no world: the text names the file
// and the reason.
class ModelFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace devhost::model
