// GetViewables through the plug-in: every viewable to the client's callback,
// in index order, with thumbnails that decode to the world's PNG files, and
// the requests that never answer.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "HostCalls.h"
#include "PluginSession.h"
#include "WorldFile.h"
#include "devhost/content/WorldContent.h"
#include "devhost/samples/SampleWorlds.h"
#include "devhost/world/WorldControl.h"

namespace {

std::string FileBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::string DecodeBase64(const std::string& text) {
    static const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    unsigned int bits = 0;
    int count = 0;
    for (char c : text) {
        if (c == '=') break;
        const std::size_t value = alphabet.find(c);
        if (value == std::string::npos) return "<not base64>";
        bits = (bits << 6) | static_cast<unsigned int>(value);
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes.push_back(static_cast<char>((bits >> count) & 0xff));
        }
    }
    return bytes;
}

// The text of a result without its pngb64 value, and that value decoded.
std::string WithoutPng(const std::string& received, std::string& png) {
    const std::string key = "\"pngb64\": \"";
    const std::size_t start = received.find(key);
    if (start == std::string::npos) return received;
    const std::size_t end = received.find('"', start + key.size());
    png = DecodeBase64(received.substr(start + key.size(), end - start - key.size()));
    return received.substr(0, start + key.size()) + "PNG" + received.substr(end);
}

std::string SampleFolder() {
    const std::string path = devhost::DefaultSampleWorldPath();
    return path.substr(0, path.rfind('/'));
}

using ViewablesCommand = support::PluginTest;

TEST_F(ViewablesCommand, SampleWorldSendsEveryViewableInIndexOrderWithItsThumbnailAfterFetchesArriveOutOfOrder) {
    Start("");
    session->Module().GetViewables(session->Viewables(), 7);
    const std::vector<std::string> received = session->Received();
    ASSERT_EQ(8u, received.size());

    std::vector<std::string> pngs(received.size());
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < received.size(); ++i) texts.push_back(WithoutPng(received[i], pngs[i]));
    EXPECT_EQ(
        (std::vector<std::string>{
            "StartViewablesResult 7",
            "ViewablesResult {\n\n\"viewable\":\n{ \"name\": \"Assembly drawing\", \"idpath\": \"drone\", "
            "\"viewableType\": \"drawing\", \"index\": \"0\"}}\n|7",
            "ViewablesResult {\n\n\"viewable\":\n{ \"name\": \"Exploded view\", \"idpath\": \"drone\", "
            "\"viewableType\": \"illustration3d\", \"pngb64\": \"PNG\", \"index\": \"1\"}}\n|7",
            "ViewablesResult {\n\n\"viewable\":\n{ \"name\": \"Battery swap\", \"idpath\": \"drone\", "
            "\"viewableType\": \"illustration3d\", \"pngb64\": \"PNG\", \"index\": \"2\"}}\n|7",
            "ViewablesResult {\n\n\"viewable\":\n{ \"name\": \"Propeller change\", \"idpath\": \"drone\", "
            "\"viewableType\": \"illustration3d\", \"pngb64\": \"PNG\", \"index\": \"3\"}}\n|7",
            "ViewablesResult {\n\n\"viewable\":\n{ \"name\": \"Parts list\", \"idpath\": \"drone\", "
            "\"viewableType\": \"document\", \"index\": \"4\"}}\n|7",
            "ViewablesResult {\n\n\"viewable\":\n{ \"name\": \"Body drawing\", \"idpath\": \"drone/frame/body_bottom\", "
            "\"viewableType\": \"drawing\", \"index\": \"5\"}}\n|7",
            "EndViewablesResult 7"}),
        texts);
    const std::string folder = SampleFolder();
    EXPECT_EQ(FileBytes(folder + "/thumbnails/exploded.png"), pngs[2]);
    EXPECT_EQ(FileBytes(folder + "/thumbnails/battery_swap.png"), pngs[3]);
    EXPECT_EQ(FileBytes(folder + "/thumbnails/prop_change.png"), pngs[4]);
    EXPECT_EQ(0, pngs[2].compare(0, 4, "\x89PNG"));

    // The battery swap arrived after the propeller change, yet the count
    // goes down one by one and the results keep their order.
    const auto fetches = devhost::CurrentContent()->OwnLoader()->Fetches();
    ASSERT_EQ(3u, fetches.size());
    EXPECT_EQ("thumbnails/battery_swap.png", fetches[1].source.str());
    for (const auto& fetch : fetches) {
        EXPECT_EQ("file://" + folder + "/" + fetch.source.str(), fetch.url.str());
        EXPECT_TRUE(fetch.useCache);
        EXPECT_FALSE(fetch.reload);
        EXPECT_TRUE(fetch.user == du::Symbol::EMPTY && fetch.password == du::Symbol::EMPTY);
    }
    for (const auto& request : devhost::CurrentContent()->SharedAnchor()->UrlRequests()) EXPECT_FALSE(request.absolute);
    EXPECT_EQ((std::vector<std::string>{"0|thumbnail: thumbnails/exploded.png",
                                        "0|thumbnail: thumbnails/battery_swap.png",
                                        "0|thumbnail: thumbnails/prop_change.png",
                                        "0|Number of outstanding figures: 2", "0|Number of outstanding figures: 1",
                                        "0|Number of outstanding figures: 0"}),
              cmdtest::CommandTraces());
}

