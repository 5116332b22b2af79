// The tree documents as the client receives them, byte for byte: escaping,
// chunks of 500 with their keys, the hand-built state query with its cuts,
// removals, clears and the traces beside them.

#include <gtest/gtest.h>

#include <string>

#include "PluginSession.h"
#include "devhost/platform/TraceLog.h"
#include "devhost/world/WorldControl.h"

namespace {

// A root (uid 1) with count children (uids 100 on); "left" shows them all,
// "right" none.
std::string WideWorld(int count) {
    std::string children;
    for (int i = 0; i < count; ++i)
        children += std::string(i ? "," : "") + R"({"name": "c)" + std::to_string(i) + R"(", "uid": )" +
                    std::to_string(100 + i) + "}";
    std::string shapes = R"("r")";
    for (int i = 0; i < count; ++i) shapes += R"(, "r/c)" + std::to_string(i) + R"(")";
    return R"({"structure": [{"name": "r", "uid": 1, "children": [)" + children + R"(]}],
      "scenes": [{"name": "left", "shapes": [)" + shapes + R"(], "views": [{"name": "l", "kind": "shape"}]},
                 {"name": "right", "views": [{"name": "rv", "kind": "shape"}]}],
      "activeView": "l"})";
}

std::size_t Entries(const std::string& document) {
    std::size_t count = 0;
    for (std::size_t at = document.find("\"id\""); at != std::string::npos; at = document.find("\"id\"", at + 1))
        ++count;
    return count;
}

std::string Head(const std::string& document) { return document.substr(0, document.find('[')); }

using TreeDocuments = support::PluginTest;

TEST_F(TreeDocuments, IdpathsAreEscapedAsRapidJsonDoesAndSolidiVerbatim) {
    Start(R"({"structure": [{"name": "q\"b\\s\u0001t\t\u00e9", "uid": 42,
        "children": [{"name": "z", "uid": 43}]}],
        "scenes": [{"name": "s", "views": [{"name": "v", "kind": "shape"}]}], "activeView": "v"})");
    session->RegisterTreeObserver();
    const auto documents = session->Documents();
    ASSERT_EQ(documents.size(), 2u);
    EXPECT_EQ(documents[0],
              "{\"treeMapping\":[{\"id\":\"42\",\"idpath\":\"q\\\"b\\\\s\\u0001t\\t\xc3\xa9\"},"
              "{\"id\":\"43\",\"idpath\":\"q\\\"b\\\\s\\u0001t\\t\xc3\xa9/z\"}]}");
    EXPECT_EQ(documents[1], R"({"treeUpdate":[{"id":"42","state":"2"},{"id":"43","state":"2"}]})");
}

TEST_F(TreeDocuments, VisibilityComesInChunksOf500WithTheirKeys) {
    Start(WideWorld(500));  // 501 instances
    session->RegisterTreeObserver();
    auto calls = session->Received();
    ASSERT_EQ(calls.size(), 7u);
    EXPECT_EQ(calls[3], "OnTreeUpdateBegin");
    EXPECT_EQ(Head(session->Documents()[1]), R"({"treeUpdate":)");
    EXPECT_EQ(Entries(session->Documents()[1]), 500u);
    EXPECT_EQ(session->Documents()[2], R"({"treeUpdate":[{"id":"599","state":"1","loaded":"true"}]})");
    EXPECT_EQ(calls[6], "OnTreeUpdateEnd");

    // Another scene's states: full chunks go as "treeUpdateChanges", the
    // remainder as "treeUpdate". "loaded" still speaks of the watcher's own
    // scene, where every instance is shown.
    session->ForgetReceived();
    ASSERT_TRUE(devhost::ActivateView("rv"));
    calls = session->Received();
    ASSERT_EQ(calls.size(), 4u);
    EXPECT_EQ(calls[0], "OnTreeUpdateBegin");
    EXPECT_EQ(Head(session->Documents()[0]), R"({"treeUpdateChanges":)");
    EXPECT_EQ(Entries(session->Documents()[0]), 500u);
    EXPECT_EQ(session->Documents()[0].substr(0, 64),
              R"({"treeUpdateChanges":[{"id":"1","state":"2","loaded":"true"},{"i)");
    EXPECT_EQ(session->Documents()[1], R"({"treeUpdate":[{"id":"599","state":"2","loaded":"true"}]})");
    EXPECT_EQ(calls[3], "OnTreeUpdateEnd");
}

