// The bodies of the host's identifiers.
#include <VordalBaseR/CDataId.h>

#include <string>

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
    return *this == CDataId();
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
    std::wstring key;
    for (auto const field : m_fields) {
        if (!key.empty()) {
            key += L'.';
        }
        key += std::to_wstring(field);
    }
    m_key = CString(std::move(key));
}
