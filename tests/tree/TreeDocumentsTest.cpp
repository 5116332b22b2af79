// The tree documents as the client receives them, byte for byte: escaping,
// chunks of 500 with their keys, the hand-built state query with its cuts,
// removals, clears and the traces beside them.

#include <gtest/gtest.h>

#include <string>

#include "TreeSession.h"
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

TEST(TreeDocuments, IdpathsAreEscapedAsRapidJsonDoesAndSolidiVerbatim) {
    ttest::TreeSession session(R"({"structure": [{"name": "q\"b\\s\u0001t\t\u00e9", "uid": 42,
        "children": [{"name": "z", "uid": 43}]}],
        "scenes": [{"name": "s", "views": [{"name": "v", "kind": "shape"}]}], "activeView": "v"})");
    session.Register();
    session.Settle();
    const auto documents = session.Documents();
    ASSERT_EQ(documents.size(), 2u);
    EXPECT_EQ(documents[0],
              "{\"treeMapping\":[{\"id\":\"42\",\"idpath\":\"q\\\"b\\\\s\\u0001t\\t\xc3\xa9\"},"
              "{\"id\":\"43\",\"idpath\":\"q\\\"b\\\\s\\u0001t\\t\xc3\xa9/z\"}]}");
    EXPECT_EQ(documents[1], R"({"treeUpdate":[{"id":"42","state":"2"},{"id":"43","state":"2"}]})");
}

TEST(TreeDocuments, VisibilityComesInChunksOf500WithTheirKeys) {
    ttest::TreeSession session(WideWorld(500));  // 501 instances
    session.Register();
    session.Settle();
    auto calls = session.Calls();
    ASSERT_EQ(calls.size(), 7u);
    EXPECT_EQ(calls[3], "OnTreeUpdateBegin");
    EXPECT_EQ(Head(session.Documents()[1]), R"({"treeUpdate":)");
    EXPECT_EQ(Entries(session.Documents()[1]), 500u);
    EXPECT_EQ(session.Documents()[2], R"({"treeUpdate":[{"id":"599","state":"1","loaded":"true"}]})");
    EXPECT_EQ(calls[6], "OnTreeUpdateEnd");

    // Another scene's states: full chunks go as "treeUpdateChanges", the
    // remainder as "treeUpdate". "loaded" still speaks of the watcher's own
    // scene, where every instance is shown.
    session.Clear();
    ASSERT_TRUE(devhost::ActivateView("rv"));
    session.Settle();
    calls = session.Calls();
    ASSERT_EQ(calls.size(), 4u);
    EXPECT_EQ(calls[0], "OnTreeUpdateBegin");
    EXPECT_EQ(Head(session.Documents()[0]), R"({"treeUpdateChanges":)");
    EXPECT_EQ(Entries(session.Documents()[0]), 500u);
    EXPECT_EQ(session.Documents()[0].substr(0, 64),
              R"({"treeUpdateChanges":[{"id":"1","state":"2","loaded":"true"},{"i)");
    EXPECT_EQ(session.Documents()[1], R"({"treeUpdate":[{"id":"599","state":"2","loaded":"true"}]})");
    EXPECT_EQ(calls[3], "OnTreeUpdateEnd");
}

TEST(TreeDocuments, ExactlyFiveHundredMakeOneDocument) {
    ttest::TreeSession session(WideWorld(499));  // 500 instances
    session.Register();
    session.Settle();
    ASSERT_EQ(session.Documents().size(), 2u);
    EXPECT_EQ(Entries(session.Documents()[1]), 500u);
    session.Clear();
    ASSERT_TRUE(devhost::ActivateView("rv"));
    session.Settle();
    ASSERT_EQ(session.Documents().size(), 1u);
    EXPECT_EQ(Head(session.Documents()[0]), R"({"treeUpdateChanges":)");
    EXPECT_EQ(Entries(session.Documents()[0]), 500u);
}

