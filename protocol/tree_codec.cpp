// The bytes of trees.
#include "tree_codec.h"

#include "bytes.h"
#include "outside_sizes.h"
#include "utf8.h"

#include <algorithm>
#include <array>
#include <bit>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace qx5::protocol {

namespace {

constexpr std::uint32_t TreeVersion = 1;

/// The kind's number in that form; nothing where the form has none for it. `alternative`: the value's place in Value,
/// which is 0 for none and one more than the place of its kind.
std::optional<std::uint8_t> NumberOf(std::size_t alternative, TreeForm const& form)
{
    if (form.stored || alternative == 0) {
        return static_cast<std::uint8_t>(alternative);
    }
    auto const onLink = KindRows[alternative - 1].onLink;
    return onLink != 0 ? std::optional(onLink) : std::nullopt;
}

} // namespace

template <typename Unsigned>
void TreeWriter::PutLE(Unsigned value)
{
    std::array<unsigned char, sizeof value> bytes;
    detail::PutUnsignedLE(std::span<unsigned char>(bytes), 0, value);
    m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
}

void TreeWriter::Number(std::uint64_t value)
{
    if (!m_form.stored) {
        auto const narrow = SameNumber<std::uint32_t>(value);
        if (!narrow) {
            throw std::length_error("a text or list is too long");
        }
        PutLE(*narrow);
        return;
    }
    for (; value > 0x7FU; value >>= 7) {
        m_bytes.push_back(static_cast<unsigned char>(0x80U | (value & 0x7FU)));
    }
    m_bytes.push_back(static_cast<unsigned char>(value));
}

void TreeWriter::Text(std::wstring_view text)
{
    if (!m_form.stored) {
        auto const length = Utf8Length(text);
        Number(length);
        m_bytes.resize(m_bytes.size() + length);
        EncodeUtf8Into(text, std::span(m_bytes).last(length));
        return;
    }
    // Nearly every key, and a byte each.
    if (std::all_of(text.begin(), text.end(), [](wchar_t c) { return static_cast<std::uint32_t>(c) < 0x80U; })) {
        Number(text.size());
        m_bytes.insert(m_bytes.end(), text.begin(), text.end());
        return;
    }
    Number(CountCodePoints(text));
    for (std::size_t at = 0; at < text.size();) {
        Number(NextCodePoint(text, at));
    }
}

/// Puts what a value holds.
struct TreeWriter::ValueWriter
{
    TreeWriter& to;

    void operator()(std::monostate) const {}
    void operator()(std::int32_t number) const { to.PutLE(static_cast<std::uint32_t>(number)); }
    void operator()(std::uint32_t number) const { to.PutLE(number); }
    void operator()(std::int64_t number) const { to.PutLE(static_cast<std::uint64_t>(number)); }
    void operator()(bool flag) const { to.PutLE(static_cast<std::uint8_t>(flag ? 1 : 0)); }
    void operator()(double number) const { to.PutLE(std::bit_cast<std::uint64_t>(number)); }
    void operator()(std::pair<double, double> const& pair) const
    {
        (*this)(pair.first);
        (*this)(pair.second);
    }
    void operator()(DataReference const& reference) const
    {
        for (auto const part : reference) {
            to.PutLE(part);
        }
    }
    void operator()(std::wstring const& text) const { to.Text(text); }
    void operator()(std::array<double, 3> const& axes) const
    {
        for (auto const axis : axes) {
            (*this)(axis);
        }
    }
    template <typename Element>
    void operator()(std::vector<Element> const& list) const
    {
        to.Number(list.size());
        for (auto const element : list) {
            (*this)(element);
        }
    }
};

TreeWriter::TreeWriter(TreeForm const& form, std::wstring_view group, std::vector<unsigned char> room)
    : m_form(form), m_bytes(std::move(room))
{
    m_bytes.clear();
    if (form.stored) {
        PutLE(static_cast<std::uint8_t>(TreeVersion));
        Text(group);
    } else {
        PutLE(TreeVersion);
    }
}

