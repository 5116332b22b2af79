#include "dom/MessageReader.h"

#include "devhost/platform/MessageContent.h"

namespace dom {

namespace {

template <class T, class Target>
bool ReadNext(const MessagePtr& message, std::size_t& position, Target& value) {
    if (!message) return false;
    const auto& values = message->GetContent().values;
    if (position >= values.size()) return false;
    const T* next = std::get_if<T>(&values[position]);
    if (!next) return false;
    value = *next;
    ++position;
    return true;
}

}  // namespace

MessageReader::MessageReader(const MessagePtr& message) : message_(message) {}

bool MessageReader::GetStringValue(du::Symbol& value) { return ReadNext<du::Symbol>(message_, position_, value); }

bool MessageReader::GetDoubleValue(double& value) { return ReadNext<double>(message_, position_, value); }

bool MessageReader::GetInt32Value(int& value) { return ReadNext<std::int32_t>(message_, position_, value); }

bool MessageReader::GetUInt32Value(unsigned int& value) { return ReadNext<std::uint32_t>(message_, position_, value); }

bool MessageReader::GetBooleanValue(bool& value) { return ReadNext<bool>(message_, position_, value); }

}  // namespace dom
