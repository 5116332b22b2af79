// The development host's main job: a world (the built-in sample, a world
// file or a synthetic world), the plug-in loaded the way the viewer loads
// it, and the module served to web pages and HTTP clients through the
// gateway on 127.0.0.1, until Ctrl-C or SIGTERM. With --session it runs a
// console session of command lines instead.

#include <cctype>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include <pthread.h>

#include "devhost/app/ConsoleSession.h"
#include "devhost/client/PluginLibrary.h"
#include "devhost/content/ContentWorldFile.h"
#include "devhost/gateway/Gateway.h"
#include "devhost/gateway/HostControl.h"
#include "devhost/model/ModelFile.h"
#include "devhost/gateway/WorldFolders.h"
#include "devhost/platform/TraceLog.h"
#include "devhost/samples/SampleWorlds.h"
#include "dom/ManagedObject.h"
#include "qxk/ActiveModule.h"
#include "qxk/BaseTree.h"
#include "qxk/Tree.h"
#include "qxk/World.h"

namespace {

struct Options {
    std::string worldFile;          // "" for the built-in sample world
    std::string modelFile;          // a 3D file to build the world from; "" for none
    std::size_t synthetic = 0;      // instances of a synthetic world; 0: none
    std::string session;            // "" for the gateway; "-" for standard input
    std::string plugin = WEBAPI_PLUGIN_PATH;
    std::string web = DEVHOST_WEB_ROOT;
    int port = 8080;
    std::string token;              // "" for a random one
    std::size_t maxBody = 16u << 20;
    std::vector<std::string> worldFolders;  // none: the samples and --world's folder
    bool trace = false;
};

void PrintUsage() {
    std::cout << "usage: webapi-devhost [--world FILE | --model FILE | --synthetic N] [--plugin PATH] [--port P] [--session FILE|-]\n"
                 "                      [--web DIR] [--token TEXT] [--max-body BYTES] [--world-dir DIR ...] [--trace]\n"
                 "  Serves the module on http://127.0.0.1:P/ (default 8080, or the next free port), with the\n"
                 "  page at / and the API of devhost/gateway/GATEWAY.md. --session runs a console session of\n"
                 "  lines \"Method argument ...\", \"settle\", \"methods\" or # comments instead. --trace echoes\n"
                 "  the trace to standard error. Every API request carries the token printed with the address\n"
                 "  (random, or --token TEXT). The control loads world files from the --world-dir folders only\n"
                 "  (by default the samples folder and the folder of --world). --model builds the world from a\n"
                 "  3D file (glTF, IFC, COLLADA, FBX, OBJ, STL, ...), with the rest of the world from\n"
                 "  FILE.world.json if there is one.\n";
}

bool ParseOptions(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        std::string value;
        auto next = [&] {
            if (i + 1 >= argc) return false;
            value = argv[++i];
            return true;
        };
        try {
            if (arg == "--world" && next()) {
                options.worldFile = value;
            } else if (arg == "--model" && next()) {
                options.modelFile = value;
            } else if (arg == "--synthetic" && next()) {
                options.synthetic = std::stoul(value);
            } else if (arg == "--session" && next()) {
                options.session = value;
            } else if (arg == "--plugin" && next()) {
                options.plugin = value;
            } else if (arg == "--web" && next()) {
                options.web = value;
            } else if (arg == "--port" && next()) {
                options.port = std::stoi(value);
            } else if (arg == "--token" && next() && !value.empty()) {
                options.token = value;
            } else if (arg == "--max-body" && next()) {
                options.maxBody = std::stoul(value);
            } else if (arg == "--world-dir" && next()) {
                options.worldFolders.push_back(value);
            } else if (arg == "--trace") {
                options.trace = true;
            } else if (arg == "--no-trace") {
                options.trace = false;
            } else {
                return false;
            }
        } catch (const std::exception&) {
            return false;
        }
    }
    const int worlds = !options.worldFile.empty() + (options.synthetic > 0) + !options.modelFile.empty();
    return worlds <= 1;
}

// A token given with --token may hold any character; in the address it is
// percent-encoded.
std::string UrlText(const std::string& text) {
    static const char kDigits[] = "0123456789ABCDEF";
    std::string encoded;
    for (unsigned char c : text) {
        if (std::isalnum(c) || c == '-' || c == '_' || c == '.' || c == '~') {
            encoded += static_cast<char>(c);
        } else {
            encoded += '%';
            encoded += kDigits[c >> 4];
            encoded += kDigits[c & 15];
        }
    }
    return encoded;
}

