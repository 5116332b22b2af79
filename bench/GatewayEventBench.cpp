// The gateway's encoding of one callback's event: a "treeMapping" document
// of a million instances in the form the module writes it (about 60 MB of
// JSON, a quote every few bytes) and a "treeUpdate" document of 500
// instances, each made into the stream's bytes of its event. Beside them,
// in the same run: the writing that the gateway did before (the argument
// copied into a RapidJSON DOM, written by rapidjson::Writer and copied into
// a string) and the floor of one copy of the document's bytes.

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "devhost/gateway/EventText.h"
#include "devhost/gateway/ValueCodec.h"

namespace {

using devhost::MessageValue;
using devhost::gateway::EventTextWriter;
using devhost::gateway::SessionObjects;

// A mapping of count instances, each below a parent of ten children.
std::string Mapping(std::size_t count) {
    std::string text = R"({"treeMapping":[)";
    std::vector<std::string> paths = {"product"};
    for (std::size_t i = 0; i < count; ++i) {
        const std::string path = i == 0 ? "product" : paths[(i - 1) / 10] + "/n" + std::to_string((i - 1) % 10);
        if (paths.size() < count / 10 + 1) paths.push_back(path);
        text += (i ? R"(,{"id":")" : R"({"id":")") + std::to_string(i + 1) + R"(","idpath":")" + path + R"("})";
    }
    return text + "]}";
}

std::string Update(std::size_t count) {
    std::string text = R"({"treeUpdate":[)";
    for (std::size_t i = 0; i < count; ++i)
        text += (i ? R"(,{"id":")" : R"({"id":")") + std::to_string(12459 + i) + R"(","state":"1","loaded":"true"})";
    return text + "]}";
}

const std::string& Document(int which) {
    static const std::string mapping = Mapping(1000000);
    static const std::string update = Update(500);
    return which == 0 ? mapping : update;
}

// What the gateway did before: the arguments as a DOM, the event as a DOM
// around them, written by rapidjson::Writer and copied into a string.
std::shared_ptr<const std::string> ThroughDom(const std::vector<MessageValue>& values, unsigned long long seq) {
    rapidjson::Document document;
    auto& allocator = document.GetAllocator();
    rapidjson::Value args(rapidjson::kArrayType);
    std::size_t position = 0;
    rapidjson::Value value;
    devhost::gateway::DecodeArgument("S", values, position, SessionObjects{}, value, allocator);
    args.PushBack(value, allocator);
    rapidjson::Document event(rapidjson::kObjectType, &allocator);
    event.AddMember("seq", static_cast<std::uint64_t>(seq), allocator);
    event.AddMember("interface", "webapi::TreeObserver", allocator);
    event.AddMember("method", "OnTreeMapping", allocator);
    event.AddMember("signature", "OnTreeMapping__IS", allocator);
    event.AddMember("args", args, allocator);
    rapidjson::StringBuffer text;
    rapidjson::Writer<rapidjson::StringBuffer> writer(text);
    event.Accept(writer);
    return std::make_shared<const std::string>(text.GetString(), text.GetSize());
}

// What the gateway does now: the event's bytes, id line and all, written
// once from the message values.
std::shared_ptr<const devhost::gateway::EventText> Direct(const std::vector<MessageValue>& values,
                                                          unsigned long long seq) {
    return devhost::gateway::WriteCallbackEvent(seq, "webapi::TreeObserver", "OnTreeMapping", "OnTreeMapping__IS",
                                                [&](EventTextWriter& writer) {
                                                    writer.StartArray();
                                                    std::size_t position = 0;
                                                    WriteArgument("S", values, position, SessionObjects{}, writer);
                                                    writer.EndArray();
                                                });
}

template <typename Encode>
void Encoding(benchmark::State& state, Encode encode) {
    const std::string& document = Document(static_cast<int>(state.range(0)));
    const std::vector<MessageValue> values = {du::Symbol(document.data(), document.size())};
    unsigned long long seq = 0;
    for (auto _ : state) benchmark::DoNotOptimize(encode(values, ++seq));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * document.size()));
}

void BM_EventThroughDom(benchmark::State& state) { Encoding(state, ThroughDom); }
void BM_EventDirect(benchmark::State& state) { Encoding(state, Direct); }

// The floor: one copy of the document's bytes into a new buffer.
void BM_EventCopyFloor(benchmark::State& state) {
    Encoding(state, [](const std::vector<MessageValue>& values, unsigned long long) {
        const du::Symbol& text = std::get<du::Symbol>(values[0]);
        std::unique_ptr<char[]> copy(new char[text.length()]);
        std::memcpy(copy.get(), text.safe_c_str(), text.length());
        benchmark::ClobberMemory();
        return copy;
    });
}

// 0: the mapping of a million; 1: an update of 500.
BENCHMARK(BM_EventThroughDom)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EventDirect)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EventCopyFloor)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace
