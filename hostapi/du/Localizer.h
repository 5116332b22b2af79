#pragma once

#include <string>

namespace du {

// Reads message texts out of a named message resource that the host has
// registered.
class Localizer {
public:
    enum ActionOnFailure {
        AOF_ReturnKey = 0,    // a missing key gives the key itself
        AOF_ReturnEmpty = 1,  // a missing key gives an empty text
        AOF_Throw = 2         // a missing key throws std::out_of_range
    };

    explicit Localizer(const char* resourceName);
    std::string LocalizeMessage(const char* key, ActionOnFailure onFailure) const;

private:
    std::string resourceName_;
};

}  // namespace du
