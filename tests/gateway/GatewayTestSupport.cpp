#include "GatewayTestSupport.h"

#include <gtest/gtest.h>

namespace gtest_gateway {

namespace {

RunningGateway::Reply ToReply(const httplib::Result& result) {
    RunningGateway::Reply reply;
    if (!result) {
        reply.status = -1;
        return reply;
    }
    reply.status = result->status;
    reply.text = result->body;
    reply.body.Parse(result->body.c_str());
    return reply;
}

}  // namespace

RunningGateway::RunningGateway(devhost::gateway::GatewayOptions options)
    : gateway_(std::make_unique<devhost::gateway::Gateway>(std::move(options))),
      port_(gateway_->Bind(0)),
      client_("127.0.0.1", port_) {
    EXPECT_TRUE(gateway_->Ready());
    EXPECT_GT(port_, 0);
    client_.set_bearer_token_auth(gateway_->Token().c_str());
    server_ = std::thread([this] { gateway_->Serve(); });
}

RunningGateway::~RunningGateway() {
    gateway_->Stop();
    server_.join();
}

RunningGateway::Reply RunningGateway::Get(const std::string& path) { return ToReply(client_.Get(path.c_str())); }

RunningGateway::Reply RunningGateway::Post(const std::string& path, const std::string& json) {
    return ToReply(client_.Post(path.c_str(), json, "application/json"));
}

RunningGateway::Reply RunningGateway::Delete(const std::string& path) {
    return ToReply(client_.Delete(path.c_str()));
}

std::string RunningGateway::OpenSession() {
    Reply reply = Post("/api/sessions", "{}");
    EXPECT_EQ(reply.status, 200) << reply.text;
    return reply.body.IsObject() && reply.body.HasMember("session") && reply.body["session"].IsString()
               ? reply.body["session"].GetString()
               : "";
}

std::vector<std::string> RunningGateway::ReadEvents(const std::string& session, std::size_t count,
                                                    std::string* end, const std::string& since) {
    return ReadStream("/api/events?session=" + session + (since.empty() ? "" : "&since=" + since), count,
                      end);
}

std::vector<std::string> RunningGateway::ReadStream(const std::string& path, std::size_t count, std::string* end,
                                                    const std::string& last) {
    std::vector<std::string> events;
    if (count == 0) return events;
    // Each stream is its own connection, so that closing it leaves the
    // client's connection for other requests alone.
    httplib::Client stream("127.0.0.1", port_);
    stream.set_bearer_token_auth(gateway_->Token().c_str());
    std::string pending;
    stream.Get(path.c_str(),
               [&](const char* data, std::size_t length) {
                   pending.append(data, length);
                   for (std::size_t cut; (cut = pending.find("\n\n")) != std::string::npos;) {
                       const std::string block = pending.substr(0, cut);
                       pending.erase(0, cut + 2);
                       if (block.rfind("event: end\ndata: ", 0) == 0) {
                           if (end) *end = block.substr(17);
                           return false;
                       }
                       const std::size_t data = block.find("data: ");
                       if (block.rfind("id: ", 0) == 0 && data != std::string::npos)
                           events.push_back(block.substr(data + 6));
                       if (events.size() >= count) return false;
                       if (!last.empty() && !events.empty() && events.back().find(last) != std::string::npos)
                           return false;
                   }
                   return true;
               });
    return events;
}

}  // namespace gtest_gateway