void DescribeWorld() {
    const du::SmartPtr<qxk::World> world = qxk::World::GetWorld();
    unsigned int instances = 0;
    if (world && world->tree) world->tree->GetNumInstances(instances);
    std::cout << "world \"" << (world ? world->GetActorName().safe_c_str() : "") << "\" with " << instances
              << " instances" << std::endl;
}

// Serves until SIGINT or SIGTERM, which every thread blocks so that one
// waiting thread takes them.
int ServeGateway(const Options& options, const du::Symbol& actorName,
                 sigset_t& stopSignals) {
    devhost::gateway::GatewayOptions gatewayOptions;
    gatewayOptions.actorName = actorName.str();
    gatewayOptions.webRoot = options.web;
    gatewayOptions.token = options.token;
    gatewayOptions.maxBody = options.maxBody;
    gatewayOptions.worldFolders = options.worldFolders;
    if (gatewayOptions.worldFolders.empty()) {
        gatewayOptions.worldFolders.push_back(devhost::gateway::SamplesFolder());
        if (!options.worldFile.empty())
            gatewayOptions.worldFolders.push_back(std::filesystem::absolute(options.worldFile).parent_path().string());
    }
    devhost::gateway::Gateway gateway(gatewayOptions);
    std::string why;
    if (!gateway.Ready(&why)) {
        std::cerr << "webapi-devhost: " << why << '\n';
        return 1;
    }
    const int port = gateway.Bind(options.port);
    if (port < 0) {
        std::cerr << "webapi-devhost: no free port from " << options.port << '\n';
        return 1;
    }
    // The address stands on a line of its own so that a person can copy it
    // and a script can find it; the page reads its token from there.
    std::cout << "webapi-devhost: serving on 127.0.0.1:" << port << "; open (Ctrl-C ends):\n"
              << "http://127.0.0.1:" << port << "/?token=" << UrlText(gateway.Token()) << std::endl;
    std::thread waiter([&] {
        int signal = 0;
        sigwait(&stopSignals, &signal);
        gateway.Stop();
    });
    gateway.Serve();
    // Serve may also end by itself; the waiter is then woken as a stop would.
    pthread_kill(waiter.native_handle(), SIGTERM);
    waiter.join();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    Options options;
    if (!ParseOptions(argc, argv, options)) {
        PrintUsage();
        return 2;
    }
    devhost::TraceLog::SetEcho(options.trace);

    // A 3D file that gives no world ends the program with status 2, the
    // status of a command line it cannot use.
    const bool fromModel = !options.modelFile.empty();
    try {
        if (fromModel)
            devhost::model::LoadModelFile(options.modelFile);
        else if (options.synthetic > 0)
            devhost::gateway::LoadSyntheticWorld(options.synthetic);
        else if (options.worldFile.empty())
            devhost::LoadDefaultSampleWorld();
        else
            devhost::LoadContentWorldFile(options.worldFile);
    } catch (const std::exception& failure) {
        std::cerr << "webapi-devhost: " << failure.what() << '\n';
        return fromModel ? 2 : 1;
    }
    DescribeWorld();

    devhost::PluginLibrary plugin(options.plugin);
    if (!plugin.IsLoaded()) {
        std::cerr << "webapi-devhost: cannot load " << options.plugin << ": " << plugin.Error() << '\n';
        return 1;
    }
    const bool started = plugin.Init();
    du::SmartPtr<du::RefCounted> component;
    if (!started || !plugin.CreateComponent("world", "web", "api", component)) {
        std::cerr << "webapi-devhost: the plug-in did not start\n";
        plugin.Terminate();
        return 1;
    }
    const du::Symbol actorName = dynamic_cast<qxk::ActiveModule&>(*component).GetActorName();
    std::cout << "plug-in " << options.plugin << " answers as actor \"" << actorName.str() << "\"" << std::endl;

    int failures = 0;
    {
        du::SmartPtr<dom::ManagedObject> proxy;
        dom::ManagedObject::FindActor(actorName, "webapi::WebApiModule", proxy);
        du::SmartPtr<webapi::WebApiModule> module = du::DynamicCast<webapi::WebApiModule>(proxy);
        if (!module) {
            std::cerr << "webapi-devhost: no actor \"" << actorName.str() << "\" with webapi::WebApiModule\n";
            failures = 1;
        } else if (!options.session.empty()) {
            failures = devhost::app::RunConsoleSession(module, options.session);
        } else {
            failures = ServeGateway(options, actorName, stopSignals);
        }
    }

    plugin.Terminate();
    component.reset();
    std::cout << "plug-in terminated and " << (plugin.Unload() ? "unloaded" : "still loaded") << std::endl;
    return failures == 0 ? 0 : 1;
}
