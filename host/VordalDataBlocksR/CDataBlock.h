// A decoded data block of the host: items by number.
#pragma once

#include <VordalBaseR/Export.h>

#include <span>

/// How LookUp finds an item: plug-ins use both modes with an item number, and both mean the block's first item of that
/// number.
enum ADDR_MODE : int
{
    ADDR_FIRST_OF_ITEM = 1, ///< the first item of that number
    ADDR_BY_ITEM = 2,       ///< the same here
};

/// Type tags of block items.
enum DataItemType : unsigned short
{
    DATA_INT32 = 101,  ///< signed, 32 bits
    DATA_DOUBLE = 103, ///< 64 bits, IEEE 754
    DATA_BYTE = 106,   ///< bytes
    DATA_FLOAT = 109,  ///< 32 bits, IEEE 754
    DATA_UINT16 = 111, ///< unsigned, 16 bits
};

/// One item of a block. `data` points to `size` bytes inside the block, little-endian, or is null; it is valid until
/// the block is changed, assigned or destroyed.
struct CDataItem
{
    /// The item's number; several items may have one.
    unsigned short item;
    unsigned short type;   ///< a DataItemType
    unsigned int size;     ///< bytes
    unsigned short status; ///< 0 is good
    /// See above.
    void* data;
};

/// A block is shared by reference: a copy costs a pointer, and EnsureUnique detaches it before a write. Reading
/// copies of one block from several threads is safe, writing needs EnsureUnique first.
class VORDAL_API CDataBlock
{
public:
    CDataBlock();
    CDataBlock(CDataBlock const&);
    CDataBlock(CDataBlock&&) noexcept;
    CDataBlock& operator=(CDataBlock const&);
    CDataBlock& operator=(CDataBlock&&) noexcept;
    ~CDataBlock();

    /// Finds `item` and gives its position; false when the block has none or the mode is another, `index` is then
    /// untouched.
    bool LookUp(unsigned short item, ADDR_MODE mode, unsigned short& index) const;
    /// The item at a position that LookUp gave; null beyond the end.
    CDataItem const* GetItem(unsigned short index) const;
    /// The same for writing; detaches the block first.
    CDataItem* GetItemForWrite(unsigned short index);
    /// How many items there are, of whatever number.
    unsigned short GetItemCount() const;

    /// Makes this block the only owner of its data.
    void EnsureUnique();
    /// Sets the status word of the block as a whole; detaches it first.
    void SetStatus(unsigned short status);
    /// The status word of the block as a whole; its low six bits mark a bad block.
    unsigned short GetStatus() const;
    /// Sets the time of the data in seconds (see CExTime); detaches the block first.
    void SetTime(double seconds);
    /// That time; 0.0 when none was set.
    double GetTime() const;

    /// Appends an item with a copy of `value` (null pointer and `size` bytes of nothing where the span is empty and
    /// `size` is 0). Bytes missing from `value` are 0. Detaches first.
    void AddItem(unsigned short item, unsigned short type, std::span<unsigned char const> value, unsigned int size,
                 unsigned short status);
    /// Gives an item another size: it keeps its first bytes, new ones are 0, and an item without data stays without.
    /// False when there is no such item or no memory. Detaches first.
    bool SetItemSize(unsigned short index, unsigned int size) { return ResizeDataItem(index, size); }
    /// Appends an item without data. Detaches first.
    void AddItemWithoutData(unsigned short item, unsigned short type, unsigned int size, unsigned short status);

private:
    bool ResizeDataItem(unsigned short index, unsigned int size);

    struct Body;
    void Release() noexcept;
    /// Null: an empty block.
    Body* m_body = nullptr;
};
