#include "dom/Helper.h"

#include "devhost/platform/MessageContent.h"
#include "devhost/platform/ObjectRegistry.h"
#include "devhost/platform/ProxyBinding.h"

namespace dom {

Helper::Helper(const du::SmartPtr<ManagedObject>& context) : context_(context) {}

bool Helper::PushHandleValue(const du::SmartPtr<ManagedObject>& object, short table, MessageWriter& writer) const {
    if (!writer.message_) return false;
    writer.message_->GetContent().values.emplace_back(devhost::HandleFor(object, table));
    return true;
}

bool Helper::GetHandleValue(du::SmartPtr<ManagedObject>& object, const du::Symbol& interfaceName,
                            MessageReader& reader) const {
    if (!reader.message_) return false;
    const auto& values = reader.message_->GetContent().values;
    if (reader.position_ >= values.size()) return false;
    const devhost::HandleValue* handle = std::get_if<devhost::HandleValue>(&values[reader.position_]);
    if (!handle) return false;
    if (handle->object == 0) {
        object = nullptr;
    } else if (!devhost::MakeProxy(*handle, interfaceName, object)) {
        return false;
    }
    ++reader.position_;
    return true;
}

}  // namespace dom
