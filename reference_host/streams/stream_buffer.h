// The buffer of one stream: its last block and its status.
#pragma once

#include <VordalAttributesR/AttributeKey.h>
#include <VordalDataBlocksR/BaseDataSource.h>
#include <VordalSubscriberR/NotificationInfo.h>

#include <mutex>

namespace vordal {

class StreamBuffer final : public BaseDataSource
{
public:
    explicit StreamBuffer(CDataId const& dataId) : m_info(dataId), m_key(m_info.GetDataId().GetKey()) {}
    StreamBuffer(StreamBuffer const&) = delete;
    StreamBuffer& operator=(StreamBuffer const&) = delete;

    bool ReadBlock(CDataBlock& block, int accessCode) override;
    bool ReadCurrentBlock(CDataBlock& block) override;
    void StoreBlock(CDataBlock const& block) override;
    void AnnounceBlock() override;
    void Reset() override;
    bool GetLastTime(double& seconds) override;
    bool GetStatus(unsigned short& state, unsigned short& status) override;
    CDataId const& GetDataId() const override { return m_info.GetDataId(); }

    // These are not told to an observer.
    /// As StoreBlock and AnnounceBlock on the host thread.
    void Put(CDataBlock const& block);
    void Announce();
    /// The next time that the status becomes 0, unless it was announced by then.
    void AnnounceWhenWell();
    /// As Reset.
    void Empty();
    /// Announces what was to be announced then. Host thread.
    void SetStatus(unsigned short status);

private:
    /// Ready for the next announcement, which is on a ping's way.
    DataId_NI const m_info;
    AttributeKey const m_key; ///< a view into `m_info`
    std::mutex m_mutex;
    CDataBlock m_block;
    bool m_hasBlock = false;
    unsigned short m_status = 0;
    bool m_announceWhenWell = false;
};

} // namespace vordal
