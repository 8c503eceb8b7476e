// What the messages of a recording say, and how they say it in JSON.
#include "recorded_content.h"

#include "json/json_parser.h"
#include "json/json_read.h"
#include "json/tree_json.h"

#include <limits>
#include <vector>

namespace qx5::recording {

namespace {

std::uint64_t ReadCount(MemberReader& reader, std::string_view key)
{
    return static_cast<std::uint64_t>(
        ReadInteger(reader.Get(key), reader.At(key), 0, std::numeric_limits<std::int64_t>::max()));
}

std::string ReadTextOf(MemberReader& reader, std::string_view key)
{
    return std::string(ReadText(reader.Get(key), reader.At(key)));
}

CAttributeMap ReadTreeOf(MemberReader& reader, std::string_view key)
{
    return ReadTree(reader.Get(key), reader.At(key));
}

using Members = std::vector<JsonValue::Member>;

// One function to write and one to read for each kind, side by side.

Members Write(RecordedFrame const&)
{
    return {};
}

Members Write(RecordedSettings const& settings)
{
    Members members{{"name", JsonValue::Text(settings.name)}, {"tree", WriteTree(settings.tree)}};
    if (settings.host) {
        members.emplace_back("host", JsonValue::Object({{"guid", JsonValue::Text(settings.host->guid)},
                                                        {"port", JsonValue::Text(settings.host->port)},
                                                        {"mainWindow", JsonValue::Bool(settings.host->hasMainWindow)},
                                                        {"operator", JsonValue::Bool(settings.host->isOperator)}}));
    }
    if (settings.isAgain) {
        members.emplace_back("again", JsonValue::Bool(true));
    }
    return members;
}

RecordedSettings ReadSettings(MemberReader& reader)
{
    RecordedSettings settings{ReadTextOf(reader, "name"), ReadTreeOf(reader, "tree")};
    if (auto const host = reader.Find("host")) {
        auto const at = reader.At("host");
        MemberReader members(*host, at);
        settings.host = {ReadTextOf(members, "guid"), ReadTextOf(members, "port"),
                         ReadBool(members.Get("mainWindow"), members.At("mainWindow")),
                         ReadBool(members.Get("operator"), members.At("operator"))};
    }
    if (auto const again = reader.Find("again")) {
        settings.isAgain = ReadBool(*again, reader.At("again"));
    }
    return settings;
}

Members Write(RecordedRequest const& request)
{
    return {{"number", JsonValue::Unsigned(request.number)},
            {"who", JsonValue::Text(request.who)},
            {"request", WriteTree(request.asked)}};
}

RecordedRequest ReadRequest(MemberReader& reader)
{
    return {ReadCount(reader, "number"), ReadTextOf(reader, "who"), ReadTreeOf(reader, "request")};
}

Members Write(RecordedResult const& result)
{
    return {{"number", JsonValue::Unsigned(result.number)},
            {"result", JsonValue::Text(result.result)},
            {"got", WriteTree(result.got)},
            {"reason", JsonValue::Text(result.reason)}};
}

RecordedResult ReadResult(MemberReader& reader)
{
    return {ReadCount(reader, "number"), ReadTextOf(reader, "result"), ReadTreeOf(reader, "got"),
            ReadTextOf(reader, "reason")};
}

Members Write(RecordedAttributes const& attributes)
{
    Members members{{"from", JsonValue::Text(std::string(attributes.isEcho ? "echo" : "sonar"))},
                    {"tree", WriteTree(attributes.tree)}};
    if (attributes.flags) {
        members.emplace_back("flags", JsonValue::Unsigned(*attributes.flags));
    }
    return members;
}

RecordedAttributes ReadAttributes(MemberReader& reader)
{
    auto const from = ReadTextOf(reader, "from");
    if (from != "sonar" && from != "echo") {
        throw InvalidDocument(reader.At("from"), "is neither \"sonar\" nor \"echo\"");
    }
    RecordedAttributes attributes{from == "echo", ReadTreeOf(reader, "tree")};
    if (auto const flags = reader.Find("flags")) {
        attributes.flags = ReadUInt32(*flags, reader.At("flags"));
    }
    return attributes;
}

Members Write(RecordedConnection const& connection)
{
    return {{"state", JsonValue::Text(connection.state)}, {"reason", JsonValue::Text(connection.reason)}};
}

RecordedConnection ReadConnection(MemberReader& reader)
{
    return {ReadTextOf(reader, "state"), ReadTextOf(reader, "reason")};
}

Members Write(RecordedMark const& mark)
{
    return {{"text", JsonValue::Text(mark.text)}};
}

Members Write(RecordedLoss const& loss)
{
    return {{"messages", JsonValue::Unsigned(loss.messages)}, {"bytes", JsonValue::Unsigned(loss.bytes)}};
}

Members Write(RecordedWriting const& writing)
{
    return {{"tree", WriteTree(writing.tree)}};
}

} // namespace

RecordedKind const& KindOf(RecordedContent const& content)
{
    if (auto const* const frame = std::get_if<RecordedFrame>(&content)) {
        return frame->isSent ? kinds::Sent : kinds::Received;
    }
    return *RecordedKinds[content.index() + 1];
}

CAttributeMap const* ChangeIn(RecordedContent const& content)
{
    if (auto const* const attributes = std::get_if<RecordedAttributes>(&content)) {
        return &attributes->tree;
    }
    auto const* const writing = std::get_if<RecordedWriting>(&content);
    return writing != nullptr ? &writing->tree : nullptr;
}

JsonValue WriteContent(RecordedContent const& content)
{
    return JsonValue::Object(std::visit([](auto const& each) { return Write(each); }, content));
}

RecordedContent ReadContent(RecordedKind const& kind, std::string_view text)
{
    if (kind.schema.empty()) {
        return RecordedFrame{&kind == &kinds::Sent, {reinterpret_cast<unsigned char const*>(text.data()), text.size()}};
    }
    auto const document = ParseJson(std::string(text));
    JsonPath const root;
    MemberReader reader(document.Root(), root);
    if (&kind == &kinds::Settings) {
        return ReadSettings(reader);
    }
    if (&kind == &kinds::Requests) {
        return ReadRequest(reader);
    }
    if (&kind == &kinds::Results) {
        return ReadResult(reader);
    }
    if (&kind == &kinds::Attributes) {
        return ReadAttributes(reader);
    }
    if (&kind == &kinds::Connection) {
        return ReadConnection(reader);
    }
    if (&kind == &kinds::Marks) {
        return RecordedMark{ReadTextOf(reader, "text")};
    }
    if (&kind == &kinds::Written) {
        return RecordedWriting{ReadTreeOf(reader, "tree")};
    }
    return RecordedLoss{ReadCount(reader, "messages"), ReadCount(reader, "bytes")};
}

} // namespace qx5::recording
