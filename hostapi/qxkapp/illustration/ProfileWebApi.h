#pragma once

#include "du/RefCounted.h"
#include "du/SmartPtr.h"
#include "du/Symbol.h"

namespace qxk {
class View;
}

namespace qxkapp {
namespace illustration {

// The profile operations shared by the illustration and schematic modules,
// in their virtual order.
class ProfileWebApi : public virtual du::RefCounted {
public:
    virtual void GetProfiles(const du::SmartPtr<qxk::View>& view, du::Symbol& profiles) = 0;
    virtual void SetProfile(const du::SmartPtr<qxk::View>& view, const du::Symbol& name) = 0;
    virtual void ResetToDefaultProfile(const du::SmartPtr<qxk::View>& view) = 0;

protected:
    ProfileWebApi() = default;
    ~ProfileWebApi() override = default;
};

}  // namespace illustration
}  // namespace qxkapp
