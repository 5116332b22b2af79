// The development host's side of the gateway: its trace, its state, its
// control and the wait until it is quiet.

#include <algorithm>
#include <sstream>

#include "devhost/gateway/GatewayContext.h"
#include "devhost/gateway/HostControl.h"
#include "devhost/gateway/HostState.h"
#include "devhost/gateway/JsonReply.h"
#include "devhost/gateway/RequestBody.h"
#include "devhost/platform/TraceLog.h"
#include "devhost/world/Settle.h"

namespace devhost::gateway {

namespace {

using Document = rapidjson::Document;

constexpr std::size_t kTracePage = 10000;

void Traces(const httplib::Request& request, httplib::Response& response) {
    unsigned long long since = 0;
    std::size_t limit = kTracePage;
    const std::string sinceText = request.get_param_value("since");
    const std::string limitText = request.get_param_value("limit");
    unsigned long long number = 0;
    if ((!sinceText.empty() && !ReadSessionId(sinceText, since)) ||
        (!limitText.empty() && (!ReadSessionId(limitText, number) || number == 0))) {
        ReplyError(response, 400, "bad-request", "traces?since=SEQ&limit=N, with whole numbers");
        return;
    }
    if (!limitText.empty()) limit = static_cast<std::size_t>(std::min<unsigned long long>(number, 100000));
    Document reply(rapidjson::kObjectType);
    auto& allocator = reply.GetAllocator();
    Json entries(rapidjson::kArrayType);
    for (const NumberedTraceEntry& each : TraceLog::EntriesSince(since, limit)) {
        Json entry(rapidjson::kObjectType), names(rapidjson::kArrayType);
        entry.AddMember("seq", static_cast<std::uint64_t>(each.seq), allocator);
        names.PushBack(Json(each.entry.module.c_str(), allocator), allocator);
        names.PushBack(Json(each.entry.name.c_str(), allocator), allocator);
        entry.AddMember("names", names, allocator);
        entry.AddMember("type", each.entry.type < 0 ? Json(rapidjson::kNullType) : Json(each.entry.type), allocator);
        entry.AddMember("text",
                        Json(each.entry.text.c_str(), static_cast<rapidjson::SizeType>(each.entry.text.size()),
                             allocator),
                        allocator);
        entries.PushBack(entry, allocator);
    }
    reply.AddMember("entries", entries, allocator);
    reply.AddMember("last", static_cast<std::uint64_t>(TraceLog::LastSequence()), allocator);
    ReplyJson(response, 200, reply);
}

void State(const httplib::Request& request, httplib::Response& response) {
    std::vector<std::string> wanted;
    std::istringstream list(request.get_param_value("sections"));
    for (std::string name; std::getline(list, name, ',');)
        if (!name.empty()) wanted.push_back(name);
    for (const std::string& name : wanted) {
        const auto& sections = StateSections();
        if (std::none_of(sections.begin(), sections.end(), [&](const StateSection& s) { return s.name == name; })) {
            std::string known;
            for (const StateSection& section : sections) known += (known.empty() ? "" : ", ") + section.name;
            ReplyError(response, 400, "unknown-section", "no section \"" + name + "\"; the sections: " + known);
            return;
        }
    }
    StateLimits limits;
    if (request.has_param("maxShapes")) {
        unsigned long long most = 0;
        if (!ReadSessionId(request.get_param_value("maxShapes"), most)) {
            ReplyError(response, 400, "bad-request", "state?maxShapes=N, a whole number");
            return;
        }
        limits.shapes = static_cast<std::size_t>(most);
    }
    Document reply(rapidjson::kObjectType);
    auto& allocator = reply.GetAllocator();
    for (const StateSection& section : StateSections()) {
        if (!wanted.empty() && std::find(wanted.begin(), wanted.end(), section.name) == wanted.end()) continue;
        Json value;
        section.write(value, allocator, limits);
        reply.AddMember(Json(section.name.c_str(), allocator), value, allocator);
    }
    ReplyJson(response, 200, reply);
}

void Control(const Document& body, httplib::Response& response) {
    auto action = body.FindMember("action");
    const auto& actions = ControlActions();
    auto found = actions.end();
    if (action != body.MemberEnd() && action->value.IsString())
        found = std::find_if(actions.begin(), actions.end(),
                             [&](const ControlAction& each) { return each.name == action->value.GetString(); });
    if (found == actions.end()) {
        std::string known;
        for (const ControlAction& each : actions) known += (known.empty() ? "" : "; ") + each.name + " (" + each.arguments + ")";
        ReplyError(response, 400, "unknown-action", "\"action\" is one of: " + known);
        return;
    }
    Document result(rapidjson::kObjectType);
    std::string error;
    if (!found->run(body, result, result.GetAllocator(), error)) {
        ReplyError(response, 400, "bad-control", found->name + ": " + error);
        return;
    }
    result.AddMember("done", Json(found->name.c_str(), result.GetAllocator()), result.GetAllocator());
    ReplyJson(response, 200, result);
}

}  // namespace

void AddHostRoutes(httplib::Server& server, GatewayContext& context) {
    server.Get("/host/traces", [](const httplib::Request& request, httplib::Response& response) {
        Traces(request, response);
    });
    server.Get("/host/state", [](const httplib::Request& request, httplib::Response& response) {
        State(request, response);
    });
    PostJson(server, "/host/control", context.maxBody, [](const httplib::Request&, Document& body, httplib::Response& response) {
        Control(body, response);
    });
    // Host work may post to the module and the module call the sessions'
    // objects, which may call the module again: all of them settle together.
    PostJson(server, "/host/settle", context.maxBody, [&context](const httplib::Request&, Document&, httplib::Response& response) {
        std::vector<du::SmartPtr<dom::ManagedObject>> actors = context.sessions.CallbackObjects();
        if (context.module) actors.push_back(context.module);
        Settle(actors);
        Document reply(rapidjson::kObjectType);
        reply.AddMember("settled", true, reply.GetAllocator());
        reply.AddMember("traceSeq", static_cast<std::uint64_t>(TraceLog::LastSequence()), reply.GetAllocator());
        ReplyJson(response, 200, reply);
    });
}

}  // namespace devhost::gateway
