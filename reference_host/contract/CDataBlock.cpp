// Decoded data blocks: items in order, shared until somebody writes.
#include <VordalDataBlocksR/CDataBlock.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <memory>
#include <new>
#include <utility>
#include <vector>

struct CDataBlock::Body
{
    struct Item
    {
        CDataItem info{};
        std::unique_ptr<unsigned char[]> bytes;

        void Reallocate(std::size_t size)
        {
            auto next = std::make_unique<unsigned char[]>(size);
            if (bytes != nullptr) {
                std::copy_n(bytes.get(), std::min<std::size_t>(size, info.size), next.get());
            }
            bytes = std::move(next);
            info.data = bytes.get();
        }
    };

    std::atomic<unsigned> references{1};
    std::vector<Item> items;
    unsigned short status = 0;
    double time = 0.0;

    Body() = default;
    Body(Body const& other) : status(other.status), time(other.time)
    {
        items.reserve(other.items.size());
        for (auto const& item : other.items) {
            auto& copy = items.emplace_back();
            copy.info = item.info;
            copy.info.data = nullptr;
            if (item.info.data != nullptr) {
                copy.bytes = std::make_unique<unsigned char[]>(item.info.size);
                std::copy_n(item.bytes.get(), item.info.size, copy.bytes.get());
                copy.info.data = copy.bytes.get();
            }
        }
    }
    Body& operator=(Body const&) = delete;
};

CDataBlock::CDataBlock() = default;

CDataBlock::CDataBlock(CDataBlock const& other) : m_body(other.m_body)
{
    if (m_body != nullptr) {
        m_body->references.fetch_add(1, std::memory_order_relaxed);
    }
}

CDataBlock::CDataBlock(CDataBlock&& other) noexcept : m_body(std::exchange(other.m_body, nullptr)) {}

CDataBlock& CDataBlock::operator=(CDataBlock const& other)
{
    CDataBlock copy(other);
    std::swap(m_body, copy.m_body);
    return *this;
}

CDataBlock& CDataBlock::operator=(CDataBlock&& other) noexcept
{
    std::swap(m_body, other.m_body);
    return *this;
}

CDataBlock::~CDataBlock()
{
    Release();
}

void CDataBlock::Release() noexcept
{
    if (m_body != nullptr && m_body->references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete m_body;
    }
    m_body = nullptr;
}

bool CDataBlock::LookUp(unsigned short item, ADDR_MODE mode, unsigned short& index) const
{
    if (m_body == nullptr || (mode != ADDR_FIRST_OF_ITEM && mode != ADDR_BY_ITEM)) {
        return false;
    }
    auto const found = std::find_if(m_body->items.begin(), m_body->items.end(),
                                    [item](Body::Item const& candidate) { return candidate.info.item == item; });
    if (found == m_body->items.end()) {
        return false;
    }
    index = static_cast<unsigned short>(found - m_body->items.begin());
    return true;
}

CDataItem const* CDataBlock::GetItem(unsigned short index) const
{
    return index < GetItemCount() ? &m_body->items[index].info : nullptr;
}

CDataItem* CDataBlock::GetItemForWrite(unsigned short index)
{
    if (index >= GetItemCount()) {
        return nullptr;
    }
    EnsureUnique();
    return &m_body->items[index].info;
}

unsigned short CDataBlock::GetItemCount() const
{
    return m_body != nullptr ? static_cast<unsigned short>(m_body->items.size()) : static_cast<unsigned short>(0);
}

void CDataBlock::EnsureUnique()
{
    if (m_body == nullptr) {
        m_body = new Body;
    } else if (m_body->references.load(std::memory_order_acquire) != 1) {
        auto* const own = new Body(*m_body);
        Release();
        m_body = own;
    }
}

void CDataBlock::SetStatus(unsigned short status)
{
    EnsureUnique();
    m_body->status = status;
}

unsigned short CDataBlock::GetStatus() const
{
    return m_body != nullptr ? m_body->status : static_cast<unsigned short>(0);
}

void CDataBlock::SetTime(double seconds)
{
    EnsureUnique();
    m_body->time = seconds;
}

double CDataBlock::GetTime() const
{
    return m_body != nullptr ? m_body->time : 0.0;
}

void CDataBlock::AddItem(unsigned short item, unsigned short type, std::span<unsigned char const> value,
                         unsigned int size, unsigned short status)
{
    AddItemWithoutData(item, type, size, status);
    if (size == 0) {
        return;
    }
    auto& added = m_body->items.back();
    auto const given = std::min<std::size_t>(value.size(), size);
    added.bytes = std::make_unique_for_overwrite<unsigned char[]>(size);
    std::copy_n(value.begin(), given, added.bytes.get());
    std::fill_n(added.bytes.get() + given, size - given, static_cast<unsigned char>(0));
    added.info.data = added.bytes.get();
}

void CDataBlock::AddItemWithoutData(unsigned short item, unsigned short type, unsigned int size, unsigned short status)
{
    EnsureUnique();
    // Positions are 16-bit numbers; what does not fit could never be found.
    if (m_body->items.size() == std::numeric_limits<unsigned short>::max()) {
        throw std::bad_alloc();
    }
    m_body->items.emplace_back().info = CDataItem{item, type, size, status, nullptr};
}

bool CDataBlock::ResizeDataItem(unsigned short index, unsigned int size)
{
    if (index >= GetItemCount()) {
        return false;
    }
    try {
        EnsureUnique();
        auto& item = m_body->items[index];
        if (item.info.data != nullptr) {
            item.Reallocate(size);
        }
        item.info.size = size;
    } catch (std::bad_alloc const&) {
        return false;
    }
    return true;
}