void TreeWriter::OpenList(std::size_t count)
{
    if (count > 0 && m_depth == m_form.deepest) {
        throw std::length_error("the tree is deeper than " + std::to_string(m_form.deepest) + " levels");
    }
    if (count > m_form.mostNodes - m_nodes) {
        throw std::length_error("the tree has more than " + std::to_string(m_form.mostNodes) + " nodes");
    }
    m_nodes += count;
    ++m_depth;
    Number(count);
}

void TreeWriter::Node(std::wstring_view key, std::uint32_t flags, Value const& value)
{
    Text(key);
    if (m_form.stored) {
        Number(flags);
    }
    auto const number = NumberOf(value.index(), m_form);
    if (!number) {
        throw std::length_error("the link has no form for a value of kind " +
                                std::string(NameOf(KindRows[value.index() - 1].kind)));
    }
    PutLE(*number);
    std::visit(ValueWriter{*this}, value);
    if (m_bytes.size() > m_form.mostBytes) {
        throw std::length_error("the tree does not fit a frame");
    }
}

namespace {

/// Why the bytes are no tree.
struct Damaged : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

class TreeReader
{
public:
    TreeReader(std::span<unsigned char const> bytes, TreeForm const& form, TreeSink& sink)
        : m_bytes(bytes), m_form(form), m_sink(sink)
    {
    }

    std::size_t Read()
    {
        std::uint32_t const version = m_form.stored ? Get<std::uint8_t>() : Get<std::uint32_t>();
        if (version != TreeVersion) {
            Fail("an unknown version");
        }
        if (m_form.stored) {
            m_sink.Group(Text());
        }
        List(1);
        if (m_at != m_bytes.size()) {
            Fail("bytes after the tree");
        }
        return m_nodes;
    }

private:
    [[noreturn]] void Fail(char const* what) const
    {
        throw Damaged(std::string(what) + " at byte " + std::to_string(m_at));
    }

    template <typename Number>
    Number Get()
    {
        if (!Fits(m_bytes.size(), m_at, sizeof(Number))) {
            Fail("the bytes end early");
        }
        auto const at = std::exchange(m_at, m_at + sizeof(Number));
        if constexpr (std::is_same_v<Number, double>) {
            return GetF64LE(m_bytes, at);
        } else {
            return static_cast<Number>(detail::GetUnsignedLE<std::make_unsigned_t<Number>>(m_bytes, at));
        }
    }
    std::uint64_t Number()
    {
        if (!m_form.stored) {
            return Get<std::uint32_t>();
        }
        std::uint64_t value = 0;
        for (unsigned shift = 0; shift < 64; shift += 7) {
            auto const byte = Get<std::uint8_t>();
            if (shift == 63 && byte > 1) {
                break;
            }
            value |= static_cast<std::uint64_t>(byte & 0x7FU) << shift;
            if ((byte & 0x80U) == 0) {
                return value;
            }
        }
        Fail("a number beyond 64 bits");
    }
    std::uint32_t Number32()
    {
        auto const number = SameNumber<std::uint32_t>(Number());
        if (!number) {
            Fail("a number beyond 32 bits");
        }
        return *number;
    }
    /// A count of things of at least `width` bytes each: one that the bytes left cannot hold is refused before
    /// anything is allocated for it.
    std::size_t Count(std::size_t width)
    {
        auto const count = Number();
        if (!HoldCount(m_bytes.size() - m_at, count, width)) {
            Fail("a count that the bytes cannot hold");
        }
        return static_cast<std::size_t>(count);
    }
    std::wstring Text()
    {
        auto const count = Count(1);
        if (!m_form.stored) {
            return DecodeUtf8(m_bytes.subspan(std::exchange(m_at, m_at + count), count));
        }
        std::wstring text;
        text.reserve(count);
        for (std::size_t i = 0; i < count; ++i) {
            AppendCodePoint(text, Number32());
        }
        return text;
    }

