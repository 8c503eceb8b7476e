// The form in which attribute trees lie in a project: bytes with a version of their own, the same on every platform.
#include "tree_blob.h"

#include "reference_host/attributes/tree_merge.h"

#include <protocol/outside_sizes.h>
#include <protocol/utf8.h>

#include <bit>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace vordal {
namespace {

// The numbers lie in files: they must not change with the enumeration.
static_assert(static_cast<int>(VordalKind::None) == 0 && static_cast<int>(VordalKind::Int) == 1 &&
              static_cast<int>(VordalKind::UInt) == 2 && static_cast<int>(VordalKind::Int64) == 3 &&
              static_cast<int>(VordalKind::Bool) == 4 && static_cast<int>(VordalKind::Double) == 5 &&
              static_cast<int>(VordalKind::Pair) == 6 && static_cast<int>(VordalKind::DataInfo) == 7 &&
              static_cast<int>(VordalKind::String) == 8 && static_cast<int>(VordalKind::IntList) == 9 &&
              static_cast<int>(VordalKind::DoubleList) == 10 && static_cast<int>(VordalKind::Offset) == 11);

class Writer
{
public:
    template <typename Unsigned>
    void FixedLE(Unsigned value)
    {
        for (std::size_t i = 0; i < sizeof(Unsigned); ++i) {
            m_bytes.push_back(static_cast<unsigned char>((value >> (8 * i)) & 0xFFU));
        }
    }
    void Byte(unsigned char value) { m_bytes.push_back(value); }
    void F64LE(double value) { FixedLE(std::bit_cast<std::uint64_t>(value)); }
    void Number(std::uint64_t value)
    {
        for (; value > 0x7FU; value >>= 7) {
            m_bytes.push_back(static_cast<unsigned char>(0x80U | (value & 0x7FU)));
        }
        m_bytes.push_back(static_cast<unsigned char>(value));
    }
    void Text(std::wstring_view text)
    {
        std::vector<char32_t> codePoints;
        codePoints.reserve(text.size());
        for (std::size_t at = 0; at < text.size();) {
            codePoints.push_back(qx5::protocol::NextCodePoint(text, at));
        }
        Number(codePoints.size());
        for (auto const point : codePoints) {
            Number(point);
        }
    }
    void Value(CVordalType const& value)
    {
        Byte(static_cast<unsigned char>(value.Kind()));
        switch (value.Kind()) {
        case VordalKind::None:
            break;
        case VordalKind::Int: {
            int held = 0;
            value.Get(held);
            FixedLE(static_cast<std::uint32_t>(held));
            break;
        }
        case VordalKind::UInt: {
            unsigned held = 0;
            value.Get(held);
            FixedLE(static_cast<std::uint32_t>(held));
            break;
        }
        case VordalKind::Int64: {
            std::int64_t held = 0;
            value.Get(held);
            FixedLE(static_cast<std::uint64_t>(held));
            break;
        }
        case VordalKind::Bool: {
            bool held = false;
            value.Get(held);
            Byte(held ? 1 : 0);
            break;
        }
        case VordalKind::Double: {
            double held = 0.0;
            value.Get(held);
            F64LE(held);
            break;
        }
        case VordalKind::Pair: {
            double first = 0.0;
            double second = 0.0;
            value.Get(first, second);
            F64LE(first);
            F64LE(second);
            break;
        }
        case VordalKind::DataInfo: {
            CDataInfo held;
            value.Get(held);
            auto const& id = held.GetDataId();
            for (auto const field :
                 {id.GetType(), id.GetGroupId(), id.GetDeviceNum(), id.GetVessel(), held.GetItem(), held.GetIndex()}) {
                FixedLE(field);
            }
            break;
        }
        case VordalKind::String: {
            CString held;
            value.Get(held);
            Text(held);
            break;
        }
        case VordalKind::IntList: {
            std::vector<int> held;
            value.Get(held);
            Number(held.size());
            for (auto const element : held) {
                FixedLE(static_cast<std::uint32_t>(element));
            }
            break;
        }
        case VordalKind::DoubleList: {
            std::vector<double> held;
            value.Get(held);
            Number(held.size());
            for (auto const element : held) {
                F64LE(element);
            }
            break;
        }
        case VordalKind::Offset: {
            CCompOffset held;
            value.Get(held);
            double axes[3];
            held.GetOffset(axes[0], axes[1], axes[2]);
            for (auto const axis : axes) {
                F64LE(axis);
            }
            break;
        }
        }
    }
    void Children(CAttributeMap const& parent, int depth)
    {
        if (parent.Count() > 0 && depth >= MaximumStoredDepth) {
            throw std::length_error("an attribute tree is deeper than " + std::to_string(MaximumStoredDepth) +
                                    " levels");
        }
        Number(static_cast<std::uint64_t>(parent.Count()));
        for (CAttributeMap const& child : parent) {
            Text(child.KeyText());
            Number(child.GetFlags());
            Value(child.Value());
            Children(child, depth + 1);
        }
    }
    std::vector<unsigned char> Take() { return std::move(m_bytes); }

private:
    std::vector<unsigned char> m_bytes;
};

struct Damaged : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

class Reader
{
public:
    explicit Reader(std::span<unsigned char const> bytes) : m_bytes(bytes) {}

