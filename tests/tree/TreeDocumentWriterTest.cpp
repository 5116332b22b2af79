// The tree documents as the publisher writes them, beside the same
// documents made the way they were first made: a RapidJSON document on one
// allocator with every string copied into it, then written by Accept. Over
// random entries and random worlds whose names hold every character that
// needs escaping, the texts, the traces and the observer's calls must be
// the same byte for byte.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "CleanProcess.h"
#include "RecordingTreeObserver.h"
#include "devhost/platform/TraceLog.h"
#include "devhost/world/WorldControl.h"
#include "dp/QXTracer.h"
#include "du/Symbol.h"
#include "guitree/VisAndIconChanges.h"
#include "publisher/GuiInterface.h"
#include "publisher/TreeDocuments.h"
#include "qxk/BaseInstanceVisitor.h"
#include "qxk/Instance.h"
#include "qxk/ShapeInstance.h"
#include "qxk/Tree.h"
#include "qxk/World.h"
#include "tree/GuiTreeWatcher.h"

namespace {

// One entry of a document: "idpath" for the mapping and removal, "state"
// (with "loaded" when a shape instance answered) for the states.
struct OracleEntry {
    std::string id;
    const char* secondKey;
    std::string second;
    const char* loaded;  // null: no "loaded" member
};

// The reference: a DOM built on one allocator, strings copied, then written.
std::string OracleDocument(const char* key, const std::vector<OracleEntry>& entries) {
    rapidjson::Document document;
    document.SetObject();
    auto& allocator = document.GetAllocator();
    rapidjson::Value array(rapidjson::kArrayType);
    for (const OracleEntry& entry : entries) {
        rapidjson::Value object(rapidjson::kObjectType);
        object.AddMember("id", rapidjson::Value(entry.id.c_str(), allocator), allocator);
        object.AddMember(rapidjson::StringRef(entry.secondKey), rapidjson::Value(entry.second.c_str(), allocator),
                         allocator);
        if (entry.loaded) object.AddMember("loaded", rapidjson::Value(entry.loaded, allocator), allocator);
        array.PushBack(object, allocator);
    }
    document.AddMember(rapidjson::StringRef(key), array, allocator);
    rapidjson::StringBuffer text;
    rapidjson::Writer<rapidjson::StringBuffer> writer(text);
    document.Accept(writer);
    return std::string(text.GetString(), text.GetSize());
}

// Every byte a JSON writer treats apart (controls, quote, backslash,
// solidus, DEL), and UTF-8 sequences of two, three and four bytes.
const std::vector<std::string>& Pieces() {
    static const std::vector<std::string> pieces = [] {
        std::vector<std::string> all;
        for (char c = 1; c < 0x20; ++c) all.push_back(std::string(1, c));
        for (const char* text : {"\"", "\\", "/", "\x7f", "a", "Z", "0", " ", "\xc3\xa9", "\xe2\x82\xac",
                                 "\xf0\x9f\x98\x80", "{", "}", "[", "]", ":", ","})
            all.push_back(text);
        return all;
    }();
    return pieces;
}

std::string RandomText(std::mt19937_64& random, std::size_t maxPieces) {
    std::string text;
    const std::size_t count = random() % (maxPieces + 1);
    for (std::size_t i = 0; i < count; ++i) text += Pieces()[random() % Pieces().size()];
    return text;
}

std::uint64_t RandomId(std::mt19937_64& random) {
    // Every length of decimal number, 0 and the largest among them.
    switch (random() % 4) {
        case 0: return random() % 10;
        case 1: return ~std::uint64_t{0} - random() % 3;
        default: return random() >> (random() % 64);
    }
}

TEST(TreeDocumentWriter, WritesWhatTheDocumentWroteOverRandomEntriesAndChunks) {
    std::mt19937_64 random(20261124);
    const char* keys[] = {"treeMapping", "treeRemove", "treeUpdate", "treeUpdateChanges"};
    const char* loadedValues[] = {nullptr, "true", "false"};
    // One document object for the whole run: each text must stand alone,
    // whatever the earlier ones left in the buffer.
    webapi::TreeDocument document;
    for (int round = 0; round < 400; ++round) {
        const bool mapping = random() % 2 == 0;
        const std::size_t count = round % 50 == 0 ? 0 : random() % 40;
        std::vector<OracleEntry> entries;
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint64_t id = RandomId(random);
            if (mapping) {
                const std::string path = RandomText(random, 12);
                document.AddInstance(id, path.c_str());
                entries.push_back({std::to_string(id), "idpath", path, nullptr});
            } else {
                const int state = static_cast<int>(random() % 16);
                const char* loaded = loadedValues[random() % 3];
                document.AddState(id, state, loaded);
                entries.push_back({std::to_string(id), "state", std::to_string(state), loaded});
            }
        }
        EXPECT_EQ(document.Empty(), entries.empty());
        const char* key = keys[random() % 4];
        ASSERT_EQ(std::string(document.Take(key)), OracleDocument(key, entries)) << "round " << round;
        EXPECT_TRUE(document.Empty());
    }
}

