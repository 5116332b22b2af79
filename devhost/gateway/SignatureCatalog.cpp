#include "devhost/gateway/SignatureCatalog.h"

#include <deque>

#include "dom/Proxy.h"

namespace devhost::gateway {

namespace {

// Accepts one type code as a whole: a sequence only of a plain code or of
// another sequence, a reference only with a name.
bool IsTypeCode(const std::string& type) {
    if (type == "S" || type == "d" || type == "l" || type == "ul" || type == "b") return true;
    if (type.size() > 1 && type[0] == 'Q') return IsTypeCode(type.substr(1));
    return type.size() > 1 && type[0] == 'R';
}

bool ReadInterface(const std::string& name, InterfaceEntry& entry) {
    dom::ProxyFactory* factory = dom::ProxyFactoryMap::Instance().FindFactory(du::Symbol(name));
    if (!factory) return false;
    entry.name = name;
    const int count = factory->GetMethodCount();
    for (int index = 0; index < count; ++index) {
        MethodEntry method;
        method.index = index;
        method.signature = factory->GetMethodSignature(index).str();
        method.id = factory->GetMethodId(index);
        // A signature that does not parse is still listed, by its text; it
        // can be named in a call but takes no arguments.
        if (!ParseSignature(method.signature, method.name, method.parameters)) method.name = method.signature;
        entry.methods.push_back(std::move(method));
    }
    return true;
}

}  // namespace

bool ParseSignature(const std::string& signature, std::string& name, std::vector<Parameter>& parameters) {
    parameters.clear();
    std::size_t cut = signature.find("__");
    name = signature.substr(0, cut);
    if (name.empty()) return false;
    while (cut != std::string::npos) {
        const std::size_t start = cut + 2;
        cut = signature.find("__", start);
        const std::string part = signature.substr(start, cut == std::string::npos ? cut : cut - start);
        if (part.size() < 2 || (part[0] != 'I' && part[0] != 'O') || !IsTypeCode(part.substr(1))) return false;
        parameters.push_back(Parameter{part[0] == 'O', part.substr(1)});
    }
    return true;
}

std::string ReferencedInterface(const std::string& type) {
    return type.size() > 1 && type[0] == 'R' ? type.substr(1) : std::string();
}

const MethodEntry* InterfaceEntry::FindById(int id) const {
    for (const MethodEntry& method : methods)
        if (method.id == id) return &method;
    return nullptr;
}

const MethodEntry* InterfaceEntry::Find(const std::string& nameOrSignature, bool* ambiguous) const {
    if (ambiguous) *ambiguous = false;
    const MethodEntry* byName = nullptr;
    for (const MethodEntry& method : methods) {
        if (method.signature == nameOrSignature) return &method;
        if (method.name != nameOrSignature) continue;
        if (byName) {
            if (ambiguous) *ambiguous = true;
            return nullptr;
        }
        byName = &method;
    }
    return byName;
}

SignatureCatalog SignatureCatalog::Read(const std::string& served) {
    SignatureCatalog catalog;
    catalog.served_ = served;
    std::deque<std::string> pending{served};
    while (!pending.empty()) {
        const std::string name = pending.front();
        pending.pop_front();
        if (catalog.Find(name)) continue;
        InterfaceEntry entry;
        if (!ReadInterface(name, entry)) continue;
        for (const MethodEntry& method : entry.methods)
            for (const Parameter& parameter : method.parameters)
                if (std::string referenced = ReferencedInterface(parameter.type); !referenced.empty())
                    pending.push_back(referenced);
        catalog.interfaces_.push_back(std::move(entry));
    }
    return catalog;
}

const InterfaceEntry* SignatureCatalog::Find(const std::string& name) const {
    for (const InterfaceEntry& entry : interfaces_)
        if (entry.name == name) return &entry;
    return nullptr;
}

}  // namespace devhost::gateway
