#pragma once

#include <vector>

#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "qxk/AnnoSetTable.h"

namespace devhost {

// A shape instance that applying a set gives its scene.
struct AnnoSetShape {
    du::Symbol idPath;
    bool visible = true;
};

struct AnnoSetDesc {
    du::Symbol name;
    du::Symbol propName;
    qxk::AnnoSetContentType contentType = qxk::AnnoSetContentModel;
    // What kind of scene the scene manager builds for this set.
    enum class SceneKind { Shape, Illustration3d, Plain } sceneKind = SceneKind::Shape;
    // What the set shows once applied to a shape scene.
    std::vector<AnnoSetShape> shapes;
    // An application of a held set waits until a test releases it.
    bool held = false;
};

class AnnoSetTableEntry final : public qxk::AnnoSetTableEntry {
public:
    explicit AnnoSetTableEntry(AnnoSetDesc desc) : desc_(std::move(desc)) {}
    du::Symbol GetName() const override;
    du::Symbol GetPropName() const override;
    const AnnoSetDesc& GetDesc() const { return desc_; }

private:
    const AnnoSetDesc desc_;
};

// The world's annotation sets in table order; fixed once made. Content type
// 0 asks for every entry, any other for the entries of that type.
class AnnoSetTable final : public qxk::AnnoSetTable {
public:
    explicit AnnoSetTable(const std::vector<AnnoSetDesc>& sets);

    void GetEntries(std::vector<du::SmartPtr<qxk::AnnoSetTableEntry>>& entries,
                    qxk::AnnoSetContentType contentType) const override;
    bool GetAnnotationEntry(const du::Symbol& name, qxk::AnnoSetContentType contentType,
                            du::SmartPtr<qxk::AnnoSetTableEntry>& entry) const override;

private:
    std::vector<du::SmartPtr<AnnoSetTableEntry>> entries_;
};

}  // namespace devhost
