#include "devhost/app/ConsoleSession.h"

#include <fstream>
#include <iostream>
#include <mutex>

#include "devhost/app/CommandConsole.h"
#include "devhost/client/CallbackReceivers.h"
#include "devhost/client/ClientActor.h"
#include "devhost/world/Settle.h"

namespace devhost::app {

namespace {

std::mutex g_printLock;

void Print(const std::string& text) {
    std::lock_guard<std::mutex> hold(g_printLock);
    std::cout << text << std::flush;
}

CallbackSink PrintingSink() {
    return [](const ReceivedCall& call) {
        std::string line = "  <- " + call.method + "(";
        for (std::size_t i = 0; i < call.arguments.size(); ++i) line += (i ? ", " : "") + call.arguments[i];
        Print(line + ")\n");
    };
}

}  // namespace

int RunConsoleSession(const du::SmartPtr<webapi::WebApiModule>& module, const std::string& session) {
    ClientActor client("WebClient");
    du::SmartPtr<TreeObserverReceiver> observer = new TreeObserverReceiver(PrintingSink());
    du::SmartPtr<ViewablesRequestReceiver> viewables = new ViewablesRequestReceiver(PrintingSink());
    client.Adopt(observer);
    client.Adopt(viewables);

    CommandConsole console(module, {observer, viewables}, std::cout);
    auto settle = [&] { Settle({du::DynamicCast<dom::ManagedObject>(module), observer, viewables}); };
    std::ifstream file;
    if (session != "-") file.open(session);
    std::istream& lines = session == "-" ? std::cin : file;
    int failures = 0;
    if (!lines) {
        std::cerr << "webapi-devhost: cannot read " << session << '\n';
        failures = 1;
    }
    std::string line;
    while (std::getline(lines, line)) {
        if (line.empty()) continue;
        if (line[0] == '#') {
            Print(line + "\n");
        } else if (line == "settle") {
            settle();
        } else if (line == "methods") {
            for (const std::string& name : CommandConsole::MethodNames()) Print(name + "\n");
        } else {
            std::lock_guard<std::mutex> hold(g_printLock);
            if (!console.Run(line)) ++failures;
        }
    }
    settle();
    return failures;
}

}  // namespace devhost::app
