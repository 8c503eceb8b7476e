// The host's identifier of a device, a computation or a data stream.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

/// Four unsigned 16-bit fields and the text under which notifications for the id are keyed. A value: copies are
/// independent. Two ids are equal when their four fields are.
class VORDAL_API CDataId
{
public:
    /// The undefined id: all four fields 65535.
    CDataId();
    /// `group` is the second field, `device` the third, `vessel` the fourth.
    CDataId(unsigned short type, unsigned short group, unsigned short device, unsigned short vessel);

    /// Makes all four fields 65535.
    void SetUndefined();
    /// Whether all four fields are 65535.
    bool IsUndefined() const;
    /// Sets the second field.
    void SetGroupId(unsigned short group);
    /// Sets the third field.
    void SetDeviceNum(unsigned short device);

    /// The first field.
    unsigned short GetType() const { return m_fields[0]; }
    /// The second field.
    unsigned short GetGroupId() const { return m_fields[1]; }
    /// The third field.
    unsigned short GetDeviceNum() const { return m_fields[2]; }
    /// The number that the per-vessel look-ups of DataManager take.
    unsigned short GetVessel() const { return m_fields[3]; }

    /// The text under which notifications for this id are keyed, such as "1.78.1.1".
    CString const& GetKey() const { return m_key; }

    /// By the four fields.
    friend bool operator==(CDataId const& a, CDataId const& b)
    {
        return a.m_fields[0] == b.m_fields[0] && a.m_fields[1] == b.m_fields[1] && a.m_fields[2] == b.m_fields[2] &&
               a.m_fields[3] == b.m_fields[3];
    }

private:
    void RebuildKey();

    unsigned short m_fields[4];
    CString m_key;
};