TEST_F(ViewablesCommand, AFailedFetchCountsAsDoneAndItsViewableGoesWithoutThumbnail) {
    support::LoadWorld("");
    ASSERT_TRUE(devhost::CurrentContent()->UseViewableSet("failing"));
    Start();
    session->Module().GetViewables(session->Viewables(), -3);
    const std::vector<std::string> received = session->Received();
    ASSERT_EQ(4u, received.size());
    std::string png;
    EXPECT_EQ("ViewablesResult {\n\n\"viewable\":\n{ \"name\": \"Exploded view\", \"idpath\": \"drone\", "
              "\"viewableType\": \"illustration3d\", \"pngb64\": \"PNG\", \"index\": \"0\"}}\n|-3",
              WithoutPng(received[1], png));
    EXPECT_EQ("ViewablesResult {\n\n\"viewable\":\n{ \"name\": \"Wiring harness\", \"idpath\": \"drone\", "
              "\"viewableType\": \"illustration3d\", \"index\": \"1\"}}\n|-3",
              received[2]);
    EXPECT_EQ("EndViewablesResult -3", received[3]);
}

TEST_F(ViewablesCommand, AFigureThatIsNotFetchedWhileOthersAreLeavesTheRequestUnanswered) {
    support::LoadWorld("");
    ASSERT_TRUE(devhost::CurrentContent()->UseViewableSet("stalled"));
    Start();
    session->Module().GetViewables(session->Viewables(), 1);
    EXPECT_TRUE(session->Received().empty());
    // Of the four figures the one fetch that answers is counted off; the
    // thumbnail-less figure and the one without an anchor never are.
    EXPECT_EQ((std::vector<std::string>{"0|thumbnail: thumbnails/exploded.png",
                                        "0|thumbnail: thumbnails/gimbal.png",
                                        "0|Number of outstanding figures: 3"}),
              cmdtest::CommandTraces());

    // A later request overwrites the first, and is answered on its own.
    ASSERT_TRUE(devhost::CurrentContent()->UseViewableSet(""));
    session->Module().GetViewables(session->Viewables(), 2);
    const std::vector<std::string> received = session->Received();
    ASSERT_EQ(8u, received.size());
    EXPECT_EQ("StartViewablesResult 2", received.front());
    EXPECT_EQ("EndViewablesResult 2", received.back());
}

TEST_F(ViewablesCommand, WithoutAnyFetchEveryViewableGoesAtOnceAndPackagesAreListedByTheirContents) {
    support::WorldFile world(ctest::SmallWorld(R"(, "viewableSets": { "packaged": { "car/body": [
        { "kind": "illustrate", "name": "Manual", "viewables": [
          { "kind": "plain", "name": "Page 1", "type": "page" },
          { "kind": "illustration3d", "name": "Figure \"A\"", "thumbnail": "../outside.png" } ] },
        { "kind": "illustration3d", "name": "Sketch" } ] } })"));
    Start();

    session->Module().GetViewables(session->Viewables(), -5);
    EXPECT_EQ((std::vector<std::string>{"StartViewablesResult -5", "EndViewablesResult -5"}), session->Received());

    ASSERT_TRUE(devhost::CurrentContent()->UseViewableSet("packaged"));
    session->Module().GetViewables(session->Viewables(), 9);
    const std::vector<std::string> received = session->Received();
    EXPECT_EQ((std::vector<std::string>{
                  "StartViewablesResult -5", "EndViewablesResult -5", "StartViewablesResult 9",
                  "ViewablesResult {\n\n\"viewable\":\n{ \"name\": \"Page 1\", \"idpath\": \"car/body\", "
                  "\"viewableType\": \"page\", \"index\": \"0\"}}\n|9",
                  "ViewablesResult {\n\n\"viewable\":\n{ \"name\": \"Figure \"A\"\", \"idpath\": \"car/body\", "
                  "\"viewableType\": \"illustration3d\", \"index\": \"1\"}}\n|9",
                  "ViewablesResult {\n\n\"viewable\":\n{ \"name\": \"Sketch\", \"idpath\": \"car/body\", "
                  "\"viewableType\": \"illustration3d\", \"index\": \"2\"}}\n|9",
                  "EndViewablesResult 9"}),
              received);
    EXPECT_EQ(std::vector<std::string>{"3|*** Failed to get thumbnail url"}, cmdtest::CommandTraces());
}

