// The web client's side of the gateway: the interfaces, sessions, calls,
// hand-written messages and the stream of callbacks.

#include <limits>
#include <memory>

#include "devhost/gateway/GatewayContext.h"
#include "devhost/gateway/JsonReply.h"
#include "devhost/gateway/RequestBody.h"
#include "devhost/gateway/ValueCodec.h"
#include "devhost/gateway/WorkerPool.h"
#include "devhost/platform/RawMessages.h"
#include "dom/Exceptions.h"
#include "dom/Proxy.h"

namespace devhost::gateway {

namespace {

using Document = rapidjson::Document;

// Delivers a message to the module; a failure of the messaging layer is
// answered with 502 and the kind of failure, and gives false.
bool Deliver(const GatewayContext& context, const dom::MessagePtr& message, httplib::Response& response) {
    const char* error = nullptr;
    std::string text;
    try {
        context.module->DeliverMessage(message);
        return true;
    } catch (const dom::MessageProtocolException& failure) {
        const Refusal refusal = RefusalOf(message);
        error = refusal == Refusal::BadTag ? "bad-tag" : refusal == Refusal::BadTable ? "bad-table" : "no-reply";
        text = failure.what();
    } catch (const dom::ActorShutdownException& failure) {
        error = "actor-ended";
        text = failure.what();
    } catch (const dom::InvalidActorException& failure) {
        error = "invalid-actor";
        text = failure.what();
    } catch (const dom::ConnectionLostException& failure) {
        error = "connection-lost";
        text = failure.what();
    } catch (const std::exception& failure) {
        error = "failed";
        text = failure.what();
    }
    ReplyError(response, 502, error, text);
    return false;
}

// Answers a request that names a session no longer open: 410 for one that
// ended unused, 404 for any other.
void ReplyNoSession(const GatewayContext& context, const std::string& id, httplib::Response& response) {
    std::string reason;
    if (context.sessions.Expired(id, reason))
        ReplyError(response, 410, "session-ended", "the session has ended: " + reason);
    else
        ReplyError(response, 404, "unknown-session", "no such session");
}

// The session a request names in its "session" member, if any. A named
// session that is unknown or has ended is answered (404 or 410) and gives
// false.
bool FindSession(GatewayContext& context, const Document& body, std::shared_ptr<Session>& session,
                 httplib::Response& response) {
    auto member = body.FindMember("session");
    if (member == body.MemberEnd() || member->value.IsNull()) return true;
    if (!member->value.IsString()) {
        ReplyError(response, 400, "bad-request", "\"session\" is a session id, a string");
        return false;
    }
    const std::string id(member->value.GetString(), member->value.GetStringLength());
    session = context.sessions.Find(id);
    if (!session) {
        ReplyNoSession(context, id, response);
        return false;
    }
    std::string reason;
    if (session->Ended(&reason)) {
        context.sessions.Close(id, reason);
        ReplyError(response, 410, "session-ended", "the session has ended: " + reason);
        return false;
    }
    return true;
}

bool NeedModule(const GatewayContext& context, httplib::Response& response) {
    if (context.module) return true;
    ReplyError(response, 503, "no-module", "the gateway found no actor serving \"" + context.catalog.Served() + "\"");
    return false;
}

void ListInterfaces(const GatewayContext& context, httplib::Response& response) {
    Document reply(rapidjson::kObjectType);
    auto& allocator = reply.GetAllocator();
    for (const InterfaceEntry& interface : context.catalog.Interfaces()) {
        Json methods(rapidjson::kArrayType);
        for (const MethodEntry& method : interface.methods) {
            Json entry(rapidjson::kObjectType);
            entry.AddMember("index", method.index, allocator);
            entry.AddMember("signature", Json(method.signature.c_str(), allocator), allocator);
            entry.AddMember("id", method.id, allocator);
            methods.PushBack(entry, allocator);
        }
        reply.AddMember(Json(interface.name.c_str(), allocator), methods, allocator);
    }
    ReplyJson(response, 200, reply);
}

void Call(GatewayContext& context, const Document& body, httplib::Response& response) {
    if (!NeedModule(context, response)) return;
    const InterfaceEntry* served = context.catalog.Find(context.catalog.Served());
    auto name = body.FindMember("method");
    if (name == body.MemberEnd() || !name->value.IsString()) {
        ReplyError(response, 400, "bad-request", "\"method\" is a method's name or signature");
        return;
    }
    bool ambiguous = false;
    const MethodEntry* method = served ? served->Find(name->value.GetString(), &ambiguous) : nullptr;
    if (!method) {
        ReplyError(response, 400, "unknown-method",
                   std::string(ambiguous ? "several methods are named \"" : "no method \"") + name->value.GetString() +
                       (ambiguous ? "\": give its signature" : "\" in \"" + context.catalog.Served() + "\""));
        return;
    }
    std::shared_ptr<Session> session;
    if (!FindSession(context, body, session, response)) return;
    auto args = body.FindMember("args");
    static const Json kNoArgs(rapidjson::kArrayType);
    const Json& list = args == body.MemberEnd() ? kNoArgs : args->value;
    if (!list.IsArray() || list.Size() != method->parameters.size()) {
        ReplyError(response, 400, "bad-arguments",
                   "\"args\" is an array of " + std::to_string(method->parameters.size()) + " value(s) for " +
                       method->signature);
        return;
    }
    const SessionObjects none;
    const SessionObjects& objects = session ? session->Objects() : none;
    std::vector<MessageValue> values;
    for (std::size_t i = 0; i < method->parameters.size(); ++i) {
        const Parameter& parameter = method->parameters[i];
        std::string error = "an out parameter is given as null";
        const bool fits =
            parameter.out ? list[i].IsNull() : EncodeArgument(parameter.type, list[i], objects, values, error);
        if (!fits) {
            ReplyError(response, 400, "bad-arguments",
                       "argument " + std::to_string(i) + " (" + (parameter.out ? "O" : "I") + parameter.type +
                           ") of " + method->signature + ": " + error);
            return;
        }
    }
    const auto* proxy = dynamic_cast<const dom::ProxyObject*>(context.module.get());
    const int id = proxy ? proxy->Rebind(method->id) : method->id;
    if (id < 0) {
        ReplyError(response, 502, "bad-tag", "the module's host has no method " + method->signature);
        return;
    }
    dom::MessagePtr message = MakeRawMessage(context.module, proxy ? proxy->GetTable() : 0,
                                             static_cast<short>(id), values, true);
    if (!Deliver(context, message, response)) return;

    // The reply holds the result, when the method has one, then the out
    // parameters in order.
    const std::vector<MessageValue> reply = GetMessageValues(message);
    std::size_t outs = 0;
    for (const Parameter& parameter : method->parameters) outs += parameter.out ? 1 : 0;
    Document answer(rapidjson::kObjectType);
    auto& allocator = answer.GetAllocator();
    std::size_t position = 0;
    if (reply.size() > outs) {
        Json result;
        ValueToJson(reply[position++], objects, result, allocator);
        answer.AddMember("result", result, allocator);
    }
    Json out(rapidjson::kArrayType);
    for (const Parameter& parameter : method->parameters) {
        if (!parameter.out) continue;
        Json value;
        if (!DecodeArgument(parameter.type, reply, position, objects, value, allocator)) {
            ReplyError(response, 502, "bad-reply", "the reply of " + method->signature + " lacks its out values");
            return;
        }
        out.PushBack(value, allocator);
    }
    answer.AddMember("out", out, allocator);
    ReplyJson(response, 200, answer);
}

// True when the values, read by the signature of the served method that the
// tag names, hold a sequence count that they cannot back.
bool HasUnbackedCount(const GatewayContext& context, short tag, const std::vector<MessageValue>& values) {
    const InterfaceEntry* served = context.catalog.Find(context.catalog.Served());
    const auto* proxy = dynamic_cast<const dom::ProxyObject*>(context.module.get());
    if (!served) return false;
    for (const MethodEntry& method : served->methods) {
        if ((proxy ? proxy->Rebind(method.id) : method.id) != tag) continue;
        std::size_t position = 0;
        for (const Parameter& parameter : method.parameters) {
            if (parameter.out) continue;
            const ValueFit fit = FitValues(parameter.type, values, position);
            if (fit == ValueFit::BadCount) return true;
            if (fit == ValueFit::Mismatch) break;
        }
    }
    return false;
}

bool ReadShort(const Document& body, const char* key, short& value) {
    auto member = body.FindMember(key);
    if (member == body.MemberEnd() || !member->value.IsInt()) return false;
    const int number = member->value.GetInt();
    if (number < std::numeric_limits<short>::min() || number > std::numeric_limits<short>::max()) return false;
    value = static_cast<short>(number);
    return true;
}

void Raw(GatewayContext& context, const Document& body, httplib::Response& response) {
    if (!NeedModule(context, response)) return;
    short table = 0, tag = 0;
    if (!ReadShort(body, "table", table) || !ReadShort(body, "tag", tag)) {
        ReplyError(response, 400, "bad-request", "\"table\" and \"tag\" are 16-bit signed integers");
        return;
    }
    std::shared_ptr<Session> session;
    if (!FindSession(context, body, session, response)) return;
    const SessionObjects none;
    const SessionObjects& objects = session ? session->Objects() : none;
    std::vector<MessageValue> values;
    auto list = body.FindMember("values");
    if (list != body.MemberEnd()) {
        if (!list->value.IsArray()) {
            ReplyError(response, 400, "bad-request", "\"values\" is an array of {\"type\", \"value\"}");
            return;
        }
        for (rapidjson::SizeType i = 0; i < list->value.Size(); ++i) {
            MessageValue value;
            std::string error;
            if (!TypedValueFromJson(list->value[i], objects, value, error)) {
                ReplyError(response, 400, "bad-values", "value " + std::to_string(i) + ": " + error);
                return;
            }
            values.push_back(value);
        }
    }
    auto reply = body.FindMember("reply");
    const bool needsReply = reply == body.MemberEnd() || (reply->value.IsBool() && reply->value.GetBool());
    dom::MessagePtr message = MakeRawMessage(context.module, table, tag, values, needsReply);
    if (!Deliver(context, message, response)) {
        // The module refuses a sequence whose count its values cannot back
        // as it refuses a bad tag; the client is told which it was.
        if (RefusalOf(message) == Refusal::BadTag && table == 0 && HasUnbackedCount(context, tag, values))
            ReplyError(response, 502, "bad-count", "a sequence's count is more than the values that follow it");
        return;
    }
    Document answer(rapidjson::kObjectType);
    auto& allocator = answer.GetAllocator();
    Json typed(rapidjson::kArrayType);
    if (needsReply) {
        for (const MessageValue& value : GetMessageValues(message)) {
            Json entry(rapidjson::kObjectType), json;
            ValueToJson(value, objects, json, allocator);
            entry.AddMember("type", Json(TypeCodeOf(value).c_str(), allocator), allocator);
            entry.AddMember("value", json, allocator);
            typed.PushBack(entry, allocator);
        }
    }
    answer.AddMember("values", typed, allocator);
    ReplyJson(response, 200, answer);
}

void OpenSession(GatewayContext& context, const Document& body, httplib::Response& response) {
    bool answersApart = false;
    if (body.IsObject() && body.HasMember("answerStream")) {
        if (!body["answerStream"].IsBool()) {
            ReplyError(response, 400, "bad-request", "answerStream must be true or false");
            return;
        }
        answersApart = body["answerStream"].GetBool();
    }
    Document reply(rapidjson::kObjectType);
    reply.AddMember("session", Json(context.sessions.Open(answersApart)->Id().c_str(), reply.GetAllocator()),
                    reply.GetAllocator());
    ReplyJson(response, 200, reply);
}

void CloseSession(GatewayContext& context, const httplib::Request& request, httplib::Response& response) {
    const std::string id = request.matches[1].str();
    if (!context.sessions.Close(id, "ended by its client")) {
        ReplyNoSession(context, id, response);
        return;
    }
    Document reply(rapidjson::kObjectType);
    reply.AddMember("ended", Json(id.c_str(), reply.GetAllocator()), reply.GetAllocator());
    ReplyJson(response, 200, reply);
}

// Events are gathered into writes of the stream of up to this size.
constexpr std::size_t kGatherBytes = 1 << 20;

// Server-Sent Events of one lane of a session, each with its number as its id, so
// that a reader that reconnects (EventSource sends Last-Event-ID) or names
// since=SEQ gets what it missed. The stream waits in short steps so that it
// notices a closed connection, a newer stream of the session and the
// gateway's stop; a comment line keeps idle connections open.
void Events(GatewayContext& context, const httplib::Request& request, httplib::Response& response) {
    unsigned long long after = 0;
    const std::string id = request.get_param_value("session");
    const std::string since =
        request.has_param("since") ? request.get_param_value("since") : request.get_header_value("Last-Event-ID");
    const std::string laneName = request.get_param_value("lane");
    if (id.empty() || (!since.empty() && !ReadSessionId(since, after)) || (!laneName.empty() && laneName != "answers")) {
        ReplyError(response, 400, "bad-request", "events?session=ID[&since=SEQ][&lane=answers]");
        return;
    }
    const Lane lane = laneName.empty() ? Lane::Main : Lane::Answers;
    std::shared_ptr<Session> session = context.sessions.Find(id);
    if (!session) {
        ReplyNoSession(context, id, response);
        return;
    }
    WorkerPool* pool = context.pool.load();
    if (!pool || !pool->BeginStream()) {
        ReplyError(response, 503, "too-many-streams", "as many event streams as the gateway serves are open");
        return;
    }
    unsigned stream = 0;
    if (!session->OpenStream(lane, since.empty() ? nullptr : &after, stream)) {
        pool->EndStream();
        ReplyError(response, 400, "bad-since",
                   "event " + since + " was never sent; the last is " + std::to_string(session->LastEvent()));
        return;
    }
    // Held by the stream's writer: when httplib lets it go, the stream has
    // ended and its thread goes back to serving requests.
    std::shared_ptr<void> lease(nullptr, [pool, session](void*) {
        session->CloseStream();
        pool->EndStream();
    });
    // Neither chunked nor of a known length: the stream ends when its
    // connection closes. httplib writes such a stream's bytes as they are,
    // where it would copy every chunk twice, a document of tens of megabytes
    // included.
    response.set_content_provider(
        "text/event-stream", [&context, session, lane, stream, lease](std::size_t, httplib::DataSink& sink) {
            if (context.stopping || !sink.is_writable()) return false;
            Session::Batch batch = session->Take(lane, stream, std::chrono::milliseconds(250));
            if (batch.replaced) {
                const std::string text = "event: end\ndata: {\"reason\":\"replaced by a newer stream\"}\n\n";
                sink.write(text.data(), text.size());
                sink.done();
                return true;
            }
            // Small events are gathered into writes of up to kGatherBytes; a
            // large one is written as it is rather than copied. A batch of
            // thousands of events (a large tree's initial states) thus starts
            // going out at once, through one buffer used again.
            std::string text;
            for (const auto& [seq, event] : batch.events) {
                const std::string_view bytes = event->Bytes();
                if (!text.empty() && text.size() + bytes.size() > kGatherBytes) {
                    if (!sink.write(text.data(), text.size())) return false;
                    text.clear();
                }
                if (bytes.size() < kGatherBytes)
                    text.append(bytes);
                else if (!sink.write(bytes.data(), bytes.size()))
                    return false;
            }
            if (batch.ended) {
                Document end(rapidjson::kObjectType);
                end.AddMember("reason", Json(batch.reason.c_str(), end.GetAllocator()), end.GetAllocator());
                text += "event: end\ndata: " + JsonText(end) + "\n\n";
            }
            if (text.empty()) text = ":\n\n";
            if (!sink.write(text.data(), text.size())) return false;
            if (batch.ended) {
                context.sessions.Close(session->Id(), batch.reason);
                sink.done();
            }
            return true;
        });
}

}  // namespace

void AddApiRoutes(httplib::Server& server, GatewayContext& context) {
    server.Get("/api/interfaces", [&](const httplib::Request&, httplib::Response& response) {
        ListInterfaces(context, response);
    });
    PostJson(server, "/api/sessions", context.maxBody, [&](const httplib::Request&, Document& body, httplib::Response& response) {
        OpenSession(context, body, response);
    });
    server.Delete(R"(/api/sessions/([^/]+))", [&](const httplib::Request& request, httplib::Response& response) {
        CloseSession(context, request, response);
    });
    PostJson(server, "/api/call", context.maxBody, [&](const httplib::Request&, Document& body, httplib::Response& response) {
        Call(context, body, response);
    });
    PostJson(server, "/api/raw", context.maxBody, [&](const httplib::Request&, Document& body, httplib::Response& response) {
        Raw(context, body, response);
    });
    server.Get("/api/events", [&](const httplib::Request& request, httplib::Response& response) {
        Events(context, request, response);
    });
}

}  // namespace devhost::gateway
