// A JSON document that was read, and its values.
#include "json_document.h"

#include "json_content.h"
#include "json_number.h"

#include <utility>

namespace qx5 {

using Kind = JsonValue::Kind;

Kind JsonNode::GetKind() const
{
    return static_cast<Kind>(m_content->entries[m_place].kind);
}

bool JsonNode::Boolean() const
{
    return Is(Kind::Bool) && m_content->entries[m_place].extent != 0;
}

std::string_view JsonNode::Text() const
{
    auto const& entry = m_content->entries[m_place];
    switch (static_cast<Kind>(entry.kind)) {
    case Kind::Defect:
        return m_content->beside[entry.extent];
    case Kind::Text:
        return entry.isBeside != 0 ? std::string_view(m_content->beside[entry.extent])
                                   : std::string_view(m_content->text).substr(entry.at + 1, entry.extent);
    case Kind::Number:
        return std::string_view(m_content->text).substr(entry.at, entry.extent);
    default:
        return {};
    }
}

std::size_t JsonNode::At() const
{
    return m_content->entries[m_place].at;
}

std::size_t JsonNode::Past() const
{
    auto const& entry = m_content->entries[m_place];
    auto const kind = static_cast<Kind>(entry.kind);
    return kind == Kind::Array || kind == Kind::Object ? entry.extent : m_place + 1;
}

JsonItems JsonNode::Items() const
{
    auto const past = Past();
    return {{*m_content, Is(Kind::Array) ? m_place + 1 : past}, {*m_content, past}};
}

JsonMembers JsonNode::Members() const
{
    auto const past = Past();
    return {{*m_content, Is(Kind::Object) ? m_place + 1 : past}, {*m_content, past}};
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

JsonItems::Iterator& JsonItems::Iterator::operator++()
{
    m_at.m_place = m_at.Past();
    return *this;
}

JsonItems::Iterator JsonItems::Iterator::operator++(int)
{
    auto const before = *this;
    ++*this;
    return before;
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

JsonMembers::Iterator& JsonMembers::Iterator::operator++()
{
    m_key.m_place = Value().Past();
    return *this;
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
