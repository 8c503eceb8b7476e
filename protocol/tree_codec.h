// Trees of named values as bytes, on the link and in a project.
#pragma once

#include <protocol/value.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::protocol {

/// What trees of one use look like as bytes. Both begin with their version, which is 1; then follow what the tree
/// belongs to, where that is told, and the list of the root's children.
///
/// | part      | on the link                                   | stored                                              |
/// |-----------|-----------------------------------------------|-----------------------------------------------------|
/// | version   | u32                                           | u8                                                  |
/// | number    | u32                                           | 7 bits a byte, lowest first, the high bit set on all |
/// |           |                                               | but the last                                        |
/// | text      | number of bytes, UTF-8                        | number of characters, the number of each            |
/// | group     | not told                                      | text                                                |
/// | list      | number of nodes, the nodes                    | the same                                            |
/// | node      | text key, u8 kind, value, list of children    | text key, number flags, u8 kind, value, list        |
/// | kind      | KindRow::onLink; 0 none                       | 1 and the place among the kinds; 0 none             |
///
/// Values are the same in both, little-endian: i32, u32, i64, u8 0 or 1, f64, two f64, six u16, text, number of i32
/// and these, number of f64 and these, three f64.
struct TreeForm
{
    bool stored = false;
    std::size_t deepest = 0;   ///< levels below the root
    std::size_t mostNodes = 0; ///< in all
    std::size_t mostBytes = 0; ///< of an encoded tree
};

/// With its frame an encoded tree stays within the 16 MiB that a host takes from a sonar.
inline constexpr TreeForm LinkTree{
    .stored = false, .deepest = 200, .mostNodes = 100000, .mostBytes = std::size_t{16} * 1024 * 1024 - 4096};
inline constexpr TreeForm StoredTree{.stored = true,
                                     .deepest = 1000,
                                     .mostNodes = std::numeric_limits<std::size_t>::max(),
                                     .mostBytes = std::numeric_limits<std::size_t>::max()};

/// Writes one tree as its owner walks through it: OpenList for the root, then for each child Node, and after it again
/// OpenList, its children, CloseList. Any of these throws std::length_error, and says why, when the tree goes beyond
/// its form's limits or cannot be told in it.
class TreeWriter
{
public:
    /// `group` is told only where the form has a place for it. The memory of `room` is used, its content lost.
    explicit TreeWriter(TreeForm const& form, std::wstring_view group = {}, std::vector<unsigned char> room = {});

    void OpenList(std::size_t count);
    void Node(std::wstring_view key, std::uint32_t flags, Value const& value);
    void CloseList() { --m_depth; }
    std::vector<unsigned char> Take() { return std::move(m_bytes); }

private:
    struct ValueWriter;

    template <typename Unsigned>
    void PutLE(Unsigned value);
    void Number(std::uint64_t value);
    void Text(std::wstring_view text);

    TreeForm const& m_form;
    std::vector<unsigned char> m_bytes;
    std::size_t m_depth = 0;
    std::size_t m_nodes = 0;
};

/// Takes a tree as it is read, the root's children first to last, each with all below it before the next.
class TreeSink
{
public:
    virtual void Group(std::wstring&&) {}
    virtual void Open(std::wstring&& key, std::uint32_t flags, Value&& value) = 0;
    /// The node opened last has no more children.
    virtual void Close() = 0;

protected:
    ~TreeSink() = default;
};

/// Takes any bytes. The number of nodes; nothing, and why and where in `error`, when they are not exactly one tree
/// within the limits, and the sink may have been given a part of it then. Memory stays in proportion to the bytes
/// given.
std::optional<std::size_t> ReadTree(std::span<unsigned char const> bytes, TreeForm const& form, TreeSink& sink,
                                    std::string& error);

/// A tree that stands for itself, outside of any host.
struct TreeNode
{
    std::wstring key;
    Value value;
    std::vector<TreeNode> children;

    friend bool operator==(TreeNode const&, TreeNode const&) = default;
};

/// As it goes over the link. Nothing, and why in `error`, when the tree is beyond the limits.
std::optional<std::vector<unsigned char>> EncodeTree(std::span<TreeNode const> nodes, std::string& error);
/// Of the link; nothing, and why and where in `error`, as ReadTree says.
std::optional<std::vector<TreeNode>> DecodeTree(std::span<unsigned char const> payload, std::string& error);

} // namespace qx5::protocol
