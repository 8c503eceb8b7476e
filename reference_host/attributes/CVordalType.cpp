// The kinds of values, their texts for people, and the factory.
#include <VordalAttributesR/CVordalType.h>

#include <protocol/utf8.h>

#include <bit>
#include <charconv>
#include <cstddef>
#include <string_view>

constinit CVordalType CVordalType::s_empty;

namespace {

bool SameBits(double a, double b)
{
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

template <typename Number>
std::string NumberText(Number value)
{
    char text[32];
    auto const end = std::to_chars(text, text + sizeof text, value);
    return std::string(text, end.ptr);
}

template <typename Number>
std::string ListText(std::vector<Number> const& values)
{
    std::string text = "[";
    for (auto const value : values) {
        if (text.size() > 1) {
            text += ", ";
        }
        text += NumberText(value);
    }
    return text += ']';
}

std::string QuotedText(std::wstring_view text)
{
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

int CVordalType::GetInt(int&) const
{
    return 0;
}
int CVordalType::GetUInt(unsigned int&) const
{
    return 0;
}
int CVordalType::GetInt64(std::int64_t&) const
{
    return 0;
}
int CVordalType::GetBool(bool&) const
{
    return 0;
}
int CVordalType::GetDouble(double&) const
{
    return 0;
}
int CVordalType::GetPair(double&, double&) const
{
    return 0;
}
int CVordalType::GetDataInfo(CDataInfo&) const
{
    return 0;
}
int CVordalType::GetString(CString&) const
{
    return 0;
}
int CVordalType::GetIntList(std::vector<int>&) const
{
    return 0;
}
int CVordalType::GetDoubleList(std::vector<double>&) const
{
    return 0;
}
int CVordalType::GetOffset(CCompOffset&) const
{
    return 0;
}
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

int CVordalInt::GetInt(int& value) const
{
    value = m_value;
    return 1;
}
CVordalType* CVordalInt::Clone() const
{
    return new CVordalInt(*this);
}
VordalKind CVordalInt::Kind() const
{
    return VordalKind::Int;
}
bool CVordalInt::IsSame(CVordalType const& other) const
{
    int value = 0;
    return other.Get(value) && value == m_value;
}
std::string CVordalInt::ToText() const
{
    return NumberText(m_value);
}

int CVordalUInt::GetUInt(unsigned int& value) const
{
    value = m_value;
    return 1;
}
CVordalType* CVordalUInt::Clone() const
{
    return new CVordalUInt(*this);
}
VordalKind CVordalUInt::Kind() const
{
    return VordalKind::UInt;
}
bool CVordalUInt::IsSame(CVordalType const& other) const
{
    unsigned int value = 0;
    return other.Get(value) && value == m_value;
}
std::string CVordalUInt::ToText() const
{
    return NumberText(m_value);
}

int CVordalInt64::GetInt64(std::int64_t& value) const
{
    value = m_value;
    return 1;
}
CVordalType* CVordalInt64::Clone() const
{
    return new CVordalInt64(*this);
}
VordalKind CVordalInt64::Kind() const
{
    return VordalKind::Int64;
}
bool CVordalInt64::IsSame(CVordalType const& other) const
{
    std::int64_t value = 0;
    return other.Get(value) && value == m_value;
}
std::string CVordalInt64::ToText() const
{
    return NumberText(m_value);
}

int CVordalBool::GetBool(bool& value) const
{
    value = m_value;
    return 1;
}
CVordalType* CVordalBool::Clone() const
{
    return new CVordalBool(*this);
}
VordalKind CVordalBool::Kind() const
{
    return VordalKind::Bool;
}
bool CVordalBool::IsSame(CVordalType const& other) const
{
    bool value = false;
    return other.Get(value) && value == m_value;
}
std::string CVordalBool::ToText() const
{
    return m_value ? "true" : "false";
}

int CVordalDouble::GetDouble(double& value) const
{
    value = m_value;
    return 1;
}
CVordalType* CVordalDouble::Clone() const
{
    return new CVordalDouble(*this);
}
VordalKind CVordalDouble::Kind() const
{
    return VordalKind::Double;
}
bool CVordalDouble::IsSame(CVordalType const& other) const
{
    double value = 0.0;
    return other.Get(value) && SameBits(value, m_value);
}
std::string CVordalDouble::ToText() const
{
    return NumberText(m_value);
}

int CVordalDouble2D::GetPair(double& first, double& second) const
{
    first = m_first;
    second = m_second;
    return 1;
}
CVordalType* CVordalDouble2D::Clone() const
{
    return new CVordalDouble2D(*this);
}
VordalKind CVordalDouble2D::Kind() const
{
    return VordalKind::Pair;
}
bool CVordalDouble2D::IsSame(CVordalType const& other) const
{
    double first = 0.0;
    double second = 0.0;
    return other.Get(first, second) && SameBits(first, m_first) && SameBits(second, m_second);
}
std::string CVordalDouble2D::ToText() const
{
    return NumberText(m_first) + ", " + NumberText(m_second);
}

CVordalDataInfo::CVordalDataInfo(CDataId const& id, unsigned short first, unsigned short second)
    : m_value(id, first, second)
{
}
CVordalDataInfo::CVordalDataInfo(CDataInfo const& value) : m_value(value) {}
int CVordalDataInfo::GetDataInfo(CDataInfo& value) const
{
    value = m_value;
    return 1;
}
CVordalType* CVordalDataInfo::Clone() const
{
    return new CVordalDataInfo(*this);
}
VordalKind CVordalDataInfo::Kind() const
{
    return VordalKind::DataInfo;
}
bool CVordalDataInfo::IsSame(CVordalType const& other) const
{
    CDataInfo value;
    return other.Get(value) && value == m_value;
}
std::string CVordalDataInfo::ToText() const
{
    auto const& id = m_value.GetDataId();
    auto const field = [](unsigned short value) { return NumberText(static_cast<unsigned int>(value)); };
    auto text = field(id.GetType()) + '.' + field(id.GetGroupId()) + '.' + field(id.GetDeviceNum()) + '.' +
                field(id.GetVessel());
    if (m_value.GetItem() != 65535 || m_value.GetIndex() != 65535) {
        text += " item " + field(m_value.GetItem()) + " index " + field(m_value.GetIndex());
    }
    return text;
}

int CVordalText::GetString(CString& value) const
{
    value = m_value;
    return 1;
}
CVordalType* CVordalText::Clone() const
{
    return new CVordalText(*this);
}
VordalKind CVordalText::Kind() const
{
    return VordalKind::String;
}
bool CVordalText::IsSame(CVordalType const& other) const
{
    CString value;
    return other.Get(value) && value == m_value;
}
std::string CVordalText::ToText() const
{
    return QuotedText(m_value.View());
}

int CVordalIntList::GetIntList(std::vector<int>& value) const
{
    value = m_value;
    return 1;
}
CVordalType* CVordalIntList::Clone() const
{
    return new CVordalIntList(*this);
}
VordalKind CVordalIntList::Kind() const
{
    return VordalKind::IntList;
}
bool CVordalIntList::IsSame(CVordalType const& other) const
{
    std::vector<int> value;
    return other.Get(value) && value == m_value;
}
std::string CVordalIntList::ToText() const
{
    return ListText(m_value);
}

int CVordalDoubleList::GetDoubleList(std::vector<double>& value) const
{
    value = m_value;
    return 1;
}
CVordalType* CVordalDoubleList::Clone() const
{
    return new CVordalDoubleList(*this);
}
VordalKind CVordalDoubleList::Kind() const
{
    return VordalKind::DoubleList;
}
bool CVordalDoubleList::IsSame(CVordalType const& other) const
{
    std::vector<double> value;
    if (!other.Get(value) || value.size() != m_value.size()) {
        return false;
    }
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (!SameBits(value[i], m_value[i])) {
            return false;
        }
    }
    return true;
}
std::string CVordalDoubleList::ToText() const
{
    return ListText(m_value);
}

int CVordalOffset::GetOffset(CCompOffset& value) const
{
    value = m_value;
    return 1;
}
CVordalType* CVordalOffset::Clone() const
{
    return new CVordalOffset(*this);
}
VordalKind CVordalOffset::Kind() const
{
    return VordalKind::Offset;
}
bool CVordalOffset::IsSame(CVordalType const& other) const
{
    CCompOffset value;
    if (!other.Get(value)) {
        return false;
    }
    double own[3];
    double theirs[3];
    m_value.GetOffset(own[0], own[1], own[2]);
    value.GetOffset(theirs[0], theirs[1], theirs[2]);
    return SameBits(own[0], theirs[0]) && SameBits(own[1], theirs[1]) && SameBits(own[2], theirs[2]);
}
std::string CVordalOffset::ToText() const
{
    double axes[3];
    m_value.GetOffset(axes[0], axes[1], axes[2]);
    return '(' + NumberText(axes[0]) + ", " + NumberText(axes[1]) + ", " + NumberText(axes[2]) + ')';
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
