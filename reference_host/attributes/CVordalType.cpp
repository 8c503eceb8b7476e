// The kinds of values, their texts for people, and the factory.
#include <VordalAttributesR/CVordalType.h>

#include <protocol/utf8.h>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstddef>
#include <string_view>
#include <tuple>

constinit CVordalType CVordalType::s_empty;

namespace {

using Axes = std::array<double, 3>;

Axes AxesOf(CCompOffset const& offset)
{
    Axes axes{};
    offset.GetOffset(axes[0], axes[1], axes[2]);
    return axes;
}

// What a kind of value is read, compared and told by.

template <typename Value>
bool Read(CVordalType const& from, Value& value)
{
    return from.Get(value);
}
bool Read(CVordalType const& from, std::pair<double, double>& value)
{
    return from.Get(value.first, value.second);
}

template <typename Value>
bool Same(Value const& a, Value const& b)
{
    return a == b;
}
bool Same(double a, double b)
{
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}
bool Same(std::pair<double, double> const& a, std::pair<double, double> const& b)
{
    return Same(a.first, b.first) && Same(a.second, b.second);
}
/// Lists of doubles.
template <typename List>
bool SameEach(List const& a, List const& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](double one, double other) { return Same(one, other); });
}
bool Same(std::vector<double> const& a, std::vector<double> const& b)
{
    return SameEach(a, b);
}
bool Same(CCompOffset const& a, CCompOffset const& b)
{
    return SameEach(AxesOf(a), AxesOf(b));
}

template <typename Number>
std::string Text(Number value)
{
    char text[32];
    auto const end = std::to_chars(text, text + sizeof text, value);
    return std::string(text, end.ptr);
}
std::string Text(bool value)
{
    return value ? "true" : "false";
}
template <typename List>
std::string Joined(List const& values)
{
    std::string text;
    for (auto const value : values) {
        text += text.empty() ? "" : ", ";
        text += Text(value);
    }
    return text;
}
std::string Text(std::pair<double, double> const& value)
{
    return Joined(std::array{value.first, value.second});
}
template <typename Number>
std::string Text(std::vector<Number> const& values)
{
    return '[' + Joined(values) + ']';
}
std::string Text(CCompOffset const& value)
{
    return '(' + Joined(AxesOf(value)) + ')';
}
std::string Text(CDataInfo const& value)
{
    auto const& id = value.GetDataId();
    auto const field = [](unsigned short number) { return Text(static_cast<unsigned int>(number)); };
    auto text = field(id.GetType()) + '.' + field(id.GetGroupId()) + '.' + field(id.GetDeviceNum()) + '.' +
                field(id.GetVessel());
    if (value.GetItem() != 65535 || value.GetIndex() != 65535) {
        text += " item " + field(value.GetItem()) + " index " + field(value.GetIndex());
    }
    return text;
}
std::string Text(CString const& value)
{
    auto const text = value.View();
    std::string quoted = "\"";
    for (std::size_t at = 0; at < text.size();) {
        auto const codePoint = qx5::protocol::NextCodePoint(text, at);
        if (codePoint == U'"' || codePoint == U'\\') {
            quoted += '\\';
            quoted += static_cast<char>(codePoint);
        } else if (codePoint == U'\n') {
            quoted += "\\n";
        } else if (codePoint == U'\t') {
            quoted += "\\t";
        } else if (codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0)) {
            // Those from U+0080 on are commands to a terminal as well.
            constexpr char Digits[] = "0123456789abcdef";
            quoted += "\\u00";
            quoted += Digits[codePoint >> 4];
            quoted += Digits[codePoint & 0xF];
        } else {
            qx5::protocol::AppendUtf8(quoted, codePoint);
        }
    }
    return quoted += '"';
}

} // namespace

CVordalType* CVordalType::Clone() const
{
    return new CVordalType;
}
VordalKind CVordalType::Kind() const
{
    return VordalKind::None;
}
bool CVordalType::IsSame(CVordalType const& other) const
{
    return other.Kind() == VordalKind::None;
}
std::string CVordalType::ToText() const
{
    return "none";
}

