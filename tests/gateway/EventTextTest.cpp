// The event writer against rapidjson::Writer: the stream's bytes must stay
// those that the gateway wrote through a RapidJSON DOM and Writer.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "devhost/gateway/EventText.h"
#include "devhost/gateway/ValueCodec.h"

namespace {

using devhost::HandleValue;
using devhost::MessageValue;
using devhost::gateway::EventTextWriter;
using devhost::gateway::SessionObjects;

// Every byte value, escaped or not, and every escape among plain text.
std::string EveryByte() {
    std::string text;
    for (int byte = 0; byte < 256; ++byte) {
        text += "ab";
        text += static_cast<char>(byte);
    }
    return text + R"(tail "quoted" back\slash/ tab	end)";
}

// Text like a tree document in a string: JSON, names with escapes and
// UTF-8, and runs long enough for the writer's eight-byte steps.
std::string DocumentLike(std::size_t bytes, unsigned seed) {
    std::mt19937 random(seed);
    const std::vector<std::string> pieces = {R"({"id":")", "1234", R"(","name":")", "Bracket \"A\" 12 mm",
                                             "\\path\\to", "\n", "\t", "\x01", "\x1f", "\xc3\xa9\xe2\x82\xac",
                                             "a long plain name of a part of an assembly", R"("},)", "/", "\x7f"};
    std::string text;
    while (text.size() < bytes) text += pieces[random() % pieces.size()];
    return text;
}

// The arguments of a callback with every kind of value, written through
// the gateway's own argument writer.
template <typename Handler>
void WriteCallback(const std::vector<MessageValue>& values, const std::vector<std::string>& types, Handler& handler) {
    SessionObjects session;
    session.owns = [](const HandleValue& handle) { return handle.object == 7; };
    handler.StartObject();
    handler.Key("seq", 3, false);
    handler.Uint64(18446744073709551615ull);
    handler.Key("args", 4, false);
    handler.StartArray();
    std::size_t position = 0;
    for (const std::string& type : types) ASSERT_TRUE(WriteArgument(type, values, position, session, handler)) << type;
    handler.Null();
    handler.EndArray(0);
    handler.EndObject(0);
}

std::string ByRapidJson(const std::vector<MessageValue>& values, const std::vector<std::string>& types) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    WriteCallback(values, types, writer);
    return std::string(buffer.GetString(), buffer.GetSize());
}

std::string ByEventWriter(const std::vector<MessageValue>& values, const std::vector<std::string>& types) {
    EventTextWriter writer;
    WriteCallback(values, types, writer);
    const auto text = writer.Finish(writer.Size());
    return std::string(text->Bytes());
}

TEST(EventText, EveryKindOfValueIsWrittenAsRapidJsonWritesIt) {
    const std::string every = EveryByte();
    const std::vector<MessageValue> values = {
        du::Symbol(every.data(), every.size()),
        du::Symbol(),
        du::Symbol(""),
        du::Symbol(std::string("nul\0inside", 10).data(), 10),
        0.0, -0.0, 1.0, 0.1, -1.5e300, 5e-324, 123456789.125, std::numeric_limits<double>::max(),
        std::int32_t{0}, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max(),
        std::uint32_t{0}, std::numeric_limits<std::uint32_t>::max(),
        true, false,
        HandleValue{}, HandleValue{7, 1, 0}, HandleValue{1234567890123ull, 0, 0},
        std::uint32_t{3}, du::Symbol("a"), du::Symbol(), du::Symbol("\"b\""),
        std::uint32_t{0},
    };
    const std::vector<std::string> types = {"S", "S", "S", "S", "d", "d", "d", "d", "d", "d", "d", "d",
                                            "l", "l", "l", "ul", "ul", "b", "b", "R", "RA::B", "R",
                                            "QS", "Qd"};
    EXPECT_EQ(ByEventWriter(values, types), ByRapidJson(values, types));
}

TEST(EventText, DocumentsOfMegabytesAreWrittenAsRapidJsonWritesThem) {
    for (const std::size_t bytes : {std::size_t{0}, std::size_t{7}, std::size_t{8}, std::size_t{17}, std::size_t{16385},
                                    std::size_t{3} << 20}) {
        const std::string document = DocumentLike(bytes, static_cast<unsigned>(bytes));
        const std::vector<MessageValue> values = {du::Symbol(document.data(), document.size())};
        const std::string written = ByEventWriter(values, {"S"});
        EXPECT_EQ(written, ByRapidJson(values, {"S"})) << bytes << " bytes";
    }
}

TEST(EventText, ANumberWithoutAJsonFormIsNull) {
    const std::vector<MessageValue> values = {std::numeric_limits<double>::quiet_NaN(),
                                              -std::numeric_limits<double>::infinity(), 2.5};
    EXPECT_EQ(ByEventWriter(values, {"d", "d", "d"}), R"({"seq":18446744073709551615,"args":[null,null,2.5,null]})");
}

TEST(EventText, AValueOfAnotherTypeOrACountTooLargeIsRefusedByTheDomAsByTheWriter) {
    rapidjson::Document document;
    SessionObjects session;
    for (const auto& [values, type] : std::vector<std::pair<std::vector<MessageValue>, std::string>>{
             {{std::int32_t{1}}, "S"}, {{std::uint32_t{2}, du::Symbol("x")}, "QS"}, {{}, "d"}, {{du::Symbol("x")}, "QS"}}) {
        std::size_t position = 0;
        rapidjson::Value out;
        EXPECT_FALSE(devhost::gateway::DecodeArgument(type, values, position, session, out, document.GetAllocator()))
            << type;
        EventTextWriter writer;
        position = 0;
        EXPECT_FALSE(WriteArgument(type, values, position, session, writer)) << type;
    }
}

TEST(EventText, TheDomReadsWhatTheWriterWrote) {
    const std::string every = EveryByte();
    const std::vector<MessageValue> values = {std::uint32_t{2}, du::Symbol(every.data(), every.size()), du::Symbol()};
    rapidjson::Document document;
    std::size_t position = 0;
    rapidjson::Value out;
    ASSERT_TRUE(devhost::gateway::DecodeArgument("QS", values, position, SessionObjects{}, out, document.GetAllocator()));
    EXPECT_EQ(position, 3u);
    ASSERT_TRUE(out.IsArray() && out.Size() == 2 && out[0].IsString() && out[1].IsNull());
    EXPECT_EQ(std::string(out[0].GetString(), out[0].GetStringLength()), every);
}

}  // namespace
