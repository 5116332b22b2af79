// The development host: the sample world (or a world file), the plug-in
// loaded the way the viewer loads it, and a web client that drives the
// module through the messaging layer from a session of command lines.

#include <cstdio>
#include <fstream>
#include <iostream>
#include <mutex>
#include <string>
#include <vector>

#include "devhost/app/CommandConsole.h"
#include "devhost/client/CallbackReceivers.h"
#include "devhost/client/ClientActor.h"
#include "devhost/client/PluginLibrary.h"
#include "devhost/content/ContentWorldFile.h"
#include "devhost/platform/TraceLog.h"
#include "devhost/samples/SampleWorlds.h"
#include "devhost/world/Settle.h"
#include "devhost/world/WorldFile.h"
#include "dom/ManagedObject.h"
#include "qxk/ActiveModule.h"
#include "qxk/BaseTree.h"
#include "qxk/Tree.h"
#include "qxk/World.h"

namespace {

struct Options {
    std::string worldFile;                         // "" for the built-in sample world
    std::string session = DEVHOST_DEMO_SESSION;   // "-" for standard input
    std::string plugin = WEBAPI_PLUGIN_PATH;
    bool trace = true;
};

void PrintUsage() {
    std::cout << "usage: qxdevhost [--world FILE] [--session FILE|-] [--plugin PATH] [--no-trace]\n"
                 "  Session lines are \"Method argument ...\" (the last argument takes the rest of the\n"
                 "  line; quote others with '...'), \"settle\" (wait for host work and callbacks),\n"
                 "  \"methods\", or comments starting with #.\n";
}

bool ParseOptions(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        auto value = [&](std::string& target) {
            if (i + 1 >= argc) return false;
            target = argv[++i];
            return true;
        };
        if (arg == "--world") {
            if (!value(options.worldFile)) return false;
        } else if (arg == "--session") {
            if (!value(options.session)) return false;
        } else if (arg == "--plugin") {
            if (!value(options.plugin)) return false;
        } else if (arg == "--no-trace") {
            options.trace = false;
        } else {
            return false;
        }
    }
    return true;
}

std::mutex g_printLock;

void Print(const std::string& text) {
    std::lock_guard<std::mutex> hold(g_printLock);
    std::cout << text << std::flush;
}

devhost::CallbackSink PrintingSink() {
    return [](const devhost::ReceivedCall& call) {
        std::string line = "  <- " + call.method + "(";
        for (std::size_t i = 0; i < call.arguments.size(); ++i) line += (i ? ", " : "") + call.arguments[i];
        Print(line + ")\n");
    };
}

void DescribeWorld() {
    const du::SmartPtr<qxk::World> world = qxk::World::GetWorld();
    unsigned int instances = 0;
    if (world && world->tree) world->tree->GetNumInstances(instances);
    Print("world \"" + std::string(world ? world->GetActorName().safe_c_str() : "") + "\" with " +
          std::to_string(instances) + " instances\n");
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (!ParseOptions(argc, argv, options)) {
        PrintUsage();
        return 2;
    }
    devhost::TraceLog::SetEcho(options.trace);

    try {
        if (options.worldFile.empty()) {
            devhost::LoadDefaultSampleWorld();
        } else {
            devhost::LoadContentWorldFile(options.worldFile);
        }
    } catch (const std::exception& failure) {
        std::cerr << "qxdevhost: " << failure.what() << '\n';
        return 1;
    }
    DescribeWorld();

    devhost::PluginLibrary plugin(options.plugin);
    if (!plugin.IsLoaded()) {
        std::cerr << "qxdevhost: cannot load " << options.plugin << ": " << plugin.Error() << '\n';
        return 1;
    }
    const bool started = plugin.Init();
    du::SmartPtr<du::RefCounted> component;
    if (!started || !plugin.CreateComponent("world", "web", "api", component)) {
        std::cerr << "qxdevhost: the plug-in did not start\n";
        plugin.Terminate();
        return 1;
    }
    const du::Symbol actorName = dynamic_cast<qxk::ActiveModule&>(*component).GetActorName();
    Print("plug-in " + options.plugin + " answers as actor \"" + actorName.str() + "\"\n");

    int failures = 0;
    {
        devhost::ClientActor client("WebClient");
        du::SmartPtr<devhost::TreeObserverReceiver> observer = new devhost::TreeObserverReceiver(PrintingSink());
        du::SmartPtr<devhost::ViewablesRequestReceiver> viewables =
            new devhost::ViewablesRequestReceiver(PrintingSink());
        client.Adopt(observer);
        client.Adopt(viewables);

        du::SmartPtr<dom::ManagedObject> proxy;
        dom::ManagedObject::FindActor(actorName, "webapi::WebApiModule", proxy);
        du::SmartPtr<webapi::WebApiModule> module = du::DynamicCast<webapi::WebApiModule>(proxy);
        if (!module) {
            std::cerr << "qxdevhost: no actor \"" << actorName.str() << "\" with webapi::WebApiModule\n";
            failures = 1;
        } else {
            devhost::app::CommandConsole console(module, {observer, viewables}, std::cout);
            auto settle = [&] { devhost::Settle({proxy, observer, viewables}); };
            std::ifstream file;
            if (options.session != "-") file.open(options.session);
            std::istream& session = options.session == "-" ? std::cin : file;
            if (!session) {
                std::cerr << "qxdevhost: cannot read " << options.session << '\n';
                failures = 1;
            }
            std::string line;
            while (std::getline(session, line)) {
                if (line.empty()) continue;
                if (line[0] == '#') {
                    Print(line + "\n");
                } else if (line == "settle") {
                    settle();
                } else if (line == "methods") {
                    for (const std::string& name : devhost::app::CommandConsole::MethodNames()) Print(name + "\n");
                } else {
                    std::lock_guard<std::mutex> hold(g_printLock);
                    if (!console.Run(line)) ++failures;
                }
            }
            settle();
        }
    }

    plugin.Terminate();
    component.reset();
    Print(std::string("plug-in terminated and ") + (plugin.Unload() ? "unloaded" : "still loaded") + "\n");
    return failures == 0 ? 0 : 1;
}
