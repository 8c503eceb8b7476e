// What the rows of the attribute tree say, and whether it has the text of a search.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>

#include <QString>

#include <bitset>
#include <string>
#include <string_view>

namespace vordal {

/// What a row says of its value: numbers with a sensible length, what was a 32-bit float on the wire by its own digits.
std::string RowText(CVordalType const& value);
/// What a row says of the kind of its value; nothing of a node without one.
std::string_view KindText(CVordalType const& value);

/// A search for a text in what rows say of key, kind and value, whatever the case of its letters.
class AttributeSearch
{
public:
    /// Finds everything.
    AttributeSearch() = default;
    explicit AttributeSearch(QString const& text);

    bool IsEmpty() const { return m_text.isEmpty(); }
    /// Whether the row of that node has the text, whatever is below it.
    bool Finds(CAttributeMap const& node) const;

private:
    template <typename Character>
    bool IsIn(std::basic_string_view<Character> text) const;

    QString m_text;
    std::string m_folded; ///< in small letters, while it is ASCII
    bool m_isAscii = true;
    bool m_canBeNumber = true;
    std::bitset<32> m_kinds; ///< those whose names have it
};

} // namespace vordal
