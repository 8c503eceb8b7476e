// The key of a tree node: a wide text together with its hash, which a literal gets at compile time.
#pragma once

#include <VordalBaseR/CString.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vordal {
struct TreeAccess;
}

/// A key as every look-up takes it: text, hash, and the two bits that the key has in the filter of a node's children.
/// It refers to the text and does not own it; the text must outlive the key. Write keys that are known in advance as
/// `inline constexpr AttributeKey Range{L"..."}`, so that the hash costs nothing when the program runs.
/// Keys are equal when their texts are equal, character by character. Any thread; nothing here fails.
class AttributeKey
{
public:
    /// The empty text.
    constexpr AttributeKey() : AttributeKey(std::wstring_view()) {}
    /// Of a text that outlives the key.
    constexpr AttributeKey(std::wstring_view text) : m_text(text), m_hash(HashOf(text)), m_filter(FilterOf(m_hash)) {}
    /// Null counts as the empty text.
    constexpr AttributeKey(wchar_t const* text)
        : AttributeKey(text != nullptr ? std::wstring_view(text) : std::wstring_view())
    {
    }
    AttributeKey(CString const& text) : AttributeKey(text.View()) {}
    AttributeKey(std::wstring const& text) : AttributeKey(std::wstring_view(text)) {}

    /// The text that it refers to.
    constexpr std::wstring_view Text() const { return m_text; }
    /// 64-bit FNV-1a, one step for each Unicode code point, so that it is the same wherever `wchar_t` has another
    /// width; never 0.
    constexpr std::uint64_t Hash() const { return m_hash; }
    /// The bits that are all set in the filter of a node with such a child.
    constexpr std::uint64_t Filter() const { return m_filter; }

    /// A copy of the text.
    CString ToString() const { return CString(m_text); }

    /// By text; the hashes are compared first.
    friend constexpr bool operator==(AttributeKey const& a, AttributeKey const& b)
    {
        return a.m_hash == b.m_hash && a.m_text == b.m_text;
    }

    /// Two of 64 bits: with the one to three keys of a usual request, fewer than one absent key in a hundred passes.
    static constexpr std::uint64_t FilterOf(std::uint64_t hash)
    {
        return (std::uint64_t{1} << (hash >> 58)) | (std::uint64_t{1} << ((hash >> 40) & 63U));
    }

private:
    friend struct vordal::TreeAccess;

    /// For a node's own key, whose hash is known.
    constexpr AttributeKey(std::wstring_view text, std::uint64_t hash)
        : m_text(text), m_hash(hash), m_filter(FilterOf(hash))
    {
    }

    static constexpr std::uint64_t HashOf(std::wstring_view text)
    {
        std::uint64_t hash = 0xcbf29ce484222325U;
        for (std::size_t i = 0; i < text.size(); ++i) {
            auto codePoint = static_cast<std::uint32_t>(text[i]);
            if constexpr (sizeof(wchar_t) == 2) {
                codePoint &= 0xFFFFU;
                if ((codePoint & 0xFC00U) == 0xD800U && i + 1 < text.size()) {
                    auto const low = static_cast<std::uint32_t>(text[i + 1]) & 0xFFFFU;
                    if ((low & 0xFC00U) == 0xDC00U) {
                        codePoint = 0x10000U + ((codePoint & 0x3FFU) << 10) + (low & 0x3FFU);
                        ++i;
                    }
                }
            }
            hash = (hash ^ codePoint) * 0x100000001b3U;
        }
        return hash != 0 ? hash : 1;
    }

    std::wstring_view m_text;
    std::uint64_t m_hash;
    std::uint64_t m_filter;
};
