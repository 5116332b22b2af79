// GetCurrentSelection: the active view's selection as one hand-built text.
// Items describe themselves; the text is a flat rendering of what they say,
// written as it stands, with nothing escaped.
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "commands/ModuleTrace.h"
#include "commands/SelectionFieldNames.h"
#include "commands/WebApiModuleImpl.h"
#include "qxk/Scene.h"
#include "qxk/Selection.h"
#include "qxk/View.h"
#include "qxkapp/SceneManager.h"

namespace webapi {

namespace {

// The module's thread keeps one stream for the document, emptied for each
// request: making a stream costs more than writing a selection into it.
std::ostringstream& EmptySelectionStream() {
    static thread_local std::ostringstream stream;
    stream.str(std::string());
    stream.clear();
    return stream;
}

}  // namespace

du::Symbol WebApiModuleImpl::GetCurrentSelection() {
    du::Symbol result;
    if (!sceneManager) return result;
    const du::SmartPtr<qxk::View> view = sceneManager->GetActiveView();
    if (!view) return result;
    du::SmartPtr<qxk::Scene> scene;
    view->GetScene(scene);
    if (!scene) return result;
    du::SmartPtr<qxk::SelectionManager> selection;
    scene->GetSelectionManager(selection);
    if (!selection) return result;

    std::vector<du::SmartPtr<qxk::SelectionItem>> items;
    if (!selection->GetSelectedItems(0, du::Symbol(du::Symbol::EMPTY), items, qxk::ExpandAsSelected)) return result;
    std::vector<du::SmartPtr<qxk::SelectionItemRepresentation>> representations;
    for (const auto& item : items) {
        if (!item) continue;
        du::SmartPtr<qxk::SelectionItemRepresentation> representation = item->GetRepresentation();
        if (representation) representations.push_back(representation);
    }
    if (representations.empty()) return result;

    std::ostringstream& document = EmptySelectionStream();
    WriteSelectionDocument(document, representations);
    const std::string text = document.str();
    result = du::Symbol(text);
    ModuleTracer()(dp::TT_Info) << "jsonSelection: " << text;
    return result;
}

void WebApiModuleImpl::WriteSelectionDocument(
    std::ostream& out, const std::vector<du::SmartPtr<qxk::SelectionItemRepresentation>>& representations) {
    if (representations.empty()) return;
    // Adjacent pieces are joined into one literal: one insertion each.
    out << "{\n"
           "\"selectionList\": \n{"
           "\n\"selections\":\n[\n";
    for (std::size_t index = 0; index < representations.size(); ++index) {
        const auto& representation = representations[index];
        if (index > 0) out << ",\n";
        out << "{ "
               "\"contentType\":"
               "\"" << representation->GetContentType().safe_c_str() << "\"";
        std::vector<du::Symbol> names;
        representation->GetFieldNames(names);
        if (!names.empty()) {
            out << ",\n\"fieldNames\":\n[\n";
            for (std::size_t field = 0; field < names.size(); ++field) {
                if (field > 0) out << ",\n";
                // A field the item cannot give is written with an empty value.
                std::string value;
                representation->GetField(du::Symbol(names[field].safe_c_str()), value);
                out << "{ \n"
                       "\"key\": \"" << names[field].safe_c_str() << "\", \"value\": \"" << value << "\""
                       "}\n";
            }
        }
        // Closes the field list, also for an item that opened none: clients
        // read the document in this form.
        out << "]\n"
               "}\n";
    }
    out << "]\n"
           "}\n"
           "}\n";
}

}  // namespace webapi
