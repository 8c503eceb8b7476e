// The values of a device's tree under some keys, and which of them are new.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::shell {

/// A value with its place; of a tree that the watch holds.
struct ValueRow
{
    std::string path;      ///< the keys in UTF-8 with / between them
    std::wstring_view key; ///< the last of them
    CVordalType const* value = nullptr;
};

/// Looks at one tree again and again. However often it changes, what waits is no more than each value once. One thread.
class ValueWatch
{
public:
    /// Paths, or the last key of one, wherever it stands; without any all values are meant.
    explicit ValueWatch(std::vector<std::string> keys) : m_keys(std::move(keys)) {}

    /// The tree as it is now: the values that it has not had before, or had otherwise, wait from now on. What waited
    /// must have been taken.
    void See(CAttributeMap const& tree);
    /// The next one that waits, valid until the next See; null for none.
    ValueRow const* Take();
    bool IsEmpty() const { return m_next == m_rows.size(); }
    /// The keys of which no tree has had a value so far.
    std::vector<std::string> Untold() const;

private:
    std::vector<std::string> m_keys;
    std::vector<bool> m_isTold; ///< of each key
    CAttributeMap m_tree;
    std::vector<ValueRow> m_rows; ///< of m_tree
    std::size_t m_next = 0;
};

} // namespace qx5::shell