TEST_F(TreeDocuments, ExactlyFiveHundredMakeOneDocument) {
    Start(WideWorld(499));  // 500 instances
    session->RegisterTreeObserver();
    ASSERT_EQ(session->Documents().size(), 2u);
    EXPECT_EQ(Entries(session->Documents()[1]), 500u);
    session->ForgetReceived();
    ASSERT_TRUE(devhost::ActivateView("rv"));
    ASSERT_EQ(session->Documents().size(), 1u);
    EXPECT_EQ(Head(session->Documents()[0]), R"({"treeUpdateChanges":)");
    EXPECT_EQ(Entries(session->Documents()[0]), 500u);
}

TEST_F(TreeDocuments, TheStateQueryIsHandBuiltAndCutInBatches) {
    Start(WideWorld(600));
    session->RegisterTreeObserver();
    session->ForgetReceived();
    devhost::TraceLog::Clear();

    session->SelectTreeNodes(R"({"nodes":["105"],"depth":0})");
    EXPECT_EQ(session->Received(), (std::vector<std::string>{"OnTreeUpdateBegin",
                                                         "OnTreeUpdate {\n\n\"treeUpdateChanges\":\n[\n"
                                                         "{\"id\": \"105\",\"state\": \"1\"}\n]\n\n}\n",
                                                         "OnTreeUpdateEnd"}));
    bool traced = false;
    for (const auto& entry : devhost::TraceLog::Entries())
        traced = traced || (entry.name == "GuiTreeWatcher" && entry.type == 0 && entry.text == "State: VS_VisNoChdrnVis");
    EXPECT_TRUE(traced);

    // Unquoted ids, any name for the depth, two ids in one document.
    session->ForgetReceived();
    session->SelectTreeNodes(R"({"nodes":[105, 106],"whatever":7})");
    ASSERT_EQ(session->Documents().size(), 1u);
    const std::string two = session->Documents()[0];
    EXPECT_TRUE(two == "{\n\n\"treeUpdateChanges\":\n[\n{\"id\": \"105\",\"state\": \"1\"},\n"
                       "{\"id\": \"106\",\"state\": \"1\"}\n]\n\n}\n" ||
                two == "{\n\n\"treeUpdateChanges\":\n[\n{\"id\": \"106\",\"state\": \"1\"},\n"
                       "{\"id\": \"105\",\"state\": \"1\"}\n]\n\n}\n")
        << two;

    // The root to the leaves: 601 instances in documents of 500 and 101.
    session->ForgetReceived();
    session->SelectTreeNodes(R"({"nodes":["1"],"x":-1})");
    ASSERT_EQ(session->Documents().size(), 2u);
    EXPECT_EQ(Entries(session->Documents()[0]), 500u);
    EXPECT_EQ(session->Documents()[0].substr(session->Documents()[0].size() - 8), "\"}\n]\n\n}\n") << "no comma at a cut";
    EXPECT_EQ(Entries(session->Documents()[1]), 101u);

    // Exactly 500 collected: one document.
    std::string ids;
    for (int i = 0; i < 500; ++i) ids += (i ? "," : "") + std::to_string(100 + i);
    session->ForgetReceived();
    session->SelectTreeNodes(R"({"nodes":[)" + ids + R"(],"x":0})");
    ASSERT_EQ(session->Documents().size(), 1u);
    EXPECT_EQ(Entries(session->Documents()[0]), 500u);

    // A depth below -1 collects nothing; the brackets are still sent.
    session->ForgetReceived();
    session->SelectTreeNodes(R"({"nodes":["1"],"x":-2})");
    EXPECT_EQ(session->Received(), (std::vector<std::string>{"OnTreeUpdateBegin", "OnTreeUpdateEnd"}));

    // No depth after the last ":", or no known id: nothing at all.
    session->ForgetReceived();
    for (const char* request : {R"({"x":1,"nodes":["1"]})", R"({"nodes":["1"]})", R"({"nodes":["77777"],"x":1})",
                                R"({"nodes":["1"],"primaryNode":"1","x":"a"})"})
        session->SelectTreeNodes(request);
    EXPECT_TRUE(session->Received().empty());

    // The last brackets count, not those of "nodes".
    session->SelectTreeNodes(R"({"nodes":["1"],"x":[105],"y":0})");
    ASSERT_EQ(session->Documents().size(), 1u);
    EXPECT_EQ(session->Documents()[0], "{\n\n\"treeUpdateChanges\":\n[\n{\"id\": \"105\",\"state\": \"1\"}\n]\n\n}\n");
}

