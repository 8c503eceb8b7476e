// The buffer of one stream: its last block and its status.
#include "reference_host/streams/stream_buffer.h"

#include "reference_host/bus/notification_bus.h"
#include "reference_host/common/current_host.h"
#include "reference_host/common/host_observer.h"
#include "reference_host/common/host_thread.h"

BaseDataSource::~BaseDataSource() = default;

namespace vordal {

bool StreamBuffer::ReadBlock(CDataBlock& block, int accessCode)
{
    return accessCode == DATA_ACCESS_LATEST && ReadCurrentBlock(block);
}

bool StreamBuffer::ReadCurrentBlock(CDataBlock& block)
{
    CDataBlock latest;
    {
        std::lock_guard const lock(m_mutex);
        if (!m_hasBlock) {
            return false;
        }
        latest = m_block;
    }
    block = std::move(latest);
    return true;
}

void StreamBuffer::StoreBlock(CDataBlock const& block)
{
    if (auto* observer = CurrentObserver()) {
        observer->OnStoreBlock(GetDataId(), block);
    }
    // Both of a pair go by way of the host thread, so that each announcement finds its own block.
    if (auto* const thread = ThreadToTellOn()) {
        thread->Post([this, block] { Put(block); });
    } else {
        Put(block);
    }
}

void StreamBuffer::Put(CDataBlock const& block)
{
    CDataBlock copy(block);
    std::lock_guard const lock(m_mutex);
    std::swap(m_block, copy);
    m_hasBlock = true;
}

void StreamBuffer::AnnounceBlock()
{
    if (auto* observer = CurrentObserver()) {
        observer->OnAnnounceBlock(GetDataId());
    }
    if (auto* const thread = ThreadToTellOn()) {
        thread->Post([this] { Announce(); });
    } else {
        Announce();
    }
}

void StreamBuffer::Announce()
{
    {
        std::lock_guard const lock(m_mutex);
        m_announceWhenWell = false;
    }
    if (auto const bus = StreamBus(); bus != nullptr && !bus->IsEmpty()) {
        bus->Notify(m_key, &m_info);
    }
}

void StreamBuffer::AnnounceWhenWell()
{
    std::lock_guard const lock(m_mutex);
    m_announceWhenWell = true;
}

void StreamBuffer::Reset()
{
    if (auto* observer = CurrentObserver()) {
        observer->OnResetBuffer(GetDataId(), GetDataId());
    }
    Empty();
}

void StreamBuffer::Empty()
{
    CDataBlock empty;
    std::lock_guard const lock(m_mutex);
    std::swap(m_block, empty);
    m_hasBlock = false;
}

bool StreamBuffer::GetLastTime(double& seconds)
{
    std::lock_guard const lock(m_mutex);
    if (!m_hasBlock) {
        return false;
    }
    seconds = m_block.GetTime();
    return true;
}

bool StreamBuffer::GetStatus(unsigned short& state, unsigned short& status)
{
    std::lock_guard const lock(m_mutex);
    state = m_hasBlock ? 1 : 0;
    status = m_status;
    return true;
}

void StreamBuffer::SetStatus(unsigned short status)
{
    {
        std::lock_guard const lock(m_mutex);
        m_status = status;
        if (status != 0 || !m_announceWhenWell) {
            return;
        }
    }
    Announce();
}

} // namespace vordal
