// The handlers for how the sonar is mounted and how it starts up.
#include "../QX5SonarConfigurationControlDevice.h"
#include "command_values.h"
#include "echo_map.h"
#include "reading.h"
#include "sonar_head.h"
#include <commands/installation.h>

#include <VordalAttributesR/AttributeConstants.h>
#include <protocol/pack.h>

#include <algorithm>
#include <array>
#include <compare>
#include <optional>
#include <vector>

using ControlDevice = QX5SonarConfigurationControlDevice;
using namespace qx5;
namespace keys = qx5::protocol::keys;
namespace records = qx5::protocol::records;

static_assert(At<keys::ATTR_DEVICEOFFSET> == ::ATTR_DEVICEOFFSET);
static_assert(At<keys::ATTR_ROLLCOR> == ::ATTR_ROLLCOR);
static_assert(At<keys::ATTR_PITCHCOR> == ::ATTR_PITCHCOR);
static_assert(At<keys::ATTR_CABLELENGTH> == ::ATTR_CABLELENGTH);

namespace {

/// What makes a head the same physical one as another. Heads that tell nothing of themselves count as one.
struct SonarHead
{
    int rxNumber = 0;
    CString txName;

    friend auto operator<=>(SonarHead const&, SonarHead const&) = default;
};

/// A bracket as the request tells it; what it does not tell is empty.
struct BracketChange
{
    std::optional<int> selected;
    std::optional<double> x;
    std::optional<double> y;
    std::optional<double> z;

    void Override(BracketChange const& later)
    {
        selected = later.selected ? later.selected : selected;
        x = later.x ? later.x : x;
        y = later.y ? later.y : y;
        z = later.z ? later.z : z;
    }
};

/// The bracket that one head is mounted in.
struct Bracket
{
    int selected = 0;
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    void Apply(BracketChange const& change)
    {
        selected = change.selected.value_or(selected);
        x = change.x.value_or(x);
        y = change.y.value_or(y);
        z = change.z.value_or(z);
    }
};

/// The values of the whole installation, the same for every head.
struct Installation
{
    CCompOffset deviceOffset;
    double rollCorrection = 0.0;
    double pitchCorrection = 0.0;
    int cableLength = 0;
};

/// The size and place of one array, by arrayKeys.
using ArrayValues = std::array<double, 10>;

constexpr std::array<Operand, std::tuple_size_v<ArrayValues>> arrayKeys{
    keys::x5MBesXYZLength,      keys::x5MBesXYZWidth,    keys::x5MBesXYZHeight,  keys::x5MBesXYZRadius,
    keys::x5MBesXYZOffsetX,     keys::x5MBesXYZOffsetY,  keys::x5MBesXYZOffsetZ, keys::x5MBesXYZOffsetRoll,
    keys::x5MBesXYZOffsetPitch, keys::x5MBesXYZOffsetYaw};

constexpr std::array<Operand, 5> identityKeys{keys::x5MBesXYZSonarId, keys::x5MBesXYZTXUnitID, keys::x5MBesXYZRXUnitID,
                                              keys::x5MBesXYZNumber, keys::x5MBesXYZFixedParams};

template <typename T>
std::optional<T> ReadOptional(CAttributeMap const& tree, AttributeKey const& key)
{
    T value{};
    return Read(tree, key, value) ? std::optional<T>(value) : std::nullopt;
}

BracketChange ReadBracket(CAttributeMap const& bracket)
{
    return {ReadOptional<int>(bracket, At<keys::x5BracketSelected>),
            ReadOptional<double>(bracket, At<keys::x5BracketX>), ReadOptional<double>(bracket, At<keys::x5BracketY>),
            ReadOptional<double>(bracket, At<keys::x5BracketZ>)};
}

SonarHead ReadHead(CAttributeMap const& stored, int index)
{
    CAttributeMap const& settings = stored.Find(At<keys::x5SonarSettings>, index);
    SonarHead head;
    Read(settings, At<keys::x5RxNumber>, head.rxNumber);
    Read(settings, At<keys::x5TxName>, head.txName);
    return head;
}

/// The numbers of the stored brackets, those of one physical head side by side and in their order.
std::vector<int> OrderByHead(CAttributeMap const& stored, int count)
{
    std::vector<SonarHead> heads;
    std::vector<int> order;
    heads.reserve(static_cast<std::size_t>(count));
    order.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        heads.push_back(ReadHead(stored, i));
        order.push_back(i);
    }
    std::stable_sort(order.begin(), order.end(), [&](int left, int right) {
        return heads[static_cast<std::size_t>(left)] < heads[static_cast<std::size_t>(right)];
    });
    return order;
}

/// The stored brackets with what the request changes about them. Two brackets may describe one physical head; what the
/// request says about either then holds for both, and of what it says twice the later.
std::vector<Bracket> ReadBrackets(CAttributeMap const& request, CAttributeMap const& stored)
{
    int const count = stored.Count(At<keys::x5Bracket>);
    std::vector<Bracket> brackets(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        brackets[static_cast<std::size_t>(i)].Apply(ReadBracket(stored.Find(At<keys::x5Bracket>, i)));
    }
    // Brackets that the stored tree does not have are of no head.
    int const changeCount = std::min(count, request.Count(At<keys::x5Bracket>));
    if (changeCount == 0) {
        return brackets;
    }
    auto const order = OrderByHead(stored, count);
    for (auto first = order.begin(); first != order.end();) {
        auto const last = std::find_if_not(first, order.end(),
                                           [&](int bracket) { return qx5::IsSameSonarHead(stored, *first, bracket); });
        BracketChange change;
        for (auto at = first; at != last && *at < changeCount; ++at) {
            change.Override(ReadBracket(request.Find(At<keys::x5Bracket>, *at)));
        }
        for (; first != last; ++first) {
            brackets[static_cast<std::size_t>(*first)].Apply(change);
        }
    }
    return brackets;
}

