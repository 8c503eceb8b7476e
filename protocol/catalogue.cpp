// All records and keys that this system knows, for look-up by number and by text.
#include <protocol/catalogue.h>

#include <algorithm>

#include <protocol/catalogue_tables.h>
#include <protocol/unpack.h>

namespace qx5::protocol {

namespace {

using namespace catalogue;

constexpr bool TextsDiffer()
{
    for (std::size_t i = 1; i < SortedKeys.size(); ++i) {
        if (SortedKeys[i - 1]->text == SortedKeys[i]->text) {
            return false;
        }
    }
    return true;
}
static_assert(TextsDiffer(), "two keys have the same text");

constexpr bool EveryKeyOfARecordIsListed()
{
    for (RecordLayout const& layout : Layouts) {
        auto const listed = [](Field const& field) { return IsListed(field.key); };
        if (!std::all_of(layout.fields.begin(), layout.fields.end(), listed) ||
            !std::all_of(layout.itemFields.begin(), layout.itemFields.end(), listed) || !IsListed(layout.tailKey)) {
            return false;
        }
    }
    return true;
}
static_assert(EveryKeyOfARecordIsListed(), "a record uses a key that its family does not list");

/// The layout that `isWanted` lets through and that suits the size best, or null.
template <typename Predicate>
RecordLayout const* BestLayout(Carrier carrier, std::uint32_t id, std::optional<std::size_t> payloadSize,
                               Predicate const& isWanted)
{
    RecordLayout const* first = nullptr;
    RecordLayout const* largest = nullptr;
    for (RecordLayout const& layout : Layouts) {
        if (layout.carrier != carrier || layout.id != id || !isWanted(layout)) {
            continue;
        }
        if (first == nullptr) {
            first = &layout;
        }
        if (!payloadSize) {
            continue;
        }
        if (layout.size == *payloadSize && layout.tail == Tail::None) {
            return &layout;
        }
        if (layout.size <= *payloadSize && (largest == nullptr || layout.size > largest->size)) {
            largest = &layout;
        }
    }
    return largest != nullptr ? largest : first;
}

bool CarriesConstants(RecordLayout const& layout, std::span<unsigned char const> payload)
{
    for (Field const& field : layout.fields) {
        if (field.key != nullptr || field.constant == 0) {
            continue;
        }
        Value const wire = UnpackField(field, payload).wire;
        auto const* const number = std::get_if<std::uint32_t>(&wire);
        auto const* const bit = std::get_if<bool>(&wire);
        if (!(number != nullptr && *number == field.constant) && !(bit != nullptr && *bit)) {
            return false;
        }
    }
    return true;
}

} // namespace

std::span<RecordLayout const> AllLayouts()
{
    return Layouts;
}

std::span<Key const* const> AllKeys()
{
    return SortedKeys;
}

RecordLayout const* FindLayout(Carrier carrier, std::uint32_t id, std::optional<std::size_t> payloadSize)
{
    auto const* const layout = BestLayout(carrier, id, payloadSize, [](RecordLayout const&) { return true; });
    if (layout == nullptr && carrier == Carrier::PassThrough) {
        return FindLayout(Carrier::RemoteControl, id, payloadSize);
    }
    return layout;
}

RecordLayout const* FindLayout(Carrier carrier, std::uint32_t id, std::span<unsigned char const> payload)
{
    auto const* const layout = BestLayout(
        carrier, id, payload.size(), [payload](RecordLayout const& form) { return CarriesConstants(form, payload); });
    if (layout != nullptr) {
        return layout;
    }
    if (carrier == Carrier::PassThrough) {
        return FindLayout(Carrier::RemoteControl, id, payload);
    }
    return FindLayout(carrier, id, payload.size());
}

Key const* FindKey(std::wstring_view text)
{
    auto const at = std::lower_bound(SortedKeys.begin(), SortedKeys.end(), text,
                                     [](Key const* key, std::wstring_view wanted) { return key->text < wanted; });
    return at != SortedKeys.end() && (*at)->text == text ? *at : nullptr;
}

} // namespace qx5::protocol
