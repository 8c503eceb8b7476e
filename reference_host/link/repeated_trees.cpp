// Trees that the sonars on one connection tell again and again, decoded once.
#include "repeated_trees.h"

#include "reference_host/attributes/tree_account.h"
#include "reference_host/attributes/tree_bytes.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <utility>

namespace vordal {

namespace protocol = qx5::protocol;

namespace {

std::uint64_t NextNumber()
{
    static std::atomic<std::uint64_t> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

} // namespace

std::optional<RepeatedTrees::Decoded> RepeatedTrees::Decode(protocol::Target from, std::span<unsigned char const> bytes,
                                                            std::string& error)
{
    auto const found = std::find_if(m_remembered.begin(), m_remembered.end(), [&](Remembered const& each) {
        return each.from == from && each.bytes.size() == bytes.size();
    });
    if (found != m_remembered.end()) {
        if (std::equal(bytes.begin(), bytes.end(), found->bytes.begin())) {
            std::rotate(found, found + 1, m_remembered.end());
            return m_remembered.back().decoded;
        }
        m_size -= found->decoded.size;
        m_remembered.erase(found);
    }
    Decoded decoded;
    auto const keys = DecodeTree(bytes, protocol::LinkTree, decoded.tree, error);
    if (!keys) {
        return std::nullopt;
    }
    // A character takes more memory here than on the wire, and a key more than its name.
    decoded.number = NextNumber();
    decoded.size = bytes.size() * sizeof(wchar_t) + *keys * BytesOfAnyKey;
    Remember(from, bytes, decoded);
    return decoded;
}

void RepeatedTrees::Remember(protocol::Target from, std::span<unsigned char const> bytes, Decoded const& decoded)
{
    if (decoded.size > GreatestSize) {
        return;
    }
    while (m_remembered.size() == GreatestCount || m_size + decoded.size > GreatestSize) {
        m_size -= m_remembered.front().decoded.size;
        m_remembered.erase(m_remembered.begin());
    }
    try {
        m_remembered.push_back({from, {bytes.begin(), bytes.end()}, decoded});
        m_size += decoded.size;
    } catch (std::bad_alloc const&) { // it is decoded again
    }
}

} // namespace vordal
