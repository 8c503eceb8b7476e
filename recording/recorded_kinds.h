// What a recording holds: the topics of its messages, one row a kind, from which recorder, readers and manual derive.
#pragma once

#include <array>
#include <string_view>

namespace qx5::recording {

/// A kind of message. Its topic is that of the sonar, "/sonar/1.78.1.1", and the name behind it; of kinds that concern
/// no one sonar the name alone.
struct RecordedKind
{
    std::string_view name;
    std::string_view meaning;
    /// JSON schema of the messages; empty where they are frames as they lie on the wire.
    std::string_view schema;
};

namespace kinds {

inline constexpr RecordedKind Sent{"sent", "a frame that went to the sonar, byte for byte", ""};
inline constexpr RecordedKind Received{"received", "a frame that came from the sonar, byte for byte", ""};
inline constexpr RecordedKind Settings{
    "settings",
    "the sonar's name and its attributes at the start of a part; again where a long file tells once more what stands",
    R"({"type":"object","properties":{"name":{"type":"string"},"tree":{"type":"array"},"host":{"type":"object","properties":{"guid":{"type":"string"},"port":{"type":"string"},"mainWindow":{"type":"boolean"},"operator":{"type":"boolean"}},"required":["guid","port","mainWindow","operator"]},"again":{"type":"boolean"}},"required":["name","tree"]})"};
inline constexpr RecordedKind Requests{
    "requests", "what was asked for, by whom, under a number",
    R"({"type":"object","properties":{"number":{"type":"integer"},"who":{"type":"string"},"request":{"type":"array"}},"required":["number","who","request"]})"};
inline constexpr RecordedKind Results{
    "results", "what became of the request of that number, and what the sonar then had",
    R"({"type":"object","properties":{"number":{"type":"integer"},"result":{"type":"string"},"got":{"type":"array"},"reason":{"type":"string"}},"required":["number","result","got","reason"]})"};
inline constexpr RecordedKind Attributes{
    "attributes", "what the sonar told or the plug-in echoed into the device's attributes; of an echo its flag word",
    R"({"type":"object","properties":{"from":{"enum":["sonar","echo"]},"tree":{"type":"array"},"flags":{"type":"integer"}},"required":["from","tree"]})"};
inline constexpr RecordedKind Connection{
    "connection", "how the connection stands, and why",
    R"({"type":"object","properties":{"state":{"type":"string"},"reason":{"type":"string"}},"required":["state","reason"]})"};
inline constexpr RecordedKind Marks{"marks", "a word of the operator's for a moment",
                                    R"({"type":"object","properties":{"text":{"type":"string"}},"required":["text"]})"};
inline constexpr RecordedKind Lost{
    "lost", "messages that found no room since the last that was written",
    R"({"type":"object","properties":{"messages":{"type":"integer"},"bytes":{"type":"integer"}},"required":["messages","bytes"]})"};
inline constexpr RecordedKind Written{
    "written", "what the host or a view put into the device's attributes by itself",
    R"({"type":"object","properties":{"tree":{"type":"array"}},"required":["tree"]})"};

} // namespace kinds

inline constexpr std::array<RecordedKind const*, 10> RecordedKinds{
    &kinds::Sent,       &kinds::Received,   &kinds::Settings, &kinds::Requests, &kinds::Results,
    &kinds::Attributes, &kinds::Connection, &kinds::Marks,    &kinds::Lost,     &kinds::Written};

inline constexpr std::string_view SonarTopic = "/sonar/";
inline constexpr std::string_view FrameEncoding = "x5-frame";
/// The record of the file that tells which program wrote it.
inline constexpr std::string_view ProgramMetadata = "program";

} // namespace qx5::recording