// A document of megabytes takes the host's large-text paths: the Symbol
// that carries it and the trace entry that holds it must keep every byte.
TEST(TreeDocumentWriter, ADocumentOfMegabytesComesThroughWholeInItsSymbolAndTrace) {
    std::mt19937_64 random(31337);
    webapi::TreeDocument document;
    document.Reserve(1000);  // far fewer than come: the buffer grows past its room
    std::vector<OracleEntry> entries;
    while (entries.size() < 45000) {
        const std::uint64_t id = RandomId(random);
        const std::string path = "root/" + RandomText(random, 3) + "/part" + std::to_string(entries.size());
        document.AddInstance(id, path.c_str());
        entries.push_back({std::to_string(id), "idpath", path, nullptr});
    }
    const std::string_view text = document.Take("treeMapping");
    const std::string expected = OracleDocument("treeMapping", entries);
    ASSERT_GT(expected.size(), 2u << 20);
    ASSERT_EQ(std::string(text), expected);

    support::CleanProcess clean;
    const du::Symbol symbol(text.data(), text.size());
    du::Symbol copy = symbol;
    EXPECT_EQ(copy.length(), expected.size());
    EXPECT_EQ(copy.str(), expected);
    dp::QXTracer("webapi", "GuiInterface")(dp::TT_Info) << "Tree Add Instances: " << text;
    EXPECT_EQ(support::Traces("webapi", "GuiInterface"),
              std::vector<std::string>{"0|Tree Add Instances: " + expected});
}

// A world of random depth and width whose names are random texts.
std::string RandomWorld(std::mt19937_64& random, int instances) {
    int made = 0;
    const auto quoted = [](const std::string& raw) {
        rapidjson::StringBuffer text;
        rapidjson::Writer<rapidjson::StringBuffer> writer(text);
        writer.String(raw.c_str(), static_cast<rapidjson::SizeType>(raw.size()));
        return std::string(text.GetString(), text.GetSize());
    };
    std::string shapes;
    std::function<std::string(int, const std::string&)> node = [&](int depth, const std::string& path) {
        std::string name;
        // The solidus separates a path's names, so names go without it.
        do name = RandomText(random, 6) + std::to_string(made);
        while (name.find('/') != std::string::npos);
        const std::string own = path.empty() ? name : path + "/" + name;
        ++made;
        if (random() % 3 != 0) shapes += (shapes.empty() ? "" : ",") + quoted(own);
        std::string text = "{\"name\":" + quoted(name) + ",\"uid\":" + std::to_string(1000 + made * 7919);
        if (depth < 4 && made < instances) {
            text += ",\"children\":[";
            const int children = 1 + static_cast<int>(random() % 12);
            for (int i = 0; i < children && made < instances; ++i) text += (i ? "," : "") + node(depth + 1, own);
            text += "]";
        }
        return text + "}";
    };
    std::string roots;
    while (made < instances) roots += (roots.empty() ? "" : ",") + node(0, "");
    return "{\"structure\":[" + roots + "],\"scenes\":[{\"name\":\"s\",\"shapes\":[" + shapes +
           "],\"views\":[{\"name\":\"v\",\"kind\":\"shape\"}]}],\"activeView\":\"v\"}";
}

using tree_tests::Anchor;
using tree_tests::RecordingObserver;

struct Collector : qxk::BaseInstanceVisitor {
    bool Visit(const du::SmartPtr<qxk::BaseInstance>& node, unsigned int) override {
        instances.push_back(node);
        return true;
    }
    std::vector<du::SmartPtr<qxk::BaseInstance>> instances;
};

OracleEntry InstanceEntry(const du::SmartPtr<qxk::BaseInstance>& instance) {
    return {std::to_string(instance->GetUniqueId()), "idpath", instance->GetIdPath().str(), nullptr};
}

const char* Loaded(const du::SmartPtr<qxk::ShapeScene>& scene, qxk::BaseInstance* instance) {
    du::SmartPtr<qxk::ShapeInstance> shape;
    if (auto* structural = dynamic_cast<qxk::Instance*>(instance))
        if (scene->GetShapeInstance(du::ConstSmartPtr<qxk::Instance>(structural), shape) && shape)
            return shape->IsVisible() ? "true" : "false";
    return nullptr;
}

