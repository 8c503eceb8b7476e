// What the messages of a recording say, and how they say it in JSON.
#pragma once

#include "recorded_kinds.h"

#include "json/json_value.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace qx5::recording {

struct RecordedFrame
{
    bool isSent = false;
    std::span<unsigned char const> bytes; ///< of the frame, as long as somebody holds them
};

/// What of the host around a sonar shows in the bytes that leave for it.
struct RecordedHost
{
    std::string guid; ///< the application's
    std::string port; ///< the name of the sonar's connection, which several may share
    bool hasMainWindow = false;
    bool isOperator = false; ///< the user
};

/// At the start of a part.
struct RecordedSettings
{
    std::string name; ///< the sonar's
    CAttributeMap tree;
    std::optional<RecordedHost> host = {}; ///< nothing where the file does not tell
    /// Nothing has happened: what stands is written once more, for who begins to read here.
    bool isAgain = false;
};

struct RecordedRequest
{
    std::uint64_t number = 0;
    std::string who;
    CAttributeMap asked;
};

struct RecordedResult
{
    std::uint64_t number = 0;
    std::string result;
    CAttributeMap got;
    std::string reason;
};

struct RecordedAttributes
{
    bool isEcho = false;
    CAttributeMap tree;
    std::optional<unsigned> flags = {}; ///< of an echo; nothing where the file does not tell
};

struct RecordedWriting
{
    CAttributeMap tree;
};

struct RecordedConnection
{
    std::string state; ///< as vordal::ToText tells it
    std::string reason;
};

struct RecordedMark
{
    std::string text;
};

struct RecordedLoss
{
    std::uint64_t messages = 0;
    std::uint64_t bytes = 0;
};

/// In the order of RecordedKinds, frames both ways as one.
using RecordedContent =
    std::variant<RecordedFrame, RecordedSettings, RecordedRequest, RecordedResult, RecordedAttributes,
                 RecordedConnection, RecordedMark, RecordedLoss, RecordedWriting>;

/// The kind of message that holds it.
RecordedKind const& KindOf(RecordedContent const& content);

/// What it puts into its sonar's attributes; null for what changes none.
CAttributeMap const* ChangeIn(RecordedContent const& content);

/// All but frames, which are no JSON: an object without members.
JsonValue WriteContent(RecordedContent const& content);

/// What a message of that kind says; of frames a view of the text. Throws InvalidDocument when it is none.
RecordedContent ReadContent(RecordedKind const& kind, std::string_view text);

} // namespace qx5::recording