TEST_F(ViewablesCommand, ALateFetchOfAnEarlierRequestCountsDownTheLatestAndFillsItsPlace) {
    support::WorldFile world(ctest::SmallWorld(R"(,
        "components": { "car/body": { "viewables": [
          { "kind": "illustration3d", "name": "Figure", "thumbnail": "figure.png" } ] } },
        "loader": { "fetches": { "figure.png": "held" } })"));
    std::ofstream(world.Folder() + "/figure.png", std::ios::binary) << "\x89PNG late";
    Start();
    session->Module().GetViewables(session->Viewables(), 1);
    session->Module().GetViewables(session->Viewables(), 2);
    session->Settle();
    const auto loader = devhost::CurrentContent()->OwnLoader();
    ASSERT_EQ(2u, loader->Fetches().size());

    ASSERT_TRUE(loader->ReleaseFetch(0));
    std::vector<std::string> received = session->Received();
    ASSERT_EQ(3u, received.size());
    std::string png;
    EXPECT_EQ("ViewablesResult {\n\n\"viewable\":\n{ \"name\": \"Figure\", \"idpath\": \"car/body\", "
              "\"viewableType\": \"illustration3d\", \"pngb64\": \"PNG\", \"index\": \"0\"}}\n|2",
              WithoutPng(received[1], png));
    EXPECT_EQ("\x89PNG late", png);

    // The latest request's own fetch comes after it was answered.
    ASSERT_TRUE(loader->ReleaseFetch(1, false));
    EXPECT_EQ(3u, session->Received().size());
    EXPECT_EQ((std::vector<std::string>{"0|thumbnail: figure.png", "0|thumbnail: figure.png",
                                        "0|Number of outstanding figures: 0", "0|Number of outstanding figures: -1"}),
              cmdtest::CommandTraces());
}

// A late fetch whose place the latest request no longer has (the tree lost a
// viewable in between) counts down and writes nothing.
TEST_F(ViewablesCommand, ALateFetchBeyondTheLatestRequestsViewablesWritesNothing) {
    support::WorldFile world(ctest::SmallWorld(R"(,
        "components": {
          "car/wheel_right": { "viewables": [
            { "kind": "illustration3d", "name": "Wheel", "thumbnail": "figure.png" } ] },
          "car/body": { "viewables": [
            { "kind": "illustration3d", "name": "Figure", "thumbnail": "figure.png" } ] } },
        "loader": { "fetches": { "figure.png": "held" } })"));
    std::ofstream(world.Folder() + "/figure.png", std::ios::binary) << "\x89PNG late";
    Start();
    session->Module().GetViewables(session->Viewables(), 1);
    session->Settle();
    ASSERT_TRUE(devhost::ChangeInstances({"car/body"}, {}).done);
    session->Module().GetViewables(session->Viewables(), 2);
    session->Settle();
    const auto loader = devhost::CurrentContent()->OwnLoader();
    ASSERT_EQ(3u, loader->Fetches().size());

    ASSERT_TRUE(loader->ReleaseFetch(1));  // the first request's second viewable
    EXPECT_EQ((std::vector<std::string>{
                  "StartViewablesResult 2",
                  "ViewablesResult {\n\n\"viewable\":\n{ \"name\": \"Wheel\", \"idpath\": \"car/wheel_right\", "
                  "\"viewableType\": \"illustration3d\", \"index\": \"0\"}}\n|2",
                  "EndViewablesResult 2"}),
              session->Received());
    EXPECT_NO_THROW(session->Module().GetNumberOfAnnotationSets()) << "the module serves on";
}

}  // namespace
