#pragma once

#include <cstddef>

#include "dom/Message.h"
#include "du/Symbol.h"

namespace dom {

class Helper;

// Reads the values of a message in order. Each read returns false, and
// leaves the target and the position alone, when the next value is missing
// or has another type.
class MessageReader {
public:
    explicit MessageReader(const MessagePtr& message);

    bool GetStringValue(du::Symbol& value);
    bool GetDoubleValue(double& value);
    bool GetInt32Value(int& value);
    bool GetUInt32Value(unsigned int& value);
    bool GetBooleanValue(bool& value);

    std::size_t GetPosition() const { return position_; }

private:
    friend class Helper;

    MessagePtr message_;
    std::size_t position_ = 0;
};

}  // namespace dom
