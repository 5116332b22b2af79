#pragma once

#include "du/RefCounted.h"
#include "du/SmartPtr.h"

namespace qxk {
class View;
}

namespace qxkapp {
namespace illustration {

// Optional host module that drives the web illustration views, loaded by name.
class NebulaWebIpc : public virtual du::RefCounted {
public:
    virtual void FlyToSelected(const du::SmartPtr<qxk::View>& view, int flags) = 0;

protected:
    NebulaWebIpc() = default;
    ~NebulaWebIpc() override = default;
};

}  // namespace illustration
}  // namespace qxkapp
