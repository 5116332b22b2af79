#pragma once

#include <cstdint>
#include <vector>

#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "qxk/Object.h"

namespace qxk {

class BaseInstanceVisitor;

// A node of a structure tree.
class BaseInstance : public Object {
public:
    static constexpr ClassType CLASS_TYPE{0x02};

    enum VisitType {
        VT_DepthFirst = 0,   // parents before children, each branch to its end
        VT_BreadthFirst = 1  // level by level
    };

    // Unique within the process for the life of the instance.
    std::uint64_t GetUniqueId() const;
    // "/"-joined names from the root; cutting at the last "/" gives the
    // parent's idpath.
    virtual du::Symbol GetIdPath() const;
    // The instance's own segment of the idpath.
    du::Symbol GetName() const;
    du::SmartPtr<BaseInstance> GetParent() const;
    void GetChildren(std::vector<du::SmartPtr<BaseInstance>>& children) const;

    // Walks this instance (level 0) and its branch. The visitor runs with no
    // lock of the world held, so it may call back into the world.
    void Visit(BaseInstanceVisitor& visitor, VisitType type);

protected:
    BaseInstance() = default;
    ~BaseInstance() override = default;
    bool IsOfClass(unsigned int number) const override {
        return number == CLASS_TYPE.GetNumber() || Object::IsOfClass(number);
    }
};

}  // namespace qxk
