// A JSON document that was read, and its values, which refer to it.
#pragma once

#include "json_content.h"
#include "json_value.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qx5 {

class JsonItems;
class JsonMembers;

/// A value of a JsonDocument, which must outlive it; copied as one likes. Any thread may read.
///
/// A general reader turns 50 and 50.0, -0 and 0, or a number past 64 bits into one another, and gives up a whole file
/// for one bad text. Here a number is its literal, and a value that is sound JSON but not usable (JsonValue::Kind)
/// stands in its place with the reason, so that one bad scenario of a file spoils no other.
class JsonNode
{
public:
    using Kind = JsonValue::Kind;

    /// Of no document; good for assignment alone.
    JsonNode() = default;

    Kind GetKind() const { return Entry().Kind(); }
    bool Is(Kind wanted) const { return GetKind() == wanted; }
    bool Boolean() const;
    /// What a text says, the literal of a number, the reason of a defect; else empty. Lives as long as the document.
    std::string_view Text() const
    {
        auto const& entry = Entry();
        bool const isQuoted = entry.Kind() == Kind::Text;
        return (isQuoted && !entry.IsBeside()) || entry.Kind() == Kind::Number
                   ? std::string_view(m_content->text.data() + entry.At() + (isQuoted ? 1 : 0), entry.Extent())
                   : TextBeside();
    }
    /// Where it begins in its document, in bytes.
    std::size_t At() const { return Entry().At(); }
    /// Bytes from where it begins to what follows all that is in it.
    std::size_t Extent() const;
    /// Those of an array; of anything else none.
    inline JsonItems Items() const;
    /// Those of an object; of anything else none.
    inline JsonMembers Members() const;
    /// The member; nothing when it is absent or this is no object. Takes as long as there are members.
    std::optional<JsonNode> Find(std::string_view key) const;

    /// Whether this is a number written without point and exponent.
    bool IsIntegerLiteral() const;
    /// False, and nothing written, when this is no integer literal or is out of range.
    bool ReadInteger(std::int64_t& value) const;
    /// A number of any form, as ReadNumberLiteral. False, and nothing written, when this is none.
    bool ReadNumber(double& value) const;

    /// A copy that stands for itself.
    JsonValue Copy() const;
    /// Whether there is no defect anywhere in its document.
    bool IsOfSoundDocument() const;

    /// For who has the content.
    JsonNode(JsonContent const& content, std::size_t place) : m_content(&content), m_place(place) {}

private:
    friend class JsonItems;
    friend class JsonMembers;
    std::string_view TextBeside() const;
    JsonEntry const& Entry() const { return m_content->entries[m_place]; }
    std::size_t Past() const
    {
        auto const& entry = Entry();
        return entry.Kind() == Kind::Array || entry.Kind() == Kind::Object ? entry.Extent() : m_place + 1;
    }

    JsonContent const* m_content = nullptr;
    std::size_t m_place = 0;
};

/// The items of an array, in order.
class JsonItems
{
public:
    class Iterator
    {
    public:
        using value_type = JsonNode;
        using difference_type = std::ptrdiff_t;
        using iterator_category = std::forward_iterator_tag;
        using pointer = JsonNode const*;
        using reference = JsonNode const&;

        Iterator() = default;
        explicit Iterator(JsonNode const& at) : m_at(at) {}
        JsonNode const& operator*() const { return m_at; }
        JsonNode const* operator->() const { return &m_at; }
        Iterator& operator++()
        {
            m_at.m_place = m_at.Past();
            return *this;
        }
        Iterator operator++(int)
        {
            auto const before = *this;
            ++*this;
            return before;
        }
        bool operator==(Iterator const& other) const { return m_at.m_place == other.m_at.m_place; }

    private:
        JsonNode m_at;
    };

    JsonItems(JsonNode const& first, JsonNode const& end) : m_first(first), m_end(end) {}
    Iterator begin() const { return Iterator(m_first); }
    Iterator end() const { return Iterator(m_end); }
    bool empty() const { return begin() == end(); }
    /// Takes as long as there are items.
    std::size_t size() const;
    std::vector<JsonNode> ToVector() const { return {begin(), end()}; }
    /// Copies as many as there is room for. How many there are, but no more than one more than there is room for.
    std::size_t Into(std::span<JsonNode> first) const;

private:
    JsonNode m_first;
    JsonNode m_end;
};

struct JsonMember
{
    std::string_view key; ///< lives as long as the document
    JsonNode value;
};

/// The members of an object, in order.
class JsonMembers
{
public:
    class Iterator
    {
    public:
        using value_type = JsonMember;
        using difference_type = std::ptrdiff_t;
        using iterator_category = std::input_iterator_tag;
        using pointer = void;
        using reference = JsonMember;

        explicit Iterator(JsonNode const& key) : m_key(key) {}
        JsonMember operator*() const { return {m_key.Text(), Value()}; }
        Iterator& operator++()
        {
            m_key.m_place = Value().Past();
            return *this;
        }
        bool operator==(Iterator const& other) const { return m_key.m_place == other.m_key.m_place; }

    private:
        JsonNode Value() const { return {*m_key.m_content, m_key.m_place + 1}; }

        JsonNode m_key;
    };

    JsonMembers(JsonNode const& first, JsonNode const& end) : m_first(first), m_end(end) {}
    Iterator begin() const { return Iterator(m_first); }
    Iterator end() const { return Iterator(m_end); }
    bool empty() const { return begin() == end(); }

private:
    JsonNode m_first;
    JsonNode m_end;
};

inline JsonItems JsonNode::Items() const
{
    auto const past = Past();
    return {{*m_content, Is(Kind::Array) ? m_place + 1 : past}, {*m_content, past}};
}

inline JsonMembers JsonNode::Members() const
{
    auto const past = Past();
    return {{*m_content, Is(Kind::Object) ? m_place + 1 : past}, {*m_content, past}};
}

/// A document as it was read: its text, and beside it 12 bytes for each value and each key. Moved, not copied; moving
/// leaves its nodes as they are. Never changes.
class JsonDocument
{
public:
    explicit JsonDocument(std::unique_ptr<JsonContent const> content);
    JsonDocument(JsonDocument&&) noexcept;
    JsonDocument& operator=(JsonDocument&&) noexcept;
    ~JsonDocument();

    JsonNode Root() const;

private:
    std::unique_ptr<JsonContent const> m_content;
};

} // namespace qx5