    template <typename Unsigned>
    Unsigned FixedLE()
    {
        Need(sizeof(Unsigned));
        Unsigned value = 0;
        for (std::size_t i = 0; i < sizeof(Unsigned); ++i) {
            value = static_cast<Unsigned>(value | static_cast<Unsigned>(static_cast<Unsigned>(m_bytes[i]) << (8 * i)));
        }
        m_bytes = m_bytes.subspan(sizeof(Unsigned));
        return value;
    }
    unsigned char Byte() { return FixedLE<unsigned char>(); }
    double F64LE() { return std::bit_cast<double>(FixedLE<std::uint64_t>()); }
    std::uint64_t Number()
    {
        std::uint64_t value = 0;
        for (unsigned shift = 0; shift < 64; shift += 7) {
            auto const byte = Byte();
            if (shift == 63 && byte > 1) {
                break;
            }
            value |= static_cast<std::uint64_t>(byte & 0x7FU) << shift;
            if ((byte & 0x80U) == 0) {
                return value;
            }
        }
        throw Damaged("a number is too large");
    }
    /// A count of things that take at least `width` bytes each, so that a wrong one cannot ask for memory.
    std::size_t Count(std::size_t width)
    {
        auto const count = Number();
        if (!qx5::protocol::HoldCount(m_bytes.size(), count, width)) {
            throw Damaged("a count goes beyond the end");
        }
        return static_cast<std::size_t>(count);
    }
    std::wstring Text()
    {
        auto const count = Count(1);
        std::wstring text;
        text.reserve(count);
        for (std::size_t i = 0; i < count; ++i) {
            auto const point = Number();
            if (point > 0xFFFFFFFFU) {
                throw Damaged("a character is too large");
            }
            qx5::protocol::AppendCodePoint(text, static_cast<char32_t>(point));
        }
        return text;
    }
    CVordalType* Value()
    {
        auto const kind = Byte();
        switch (static_cast<VordalKind>(kind)) {
        case VordalKind::None:
            return nullptr;
        case VordalKind::Int:
            return VordalTypeCreator::MakeValue(static_cast<int>(FixedLE<std::uint32_t>()));
        case VordalKind::UInt:
            return VordalTypeCreator::MakeValue(static_cast<unsigned>(FixedLE<std::uint32_t>()));
        case VordalKind::Int64:
            return VordalTypeCreator::MakeValue(static_cast<std::int64_t>(FixedLE<std::uint64_t>()));
        case VordalKind::Bool:
            return VordalTypeCreator::MakeValue(Byte() != 0);
        case VordalKind::Double:
            return VordalTypeCreator::MakeValue(F64LE());
        case VordalKind::Pair: {
            auto const first = F64LE();
            auto const second = F64LE();
            return VordalTypeCreator::MakeValue(std::pair(first, second));
        }
        case VordalKind::DataInfo: {
            unsigned short fields[6];
            for (auto& field : fields) {
                field = FixedLE<std::uint16_t>();
            }
            return VordalTypeCreator::MakeValue(
                CDataInfo(CDataId(fields[0], fields[1], fields[2], fields[3]), fields[4], fields[5]));
        }
        case VordalKind::String:
            return VordalTypeCreator::MakeValue(CString(Text()));
        case VordalKind::IntList: {
            std::vector<int> list(Count(4));
            for (auto& element : list) {
                element = static_cast<int>(FixedLE<std::uint32_t>());
            }
            return VordalTypeCreator::MakeValue(list);
        }
        case VordalKind::DoubleList: {
            std::vector<double> list(Count(8));
            for (auto& element : list) {
                element = F64LE();
            }
            return VordalTypeCreator::MakeValue(list);
        }
        case VordalKind::Offset: {
            double axes[3];
            for (auto& axis : axes) {
                axis = F64LE();
            }
            return VordalTypeCreator::MakeValue(CCompOffset(axes[0], axes[1], axes[2]));
        }
        }
        throw Damaged("kind " + std::to_string(kind) + " is unknown");
    }
    void Children(CAttributeMap& parent, int depth)
    {
        auto const count = Count(4); // key, flags, kind, list: a byte each at least
        if (count > 0 && depth >= MaximumStoredDepth) {
            throw Damaged("it is too deep");
        }
        for (std::size_t i = 0; i < count; ++i) {
            auto const key = Text();
            auto* const child = parent.Add(AttributeKey(std::wstring_view(key)));
            auto const flags = Number();
            if (flags > 0xFFFFFFFFU) {
                throw Damaged("a flag word is too large");
            }
            child->SetFlags(static_cast<unsigned>(flags));
            child->ReplaceValue(Value());
            Children(*child, depth + 1);
        }
    }
    void End() const
    {
        if (!m_bytes.empty()) {
            throw Damaged("bytes follow its end");
        }
    }

private:
    void Need(std::size_t count) const
    {
        if (m_bytes.size() < count) {
            throw Damaged("it ends too early");
        }
    }

    std::span<unsigned char const> m_bytes;
};

} // namespace

std::vector<unsigned char> EncodeTreeBlob(CAttributeMap const& tree)
{
    Writer writer;
    writer.Byte(TreeBlobVersion);
    writer.Text(tree.GetGroup());
    writer.Children(tree, 0);
    return writer.Take();
}

bool DecodeTreeBlob(std::span<unsigned char const> blob, CAttributeMap& tree, std::string& error)
{
    try {
        Reader reader(blob);
        if (auto const version = reader.Byte(); version != TreeBlobVersion) {
            throw Damaged("it has version " + std::to_string(version));
        }
        CAttributeMap decoded;
        decoded.SetGroup(CString(reader.Text()));
        reader.Children(decoded, 0);
        reader.End();
        ForgetReferences(decoded);
        tree = std::move(decoded);
        return true;
    } catch (Damaged const& damage) {
        error = damage.what();
        return false;
    }
}

} // namespace vordal