/// Values that the array does not tell stay as they are.
void ReadArray(CAttributeMap const& array, ArrayValues& values)
{
    for (std::size_t i = 0; i < values.size(); ++i) {
        Read(array, arrayKeys[i].attribute, values[i]);
    }
}

/// Packs what the record takes of the array itself into the block that begins at `block`.
void PackArray(protocol::RecordLayout const& record, std::uint16_t block, ArrayValues const& values,
               protocol::Payload& payload)
{
    for (protocol::Field const& field : record.fields) {
        if (field.offset < block || field.offset >= block + records::ArrayBlockSize) {
            continue;
        }
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (field.key == arrayKeys[i].key) {
                protocol::PackField(field, values[i], payload.Bytes());
            }
        }
    }
}

/// `table` is the head's array table for its bracket, or an empty node: zeros go out then.
void PackHead(CAttributeMap const& table, Bracket const& bracket, Installation const& installation,
              protocol::RecordLayout const& record, protocol::Payload& payload)
{
    for (Operand const& identity : identityKeys) {
        int number = 0;
        Read(table, identity.attribute, number);
        PackKey(record, *identity.key, number, payload);
    }
    double frequency = 0.0;
    Read(table, At<keys::x5MBesXYZFrequency>, frequency);
    PackKey(record, keys::x5MBesXYZFrequency, frequency, payload);

    // The second array comes first, because what the first leaves open is as with the second.
    ArrayValues values{};
    ReadArray(table.Find(At<keys::x5MBesXYZ>, 1), values);
    PackArray(record, records::SecondArrayBlock, values, payload);
    ReadArray(table.Find(At<keys::x5MBesXYZ>, 0), values);
    PackArray(record, records::FirstArrayBlock, values, payload);

    PackKey(record, keys::x5BracketX, bracket.x, payload);
    PackKey(record, keys::x5BracketY, bracket.y, payload);
    PackKey(record, keys::x5BracketZ, bracket.z, payload);

    std::array<double, 3> axes{};
    installation.deviceOffset.GetOffset(axes[0], axes[1], axes[2]);
    PackKey(record, keys::ATTR_DEVICEOFFSET, protocol::Value(axes), payload);
    PackKey(record, keys::ATTR_ROLLCOR, installation.rollCorrection, payload);
    PackKey(record, keys::ATTR_PITCHCOR, installation.pitchCorrection, payload);
    PackKey(record, keys::ATTR_CABLELENGTH, installation.cableLength, payload);
}

} // namespace

bool qx5::IsSameSonarHead(CAttributeMap const& stored, int i, int j)
{
    return i == j || ReadHead(stored, i) == ReadHead(stored, j);
}

void ControlDevice::UpdateSonarInstallationIdentifiers(CAttributeMap* request)
{
    if (!HasAny(*request, At<keys::x5Bracket>, At<keys::ATTR_DEVICEOFFSET>, At<keys::ATTR_ROLLCOR>,
                At<keys::ATTR_PITCHCOR>, At<keys::ATTR_CABLELENGTH>)) {
        return;
    }
    CAttributeMap const& stored = Stored();
    Installation installation;
    Complete(*request, stored, At<keys::ATTR_DEVICEOFFSET>, installation.deviceOffset);
    Complete(*request, stored, At<keys::ATTR_ROLLCOR>, installation.rollCorrection);
    Complete(*request, stored, At<keys::ATTR_PITCHCOR>, installation.pitchCorrection);
    Complete(*request, stored, At<keys::ATTR_CABLELENGTH>, installation.cableLength);

    protocol::RecordLayout const record = records::SonarInstallationIdentifiers;
    EchoMap echo;
    std::vector<Bracket> const brackets = ReadBrackets(*request, stored);
    for (std::size_t i = 0; i < brackets.size(); ++i) {
        Bracket const& bracket = brackets[i];
        CAttributeMap const& table =
            stored.Find(At<keys::x5MBesXYZList>, static_cast<int>(i)).Find(At<keys::x5MBesXYZInfo>, bracket.selected);
        protocol::Payload payload(record.size);
        PackHead(table, bracket, installation, record, payload);
        Send(record, payload, OwnSonar);

        CAttributeMap& told = *echo.Tree().Add(At<keys::x5Bracket>);
        told.Add(At<keys::x5BracketSelected>, CVordalInt(bracket.selected), 0);
        told.Add(At<keys::x5BracketX>, CVordalDouble(bracket.x), 0);
        told.Add(At<keys::x5BracketY>, CVordalDouble(bracket.y), 0);
        told.Add(At<keys::x5BracketZ>, CVordalDouble(bracket.z), 0);
    }
    echo.Tell(At<keys::ATTR_DEVICEOFFSET>, installation.deviceOffset);
    echo.Tell(At<keys::ATTR_ROLLCOR>, installation.rollCorrection);
    echo.Tell(At<keys::ATTR_PITCHCOR>, installation.pitchCorrection);
    echo.Tell(At<keys::ATTR_CABLELENGTH>, installation.cableLength);
    Report(echo.Tree(), commands::UpdateSonarInstallationIdentifiers.echoFlags);
}