    void List(std::size_t depth)
    {
        // An empty key, no flags, no value, no children.
        auto const count = Count(m_form.stored ? 4 : 4 + 1 + 4);
        if (count > 0 && depth > m_form.deepest) {
            Fail("the tree is too deep");
        }
        if (count > m_form.mostNodes - m_nodes) {
            Fail("the tree has too many nodes");
        }
        m_nodes += count;
        for (std::size_t i = 0; i < count; ++i) {
            auto key = Text();
            auto const flags = m_form.stored ? Number32() : 0;
            m_sink.Open(std::move(key), flags, ReadValue());
            List(depth + 1);
            m_sink.Close();
        }
    }

    Value ReadValue()
    {
        auto const number = Get<std::uint8_t>();
        return Alternative(number, std::make_index_sequence<std::variant_size_v<Value>>());
    }
    template <std::size_t... I>
    Value Alternative(std::uint8_t number, std::index_sequence<I...>)
    {
        Value value;
        if (!((NumberOf(I, m_form) == number &&
               (value.emplace<I>(Held<std::variant_alternative_t<I, Value>>()), true)) ||
              ...)) {
            Fail("an unknown kind of value");
        }
        return value;
    }
    /// What a value of that type holds.
    template <typename T>
    T Held()
    {
        T held{};
        if constexpr (std::is_same_v<T, bool>) {
            auto const flag = Get<std::uint8_t>();
            if (flag > 1) {
                Fail("a bool that is neither 0 nor 1");
            }
            held = flag == 1;
        } else if constexpr (std::is_arithmetic_v<T>) {
            held = Get<T>();
        } else if constexpr (std::is_same_v<T, std::wstring>) {
            held = Text();
        } else if constexpr (std::is_same_v<T, std::pair<double, double>>) {
            held.first = Get<double>();
            held.second = Get<double>();
        } else if constexpr (!std::is_same_v<T, std::monostate>) {
            if constexpr (requires { held.resize(0); }) {
                held.resize(Count(sizeof(typename T::value_type)));
            }
            for (auto& element : held) {
                element = Get<typename T::value_type>();
            }
        }
        return held;
    }

    std::span<unsigned char const> m_bytes;
    TreeForm const& m_form;
    TreeSink& m_sink;
    std::size_t m_at = 0;
    std::size_t m_nodes = 0;
};

void WriteList(TreeWriter& writer, std::span<TreeNode const> nodes)
{
    writer.OpenList(nodes.size());
    for (TreeNode const& node : nodes) {
        writer.Node(node.key, 0, node.value);
        WriteList(writer, node.children);
    }
    writer.CloseList();
}

/// Puts together a tree that stands for itself.
class NodeSink final : public TreeSink
{
public:
    void Open(std::wstring&& key, std::uint32_t, Value&& value) override
    {
        // Of the nodes on the way to this one none grows while it is open, so their places hold.
        auto& list = m_open.empty() ? m_root : m_open.back()->children;
        list.push_back({std::move(key), std::move(value), {}});
        m_open.push_back(&list.back());
    }
    void Close() override { m_open.pop_back(); }
    std::vector<TreeNode> Take() { return std::move(m_root); }

private:
    std::vector<TreeNode> m_root;
    std::vector<TreeNode*> m_open;
};

} // namespace

std::optional<std::size_t> ReadTree(std::span<unsigned char const> bytes, TreeForm const& form, TreeSink& sink,
                                    std::string& error)
{
    try {
        return TreeReader(bytes, form, sink).Read();
    } catch (Damaged const& damage) {
        error = damage.what();
        return std::nullopt;
    }
}

std::optional<std::vector<unsigned char>> EncodeTree(std::span<TreeNode const> nodes, std::string& error)
{
    try {
        TreeWriter writer(LinkTree);
        WriteList(writer, nodes);
        return writer.Take();
    } catch (std::length_error const& tooLarge) {
        error = tooLarge.what();
        return std::nullopt;
    }
}

std::optional<std::vector<TreeNode>> DecodeTree(std::span<unsigned char const> payload, std::string& error)
{
    NodeSink sink;
    return ReadTree(payload, LinkTree, sink, error) ? std::optional(sink.Take()) : std::nullopt;
}

} // namespace qx5::protocol
