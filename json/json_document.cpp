// A JSON document that was read, and its values.
#include "json_document.h"

#include "json_number.h"

#include <utility>

namespace qx5 {

using Kind = JsonValue::Kind;

bool JsonNode::Boolean() const
{
    return Is(Kind::Bool) && Entry().Extent() != 0;
}

std::string_view JsonNode::TextBeside() const
{
    auto const& entry = Entry();
    return entry.IsBeside() || entry.Kind() == Kind::Defect ? std::string_view(m_content->beside[entry.Extent()])
                                                            : std::string_view();
}

std::size_t JsonNode::Extent() const
{
    auto const past = Past();
    return (past < m_content->entries.size() ? m_content->entries[past].At() : m_content->text.size()) - At();
}

std::optional<JsonNode> JsonNode::Find(std::string_view key) const
{
    for (auto const& member : Members()) {
        if (member.key == key) {
            return member.value;
        }
    }
    return std::nullopt;
}

bool JsonNode::IsIntegerLiteral() const
{
    return Is(Kind::Number) && qx5::IsIntegerLiteral(Text());
}

bool JsonNode::ReadInteger(std::int64_t& value) const
{
    return Is(Kind::Number) && ReadIntegerLiteral(Text(), value);
}

bool JsonNode::ReadNumber(double& value) const
{
    return Is(Kind::Number) && ReadNumberLiteral(Text(), value);
}

JsonValue JsonNode::Copy() const
{
    JsonValue copy;
    copy.kind = GetKind();
    copy.boolean = Boolean();
    copy.text = Text();
    for (auto const& item : Items()) {
        copy.items.push_back(item.Copy());
    }
    for (auto const& [key, value] : Members()) {
        copy.members.emplace_back(key, value.Copy());
    }
    return copy;
}

bool JsonNode::IsOfSoundDocument() const
{
    return !m_content->hasDefects;
}

std::size_t JsonItems::size() const
{
    return static_cast<std::size_t>(std::distance(begin(), end()));
}

std::size_t JsonItems::Into(std::span<JsonNode> first) const
{
    std::size_t count = 0;
    for (auto const& item : *this) {
        if (count == first.size()) {
            return count + 1;
        }
        first[count++] = item;
    }
    return count;
}

JsonDocument::JsonDocument(std::unique_ptr<JsonContent const> content) : m_content(std::move(content)) {}
JsonDocument::JsonDocument(JsonDocument&&) noexcept = default;
JsonDocument& JsonDocument::operator=(JsonDocument&&) noexcept = default;
JsonDocument::~JsonDocument() = default;

JsonNode JsonDocument::Root() const
{
    return {*m_content, 0};
}

} // namespace qx5