// The publisher itself on random worlds: what its observer hears and what
// it traces, against the reference documents of the same instances.
TEST(TreeDocumentWriter, PublisherCallsAndTracesMatchTheReferenceOverRandomWorlds) {
    std::mt19937_64 random(777);
    for (const int instances : {3, 499, 1200}) {
        support::CleanProcess clean;
        ASSERT_TRUE(support::LoadWorld(RandomWorld(random, instances)));
        const auto scene = du::DynamicCast<qxk::ShapeScene>(devhost::FindSceneNamed("s"));
        ASSERT_TRUE(scene);
        Collector collected;
        qxk::World::GetWorld()->tree->Visit(collected, qxk::BaseTree::VT_DepthFirst);
        ASSERT_GE(collected.instances.size(), static_cast<std::size_t>(instances));
        const du::SmartPtr<RecordingObserver> watcherObserver(new RecordingObserver());
        GuiTreeWatcher watcher(du::SmartPtr<dom::ManagedObject>(new Anchor()), watcherObserver, scene);
        const du::SmartPtr<RecordingObserver> observer(new RecordingObserver());
        webapi::GuiInterface gui(&watcher, observer, du::SmartPtr<guitree::GuiTree>(new guitree::GuiTree(nullptr)),
                                 scene);
        devhost::TraceLog::Clear();

        // Every instance added, a random few of them removed again.
        std::vector<OracleEntry> added, removed;
        std::vector<std::string> traces;
        gui.StartTreeUpdate();
        traces.push_back("0|StartTreeUpdate");
        for (const auto& instance : collected.instances) {
            gui.InstanceCreate(instance, nullptr, false);
            added.push_back(InstanceEntry(instance));
            traces.push_back("0|InstanceCreate");
        }
        std::vector<bool> known(collected.instances.size(), true);
        for (std::size_t i = 0; i < collected.instances.size(); ++i) {
            if (random() % 5 != 0) continue;
            gui.InstanceRemove(collected.instances[i], nullptr);
            removed.push_back(InstanceEntry(collected.instances[i]));
            traces.push_back("0|InstanceRemove");
            known[i] = false;
        }
        gui.FinishTreeUpdate();
        traces.push_back("0|FinishTreeUpdate");
        const std::string removal = OracleDocument("treeRemove", removed);
        const std::string mapping = OracleDocument("treeMapping", added);
        if (!removed.empty()) traces.push_back("0|Tree Remove Instances: " + removal);
        traces.push_back("0|Tree Add Instances: " + mapping);
        std::vector<std::string> calls;
        if (!removed.empty())
            calls.insert(calls.end(), {"OnTreeMappingBegin", "OnTreeMapping " + removal, "OnTreeMappingEnd"});
        calls.insert(calls.end(), {"OnTreeMappingBegin", "OnTreeMapping " + mapping, "OnTreeMappingEnd"});
        EXPECT_EQ(observer->calls, calls);
        observer->calls.clear();

        // Both state operations over every instance in a random order, with
        // random packed values: chunks of 500 known ones, each under its key.
        guitree::VisAndIconChanges changes;
        std::vector<std::size_t> order(collected.instances.size());
        for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
        std::shuffle(order.begin(), order.end(), random);
        for (const std::size_t i : order)
            changes.Set(collected.instances[i].get(), static_cast<int>(random() & 0x7fffffff));
        for (const bool visibleChanges : {false, true}) {
            const char* name = visibleChanges ? "UpdateVisAndTypeIconVisibleChanges" : "UpdateVisAndTypeIcons";
            const char* chunkKey = visibleChanges ? "treeUpdateChanges" : "treeUpdate";
            if (visibleChanges)
                gui.UpdateVisAndTypeIconVisibleChanges(nullptr, changes);
            else
                gui.UpdateVisAndTypeIcons(changes);
            calls = {"OnTreeUpdateBegin"};
            std::vector<OracleEntry> chunk;
            for (const auto& element : changes) {
                const auto at = std::find_if(collected.instances.begin(), collected.instances.end(),
                                             [&](const auto& each) { return each.get() == element.first; });
                if (!known[static_cast<std::size_t>(at - collected.instances.begin())]) continue;
                chunk.push_back({std::to_string(element.first->GetUniqueId()), "state",
                                 std::to_string((element.second >> 4) & 0xf),
                                 scene ? Loaded(scene, element.first) : nullptr});
                if (chunk.size() == 500) {
                    calls.push_back("OnTreeUpdate " + OracleDocument(chunkKey, chunk));
                    chunk.clear();
                }
            }
            if (!chunk.empty()) calls.push_back("OnTreeUpdate " + OracleDocument("treeUpdate", chunk));
            calls.push_back("OnTreeUpdateEnd");
            EXPECT_EQ(observer->calls, calls) << name;
            observer->calls.clear();
            traces.push_back(std::string("0|+") + name);
            traces.push_back(std::string("0|-") + name);
        }
        EXPECT_EQ(support::Traces("webapi", "GuiInterface"), traces);
    }
}

}  // namespace