TEST(TreeDocuments, TheStateQueryIsHandBuiltAndCutInBatches) {
    ttest::TreeSession session(WideWorld(600));
    session.Register();
    session.Settle();
    session.Clear();
    devhost::TraceLog::Clear();

    session.Select(R"({"nodes":["105"],"depth":0})");
    session.Settle();
    EXPECT_EQ(session.Calls(), (std::vector<std::string>{"OnTreeUpdateBegin",
                                                         "OnTreeUpdate {\n\n\"treeUpdateChanges\":\n[\n"
                                                         "{\"id\": \"105\",\"state\": \"1\"}\n]\n\n}\n",
                                                         "OnTreeUpdateEnd"}));
    bool traced = false;
    for (const auto& entry : devhost::TraceLog::Entries())
        traced = traced || (entry.name == "GuiTreeWatcher" && entry.type == 0 && entry.text == "State: VS_VisNoChdrnVis");
    EXPECT_TRUE(traced);

    // Unquoted ids, any name for the depth, two ids in one document.
    session.Clear();
    session.Select(R"({"nodes":[105, 106],"whatever":7})");
    session.Settle();
    ASSERT_EQ(session.Documents().size(), 1u);
    const std::string two = session.Documents()[0];
    EXPECT_TRUE(two == "{\n\n\"treeUpdateChanges\":\n[\n{\"id\": \"105\",\"state\": \"1\"},\n"
                       "{\"id\": \"106\",\"state\": \"1\"}\n]\n\n}\n" ||
                two == "{\n\n\"treeUpdateChanges\":\n[\n{\"id\": \"106\",\"state\": \"1\"},\n"
                       "{\"id\": \"105\",\"state\": \"1\"}\n]\n\n}\n")
        << two;

    // The root to the leaves: 601 instances in documents of 500 and 101.
    session.Clear();
    session.Select(R"({"nodes":["1"],"x":-1})");
    session.Settle();
    ASSERT_EQ(session.Documents().size(), 2u);
    EXPECT_EQ(Entries(session.Documents()[0]), 500u);
    EXPECT_EQ(session.Documents()[0].substr(session.Documents()[0].size() - 8), "\"}\n]\n\n}\n") << "no comma at a cut";
    EXPECT_EQ(Entries(session.Documents()[1]), 101u);

    // Exactly 500 collected: one document.
    std::string ids;
    for (int i = 0; i < 500; ++i) ids += (i ? "," : "") + std::to_string(100 + i);
    session.Clear();
    session.Select(R"({"nodes":[)" + ids + R"(],"x":0})");
    session.Settle();
    ASSERT_EQ(session.Documents().size(), 1u);
    EXPECT_EQ(Entries(session.Documents()[0]), 500u);

    // A depth below -1 collects nothing; the brackets are still sent.
    session.Clear();
    session.Select(R"({"nodes":["1"],"x":-2})");
    session.Settle();
    EXPECT_EQ(session.Calls(), (std::vector<std::string>{"OnTreeUpdateBegin", "OnTreeUpdateEnd"}));

    // No depth after the last ":", or no known id: nothing at all.
    session.Clear();
    for (const char* request : {R"({"x":1,"nodes":["1"]})", R"({"nodes":["1"]})", R"({"nodes":["77777"],"x":1})",
                                R"({"nodes":["1"],"primaryNode":"1","x":"a"})"})
        session.Select(request);
    session.Settle();
    EXPECT_TRUE(session.Calls().empty());

    // The last brackets count, not those of "nodes".
    session.Select(R"({"nodes":["1"],"x":[105],"y":0})");
    session.Settle();
    ASSERT_EQ(session.Documents().size(), 1u);
    EXPECT_EQ(session.Documents()[0], "{\n\n\"treeUpdateChanges\":\n[\n{\"id\": \"105\",\"state\": \"1\"}\n]\n\n}\n");
}

TEST(TreeDocuments, RemovalsAndClearsReachTheClient) {
    ttest::TreeSession session(R"({"structure": [{"name": "a", "uid": 5, "children": [
        {"name": "b", "uid": 6, "children": [{"name": "c", "uid": 7}]}, {"name": "d", "uid": 8}]}],
        "scenes": [{"name": "s", "shapes": ["a", {"instance": "a/d", "visible": false}],
                    "views": [{"name": "v", "kind": "shape"}]}],
        "activeView": "v"})");
    session.Register();
    session.Settle();
    EXPECT_EQ(session.Documents()[1],
              R"({"treeUpdate":[{"id":"5","state":"1","loaded":"true"},{"id":"6","state":"2"},)"
              R"({"id":"7","state":"2"},{"id":"8","state":"2","loaded":"false"}]})");
    session.Clear();
    ASSERT_TRUE(devhost::RemoveInstanceAt("a/b"));
    session.Settle();
    const auto calls = session.Calls();
    ASSERT_GE(calls.size(), 3u);
    EXPECT_EQ(calls[0], "OnTreeMappingBegin");
    EXPECT_EQ(calls[1], R"(OnTreeMapping {"treeRemove":[{"id":"6","idpath":"a/b"},{"id":"7","idpath":"a/b/c"}]})");
    EXPECT_EQ(calls[2], "OnTreeMappingEnd");

    // A removed id names nothing any more.
    session.Clear();
    session.Select(R"({"nodes":["6","5"],"x":0})");
    session.Settle();
    EXPECT_EQ(session.Documents(),
              std::vector<std::string>{"{\n\n\"treeUpdateChanges\":\n[\n{\"id\": \"5\",\"state\": \"1\"}\n]\n\n}\n"});

    // The world's tree goes: the client is told to clear its tree.
    session.Clear();
    devhost::UseWorldWithoutTree();
    session.Settle();
    EXPECT_EQ(session.Calls(), (std::vector<std::string>{"OnTreeUpdateBegin",
                                                         "OnTreeUpdate {\n\n\"clearTree\":\"true\"}\n",
                                                         "OnTreeUpdateEnd"}));
    EXPECT_EQ(std::string("{\n\n\"clearTree\":\"true\"}\n").size(), 23u);

    // With no tree an unloaded path loads nothing.
    session.Clear();
    session.Select(R"({"unloadedPrimaryNode":"a/d"})");
    session.Settle();
    EXPECT_FALSE(devhost::ShapeOf("s", "a/d").visible);
}

TEST(TreeDocuments, AnUnloadedPrimaryBesideALoadedOneIsIgnoredWithAWarning) {
    ttest::TreeSession session(R"({"structure": [{"name": "a", "uid": 5}, {"name": "b", "uid": 6}],
        "scenes": [{"name": "s", "views": [{"name": "v", "kind": "shape"}]}], "activeView": "v"})");
    session.Register();
    session.Settle();
    devhost::TraceLog::Clear();
    session.Select(R"({"primaryNode":"5","unloadedPrimaryNode":"b"})");
    session.Settle();
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
        session.Select(request);
    session.Settle();
    EXPECT_FALSE(devhost::ShapeOf("s", "b").present);
    // An id with trailing letters names its digits; an empty unloaded path is a path.
    session.Select(R"({"primaryNode":"","selectedNodes":["6abc"],"unloadedSelectedNodes":[""]})");
    session.Settle();
    EXPECT_TRUE(devhost::ShapeOf("s", "b").visible);
}

}  // namespace
