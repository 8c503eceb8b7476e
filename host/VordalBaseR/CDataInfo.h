// The host's reference to one item of a data stream.
#pragma once

#include <VordalBaseR/CDataId.h>

/// A stream and two numbers within it (item and index; 65535 means the stream as a whole). A value.
class CDataInfo
{
public:
    CDataInfo() = default;
    /// An item of the stream; 65535 twice means all of it.
    CDataInfo(CDataId const& dataId, unsigned short item, unsigned short index)
        : m_dataId(dataId), m_item(item), m_index(index)
    {
    }

    /// The stream.
    CDataId const& GetDataId() const { return m_dataId; }
    /// The item's number; 65535 for all.
    unsigned short GetItem() const { return m_item; }
    /// The index among items of that number; 65535 for all.
    unsigned short GetIndex() const { return m_index; }

    /// Stream and both numbers are equal.
    friend bool operator==(CDataInfo const&, CDataInfo const&) = default;

private:
    CDataId m_dataId;
    unsigned short m_item = 65535;
    unsigned short m_index = 65535;
};
