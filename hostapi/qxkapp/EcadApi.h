#pragma once

#include "du/RefCounted.h"
#include "du/SmartPtr.h"

namespace qxk {
class View;
}

namespace qxkapp {

// Optional host module for electronic design views, loaded by name.
class EcadApi : public virtual du::RefCounted {
public:
    virtual void FlyToSelected(const du::SmartPtr<qxk::View>& view, int flags) = 0;

protected:
    EcadApi() = default;
    ~EcadApi() override = default;
};

}  // namespace qxkapp
