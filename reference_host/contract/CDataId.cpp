// The bodies of the host's identifiers.
#include <VordalBaseR/CDataId.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>

namespace {

constexpr unsigned short Undefined = 65535;

}

CDataId::CDataId() : CDataId(Undefined, Undefined, Undefined, Undefined) {}

CDataId::CDataId(unsigned short type, unsigned short group, unsigned short device, unsigned short vessel)
    : m_fields{type, group, device, vessel}
{
    RebuildKey();
}

void CDataId::SetUndefined()
{
    *this = CDataId();
}

bool CDataId::IsUndefined() const
{
    return std::all_of(std::begin(m_fields), std::end(m_fields), [](auto field) { return field == Undefined; });
}

void CDataId::SetGroupId(unsigned short group)
{
    m_fields[1] = group;
    RebuildKey();
}

void CDataId::SetDeviceNum(unsigned short device)
{
    m_fields[2] = device;
    RebuildKey();
}

void CDataId::RebuildKey()
{
    // Digit by digit rather than by the formatting of wide texts, which asks the locale and takes ten times as long.
    std::array<char, sizeof "65535.65535.65535.65535"> digits;
    char* end = digits.data();
    for (auto const field : m_fields) {
        end = std::to_chars(end, digits.data() + digits.size(), field).ptr;
        *end++ = '.';
    }
    --end;
    m_key = CString(std::wstring(digits.data(), end));
}