TEST_F(TreeDocuments, RemovalsAndClearsReachTheClient) {
    Start(R"({"structure": [{"name": "a", "uid": 5, "children": [
        {"name": "b", "uid": 6, "children": [{"name": "c", "uid": 7}]}, {"name": "d", "uid": 8}]}],
        "scenes": [{"name": "s", "shapes": ["a", {"instance": "a/d", "visible": false}],
                    "views": [{"name": "v", "kind": "shape"}]}],
        "activeView": "v"})");
    session->RegisterTreeObserver();
    EXPECT_EQ(session->Documents()[1],
              R"({"treeUpdate":[{"id":"5","state":"1","loaded":"true"},{"id":"6","state":"2"},)"
              R"({"id":"7","state":"2"},{"id":"8","state":"2","loaded":"false"}]})");
    session->ForgetReceived();
    ASSERT_TRUE(devhost::RemoveInstanceAt("a/b"));
    const auto calls = session->Received();
    ASSERT_GE(calls.size(), 3u);
    EXPECT_EQ(calls[0], "OnTreeMappingBegin");
    EXPECT_EQ(calls[1], R"(OnTreeMapping {"treeRemove":[{"id":"6","idpath":"a/b"},{"id":"7","idpath":"a/b/c"}]})");
    EXPECT_EQ(calls[2], "OnTreeMappingEnd");

    // A removed id names nothing any more.
    session->ForgetReceived();
    session->SelectTreeNodes(R"({"nodes":["6","5"],"x":0})");
    EXPECT_EQ(session->Documents(),
              std::vector<std::string>{"{\n\n\"treeUpdateChanges\":\n[\n{\"id\": \"5\",\"state\": \"1\"}\n]\n\n}\n"});

    // The world's tree goes: the client is told to clear its tree.
    session->ForgetReceived();
    devhost::UseWorldWithoutTree();
    EXPECT_EQ(session->Received(), (std::vector<std::string>{"OnTreeUpdateBegin",
                                                         "OnTreeUpdate {\n\n\"clearTree\":\"true\"}\n",
                                                         "OnTreeUpdateEnd"}));

    // With no tree an unloaded path loads nothing.
    session->ForgetReceived();
    session->SelectTreeNodes(R"({"unloadedPrimaryNode":"a/d"})");
    session->Settle();
    EXPECT_FALSE(devhost::ShapeOf("s", "a/d").visible);
}

TEST_F(TreeDocuments, AnUnloadedPrimaryBesideALoadedOneIsIgnoredWithAWarning) {
    Start(R"({"structure": [{"name": "a", "uid": 5}, {"name": "b", "uid": 6}],
        "scenes": [{"name": "s", "views": [{"name": "v", "kind": "shape"}]}], "activeView": "v"})");
    session->RegisterTreeObserver();
    devhost::TraceLog::Clear();
    session->SelectTreeNodes(R"({"primaryNode":"5","unloadedPrimaryNode":"b"})");
    session->Settle();
    EXPECT_TRUE(devhost::ShapeOf("s", "a").visible);
    EXPECT_FALSE(devhost::ShapeOf("s", "b").present);
    bool warned = false;
    for (const auto& entry : devhost::TraceLog::Entries())
        warned = warned || (entry.module == "webapi" && entry.name == "GuiTreeWatcher" && entry.type == 2 &&
                            entry.text ==
                                "Ignoring the unloadedPrimaryNode json attribute as the primaryNode attribute is set.");
    EXPECT_TRUE(warned);

    // Bad text, a root that is not an object, and ids that do not convert do nothing.
    for (const char* request : {"{not json", "[1,2]", R"({"primaryNode":"x5"})", R"({"primaryNode":5})"})
        session->SelectTreeNodes(request);
    session->Settle();
    EXPECT_FALSE(devhost::ShapeOf("s", "b").present);
    // An id with trailing letters names its digits; an empty unloaded path is a path.
    session->SelectTreeNodes(R"({"primaryNode":"","selectedNodes":["6abc"],"unloadedSelectedNodes":[""]})");
    session->Settle();
    EXPECT_TRUE(devhost::ShapeOf("s", "b").visible);
}

}  // namespace
