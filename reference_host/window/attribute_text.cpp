// What the rows of the attribute tree say, and whether it has the text of a search.
#include "attribute_text.h"

#include <values/vordal_value.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <type_traits>
#include <vector>

namespace vordal {

namespace {

std::string RowNumber(double value)
{
    std::array<char, 64> text{};
    bool const mayBeNarrow = std::abs(value) <= static_cast<double>(std::numeric_limits<float>::max());
    float const narrow = mayBeNarrow ? static_cast<float>(value) : 0.0F;
    auto const end =
        static_cast<double>(narrow) == value
            ? std::to_chars(text.data(), text.data() + text.size(), narrow).ptr
            : std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, 12).ptr;
    return std::string(text.data(), end);
}

template <typename Character>
Character Folded(Character character)
{
    return character >= 'A' && character <= 'Z' ? static_cast<Character>(character - 'A' + 'a') : character;
}

/// Nothing but digits and what stands beside them in numbers, infinite ones included, and lists of them.
bool CanBeNumber(std::string_view folded)
{
    return folded.find_first_not_of("0123456789+-.,e[] infa") == std::string_view::npos;
}

bool IsNumber(VordalKind kind)
{
    switch (qx5::KindOf(kind)) {
    case qx5::protocol::Kind::Int:
    case qx5::protocol::Kind::UInt:
    case qx5::protocol::Kind::Int64:
    case qx5::protocol::Kind::Double:
    case qx5::protocol::Kind::Pair:
    case qx5::protocol::Kind::IntList:
    case qx5::protocol::Kind::DoubleList:
        return true;
    default:
        return false;
    }
}

} // namespace

std::string RowText(CVordalType const& value)
{
    double number = 0.0;
    double second = 0.0;
    std::vector<double> list;
    if (value.Get(number)) {
        return RowNumber(number);
    }
    if (value.Get(number, second)) {
        return RowNumber(number) + ", " + RowNumber(second);
    }
    if (value.Get(list)) {
        std::string text = "[";
        for (double const each : list) {
            text += (text.size() > 1 ? ", " : "") + RowNumber(each);
        }
        return text + "]";
    }
    return value.ToText();
}

std::string_view KindText(CVordalType const& value)
{
    return value.IsEmpty() ? std::string_view() : qx5::protocol::NameOf(qx5::KindOf(value.Kind()));
}

AttributeSearch::AttributeSearch(QString const& text) : m_text(text)
{
    for (QChar const each : text) {
        m_isAscii = m_isAscii && each.unicode() < 0x80;
        m_folded += Folded(static_cast<char>(each.unicode()));
    }
    m_canBeNumber = m_isAscii && CanBeNumber(m_folded);
    for (qx5::protocol::KindRow const& row : qx5::protocol::KindRows) {
        m_kinds[static_cast<std::size_t>(row.kind)] = IsIn(row.name);
    }
}

bool AttributeSearch::Finds(CAttributeMap const& node) const
{
    if (IsIn(node.KeyText())) {
        return true;
    }
    auto const& value = node.Value();
    if (value.IsEmpty()) {
        return false;
    }
    if (m_kinds[static_cast<std::size_t>(qx5::KindOf(value.Kind()))]) {
        return true;
    }
    if (IsNumber(value.Kind()) && !m_canBeNumber) {
        return false;
    }
    return IsIn(std::string_view(RowText(value)));
}

template <typename Character>
bool AttributeSearch::IsIn(std::basic_string_view<Character> text) const
{
    // Nearly all is ASCII, and there is much of it.
    auto const isAscii = [](Character each) { return static_cast<std::make_unsigned_t<Character>>(each) < 0x80; };
    if (m_isAscii && std::all_of(text.begin(), text.end(), isAscii)) {
        auto const length = m_folded.size();
        for (std::size_t at = 0; at + length <= text.size(); ++at) {
            std::size_t same = 0;
            while (same < length && Folded(text[at + same]) == static_cast<Character>(m_folded[same])) {
                ++same;
            }
            if (same == length) {
                return true;
            }
        }
        return false;
    }
    if constexpr (std::is_same_v<Character, char>) {
        return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()))
            .contains(m_text, Qt::CaseInsensitive);
    } else {
        return QString::fromWCharArray(text.data(), static_cast<qsizetype>(text.size()))
            .contains(m_text, Qt::CaseInsensitive);
    }
}

} // namespace vordal
