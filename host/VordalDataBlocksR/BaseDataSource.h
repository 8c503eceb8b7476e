// The buffer of a stream of data blocks.
#pragma once

#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/Export.h>
#include <VordalDataBlocksR/CDataBlock.h>

/// How ReadBlock picks a block.
enum DataAccessCode : int
{
    DATA_ACCESS_LATEST = 3, ///< the newest
};

/// The buffer of one stream. Owned by the host, there until the host goes. Any thread; each operation is atomic. What
/// another thread than the host's stores and announces takes effect on the host thread, in that order, so that each
/// announcement finds its own block in the buffer; the calls do not wait for it.
class VORDAL_API BaseDataSource
{
public:
    virtual ~BaseDataSource();

    /// Copies a block out (a DataAccessCode says which); false when there is none, `block` is then untouched.
    virtual bool ReadBlock(CDataBlock& block, int accessCode) = 0;
    /// Copies the block that writers build upon; false when there is none.
    virtual bool ReadCurrentBlock(CDataBlock& block) = 0;
    /// Puts the block at the end; it shares the block's data. Nobody is told before AnnounceBlock.
    virtual void StoreBlock(CDataBlock const& block) = 0;
    /// Tells the stream's subscribers, as Subscriber says, that a block was stored.
    virtual void AnnounceBlock() = 0;
    /// Empties the buffer; its last time becomes 0.0.
    virtual void Reset() = 0;
    /// Time of the last block; false and untouched when the buffer has none.
    virtual bool GetLastTime(double& seconds) = 0;
    /// The buffer's state and its 16-bit status (0: the stream is well). False when there is no status to give.
    virtual bool GetStatus(unsigned short& state, unsigned short& status) = 0;
    /// The stream's id.
    virtual CDataId const& GetDataId() const = 0;
};
