#include "du/Localizer.h"

#include <mutex>
#include <stdexcept>

#include "devhost/platform/MessageResources.h"

namespace {

struct Resources {
    std::mutex mutex;
    std::map<std::string, std::map<std::string, std::string>> tables;
};

// Never destroyed, so that texts can be read from static destructors too.
Resources& TheResources() {
    static Resources* resources = new Resources;
    return *resources;
}

}  // namespace

namespace devhost {

void RegisterMessageResource(const std::string& name, std::map<std::string, std::string> texts) {
    Resources& r = TheResources();
    std::lock_guard<std::mutex> hold(r.mutex);
    r.tables[name] = std::move(texts);
}

void UnregisterMessageResource(const std::string& name) {
    Resources& r = TheResources();
    std::lock_guard<std::mutex> hold(r.mutex);
    r.tables.erase(name);
}

}  // namespace devhost

namespace du {

Localizer::Localizer(const char* resourceName) : resourceName_(resourceName ? resourceName : "") {}

std::string Localizer::LocalizeMessage(const char* key, ActionOnFailure onFailure) const {
    const std::string name = key ? key : "";
    {
        Resources& r = TheResources();
        std::lock_guard<std::mutex> hold(r.mutex);
        auto table = r.tables.find(resourceName_);
        if (table != r.tables.end()) {
            auto text = table->second.find(name);
            if (text != table->second.end()) return text->second;
        }
    }
    switch (onFailure) {
    case AOF_ReturnEmpty:
        return std::string();
    case AOF_Throw:
        throw std::out_of_range("No message " + name + " in resource " + resourceName_);
    case AOF_ReturnKey:
        break;
    }
    return name;
}

}  // namespace du