template <typename Class, VordalKind ItsKind>
CVordalType* CVordalKindOf<Class, ItsKind>::Clone() const
{
    return new Class(static_cast<Class const&>(*this));
}
template <typename Class, VordalKind ItsKind>
VordalKind CVordalKindOf<Class, ItsKind>::Kind() const
{
    return ItsKind;
}
template <typename Class, VordalKind ItsKind>
bool CVordalKindOf<Class, ItsKind>::IsSame(CVordalType const& other) const
{
    decltype(Class::m_value) theirs{};
    return Read(other, theirs) && Same(theirs, static_cast<Class const&>(*this).m_value);
}
template <typename Class, VordalKind ItsKind>
std::string CVordalKindOf<Class, ItsKind>::ToText() const
{
    return Text(static_cast<Class const&>(*this).m_value);
}
int CVordalInt::GetInt(int& value) const
{
    value = m_value;
    return 1;
}
int CVordalUInt::GetUInt(unsigned int& value) const
{
    value = m_value;
    return 1;
}
int CVordalInt64::GetInt64(std::int64_t& value) const
{
    value = m_value;
    return 1;
}
int CVordalBool::GetBool(bool& value) const
{
    value = m_value;
    return 1;
}
int CVordalDouble::GetDouble(double& value) const
{
    value = m_value;
    return 1;
}
int CVordalDouble2D::GetPair(double& first, double& second) const
{
    std::tie(first, second) = m_value;
    return 1;
}
int CVordalDataInfo::GetDataInfo(CDataInfo& value) const
{
    value = m_value;
    return 1;
}
CVordalDataInfo::CVordalDataInfo(CDataId const& id, unsigned short first, unsigned short second)
    : m_value(id, first, second)
{
}
int CVordalText::GetString(CString& value) const
{
    value = m_value;
    return 1;
}
int CVordalIntList::GetIntList(std::vector<int>& value) const
{
    value = m_value;
    return 1;
}
int CVordalDoubleList::GetDoubleList(std::vector<double>& value) const
{
    value = m_value;
    return 1;
}
int CVordalOffset::GetOffset(CCompOffset& value) const
{
    value = m_value;
    return 1;
}

CVordalType* VordalTypeCreator::MakeValue(int value)
{
    return new CVordalInt(value);
}
CVordalType* VordalTypeCreator::MakeValue(unsigned int value)
{
    return new CVordalUInt(value);
}
CVordalType* VordalTypeCreator::MakeValue(std::int64_t value)
{
    return new CVordalInt64(value);
}
CVordalType* VordalTypeCreator::MakeValue(bool value)
{
    return new CVordalBool(value);
}
CVordalType* VordalTypeCreator::MakeValue(double value)
{
    return new CVordalDouble(value);
}
CVordalType* VordalTypeCreator::MakeValue(std::pair<double, double> const& value)
{
    return new CVordalDouble2D(value.first, value.second);
}
CVordalType* VordalTypeCreator::MakeValue(std::vector<int> const& value)
{
    return new CVordalIntList(value);
}
CVordalType* VordalTypeCreator::MakeValue(std::vector<double> const& value)
{
    return new CVordalDoubleList(value);
}
CVordalType* VordalTypeCreator::MakeValue(CString const& value)
{
    return new CVordalText(value);
}
CVordalType* VordalTypeCreator::MakeValue(CCompOffset const& value)
{
    return new CVordalOffset(value);
}
CVordalType* VordalTypeCreator::MakeValue(CDataInfo const& value)
{
    return new CVordalDataInfo(value);
}
CVordalType* VordalTypeCreator::MakeValue(char const* value)
{
    return new CVordalText(CString(value != nullptr ? qx5::protocol::DecodeUtf8(value) : std::wstring()));
}
CVordalType* VordalTypeCreator::MakeValue(wchar_t const* value)
{
    return new CVordalText(CString(value));
}
