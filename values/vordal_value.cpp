// The values of the protocol made of the host's, and the other way round.
#include "vordal_value.h"

#include <array>
#include <cstddef>
#include <utility>

namespace qx5 {

namespace {

using protocol::Value;

struct Maker
{
    using Made = std::unique_ptr<CVordalType>;
    Made operator()(std::monostate) const { return nullptr; }
    Made operator()(std::int32_t number) const { return std::make_unique<CVordalInt>(number); }
    Made operator()(std::uint32_t number) const { return std::make_unique<CVordalUInt>(number); }
    Made operator()(std::int64_t number) const { return std::make_unique<CVordalInt64>(number); }
    Made operator()(bool flag) const { return std::make_unique<CVordalBool>(flag); }
    Made operator()(double number) const { return std::make_unique<CVordalDouble>(number); }
    Made operator()(std::pair<double, double> const& pair) const
    {
        return std::make_unique<CVordalDouble2D>(pair.first, pair.second);
    }
    Made operator()(protocol::DataReference const& parts) const
    {
        return std::make_unique<CVordalDataInfo>(CDataId(parts[0], parts[1], parts[2], parts[3]), parts[4], parts[5]);
    }
    Made operator()(std::wstring const& text) const { return std::make_unique<CVordalText>(CString(text)); }
    Made operator()(std::vector<std::int32_t> const& list) const { return std::make_unique<CVordalIntList>(list); }
    Made operator()(std::vector<double> const& list) const { return std::make_unique<CVordalDoubleList>(list); }
    Made operator()(std::array<double, 3> const& axes) const
    {
        return std::make_unique<CVordalOffset>(CCompOffset(axes[0], axes[1], axes[2]));
    }
};

bool Get(CVordalType const&, std::monostate&)
{
    return false;
}
bool Get(CVordalType const& value, std::pair<double, double>& held)
{
    return value.Get(held.first, held.second);
}
bool Get(CVordalType const& value, protocol::DataReference& held)
{
    CDataInfo info;
    if (!value.Get(info)) {
        return false;
    }
    auto const& id = info.GetDataId();
    held = {id.GetType(), id.GetGroupId(), id.GetDeviceNum(), id.GetVessel(), info.GetItem(), info.GetIndex()};
    return true;
}
bool Get(CVordalType const& value, std::wstring& held)
{
    CString text;
    if (!value.Get(text)) {
        return false;
    }
    held = text.View();
    return true;
}
bool Get(CVordalType const& value, std::array<double, 3>& held)
{
    CCompOffset offset;
    if (!value.Get(offset)) {
        return false;
    }
    offset.GetOffset(held[0], held[1], held[2]);
    return true;
}
template <typename Held>
bool Get(CVordalType const& value, Held& held)
{
    return value.Get(held);
}

template <std::size_t alternative>
bool ReadAlternative(CVordalType const& value, Value& read)
{
    std::variant_alternative_t<alternative, Value> held{};
    if (!Get(value, held)) {
        return false;
    }
    read.emplace<alternative>(std::move(held));
    return true;
}

using Reader = bool (*)(CVordalType const& value, Value& read);

/// By the number that the host gives the kind.
constexpr auto readers = []<std::size_t... I>(std::index_sequence<I...>)
{
    return std::array<Reader, sizeof...(I)>{&ReadAlternative<I>...};
}
(std::make_index_sequence<std::variant_size_v<Value>>());

} // namespace

std::unique_ptr<CVordalType> MakeVordal(Value const& value)
{
    return std::visit(Maker(), value);
}

CAttributeMap& AddValue(CAttributeMap& parent, AttributeKey const& key, Value const& value)
{
    auto& node = *parent.Add(key);
    node.ReplaceValue(MakeVordal(value).release());
    return node;
}

bool ReadVordal(CVordalType const& value, protocol::Kind kind, Value& read)
{
    return readers[static_cast<std::size_t>(VordalKindOf(kind))](value, read);
}

Value ValueOf(CVordalType const& value)
{
    Value read;
    ReadVordal(value, KindOf(value.Kind()), read);
    return read;
}

} // namespace qx5
