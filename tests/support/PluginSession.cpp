#include "PluginSession.h"

namespace support {

PluginSession::~PluginSession() { End(); }

void PluginSession::RegisterTreeObserver() {
    client_.Module().RegisterTreeObserver(du::SmartPtr<webapi::TreeObserver>(client_.Observer()));
    Settle();
}

void PluginSession::SelectTreeNodes(const std::string& request) { Module().SelectTreeNodes(du::Symbol(request)); }

std::vector<std::string> PluginSession::Received() {
    Settle();
    return received_.Calls();
}

std::vector<std::string> PluginSession::Documents() {
    std::vector<std::string> documents;
    for (const std::string& call : Received()) {
        const auto space = call.find(' ');
        if (space != std::string::npos) documents.push_back(call.substr(space + 1));
    }
    return documents;
}

void PluginSession::End() {
    if (ended_) return;
    ended_ = true;
    Settle();
    EXPECT_TRUE(client_.Unload()) << "the plug-in stays in memory";
}

}  // namespace support
