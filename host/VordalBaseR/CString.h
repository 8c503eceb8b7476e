// The host's wide text: a sequence of characters with value semantics.
#pragma once

#include <compare>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

/// A wide text. Characters are Unicode code points where `wchar_t` has 32 bits and UTF-16 units where it has 16.
/// Copies are independent; a CString may be handed between threads like any value, but not shared while it is written.
/// Nothing here fails but for want of memory.
class CString
{
public:
    CString() = default;
    /// A copy of the text; null gives the empty one.
    CString(wchar_t const* text) : m_text(text != nullptr ? text : L"") {}
    /// A copy of the text, zeros in it too.
    CString(std::wstring_view text) : m_text(text) {}
    /// Of that text.
    CString(std::wstring text) : m_text(std::move(text)) {}

    /// The characters, ended by a 0; valid until the text is changed or destroyed.
    wchar_t const* GetString() const { return m_text.c_str(); }
    /// Number of characters, without the ending 0.
    int GetLength() const { return static_cast<int>(m_text.size()); }
    /// Whether it has no character.
    bool IsEmpty() const { return m_text.empty(); }
    /// Removes all characters.
    void Empty() { m_text.clear(); }
    /// Case-sensitive order by character: negative, 0 or positive.
    int Compare(CString const& other) const { return m_text.compare(other.m_text); }
    /// Index of the first such character, or -1.
    int Find(wchar_t character) const
    {
        auto const at = m_text.find(character);
        return at == std::wstring::npos ? -1 : static_cast<int>(at);
    }
    /// Puts `text` before the character at `index`; past the end it goes to the end. Gives the new length.
    int Insert(int index, CString const& text)
    {
        auto const at = index < 0 ? std::size_t{0} : static_cast<std::size_t>(index);
        m_text.insert(at < m_text.size() ? at : m_text.size(), text.m_text);
        return GetLength();
    }
    /// The character at an index from 0 to GetLength() - 1.
    wchar_t operator[](int index) const { return m_text[static_cast<std::size_t>(index)]; }

    /// Appends the text; it may be this one.
    CString& operator+=(CString const& tail)
    {
        m_text += tail.m_text;
        return *this;
    }
    /// Both, one after the other.
    friend CString operator+(CString head, CString const& tail) { return head += tail; }

    /// The characters; valid until the text is changed or destroyed.
    std::wstring_view View() const { return m_text; }
    /// As View.
    operator std::wstring_view() const { return m_text; }

    /// Character by character.
    friend bool operator==(CString const&, CString const&) = default;
    /// Character by character; `b` is not null.
    friend bool operator==(CString const& a, wchar_t const* b) { return a.m_text == b; }
    /// By character, case-sensitive.
    friend auto operator<=>(CString const&, CString const&) = default;

private:
    std::wstring m_text;
};

/// The host's narrow text: bytes. Finished frames travel in one, so it may hold zeros.
using CStringA = std::string;
