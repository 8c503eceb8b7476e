// The chain's rows with their commands, made of the tables that the handlers use.
#include "command_catalogue.h"

#include "Acquisition.h"
#include "BasicCommands.h"
#include "BeamGeometry.h"
#include "DataRecording.h"
#include "DualHead.h"
#include "Gates.h"
#include "Installation.h"
#include "MotionHeading.h"
#include "PanTiltHoist.h"
#include "PortSensors.h"
#include "Positioning.h"
#include "ProcessorPorts.h"
#include "PulseFrequencyGain.h"
#include "RecorderSettings.h"
#include "SingleBeam.h"
#include "StoragePlayback.h"
#include "TargetExchange.h"
#include "TrackerDetection.h"
#include "TriggersTiming.h"
#include "chain.h"
#include <protocol/records/all.h>

#include <array>
#include <bit>

namespace qx5 {

namespace {

namespace keys = protocol::keys;
namespace records = protocol::records;

/// The command of a scalar row.
template <protocol::Key const& K, auto const& Record>
struct Scalar {
    static constexpr Operand operands[]{K};
    static constexpr Sending sends[]{{Record}};
    static constexpr Command command{.form = Form::Direct, .operands = operands, .sends = sends, .echoFlags = 0};
};

#define QX5_HANDLER(name) ChainEntry{0, #name, &commands::name, nullptr},
#define QX5_KEYED(name, key) ChainEntry{0, #name, &commands::name, &keys::key},
#define QX5_SCALAR(record, key, kind)                                                                                  \
    ChainEntry{0, "RequestValue", &Scalar<keys::key, records::record>::command, &keys::key},
constexpr auto MakeChain()
{
    std::array chain{QX5_REQUEST_CHAIN(QX5_HANDLER, QX5_KEYED, QX5_SCALAR) ChainEntry{}};
    std::array<ChainEntry, chain.size() - 1> numbered{};
    for (std::size_t i = 0; i < numbered.size(); ++i) {
        numbered[i] = chain[i];
        numbered[i].row = static_cast<int>(i) + 1;
    }
    return numbered;
}
#undef QX5_HANDLER
#undef QX5_KEYED
#undef QX5_SCALAR

constexpr auto chainEntries = MakeChain();
static_assert(chainEntries.size() == 133);

/// Whether requests without the command's keys are nothing to its handler. One that is written by hand from end to end
/// is asked every time.
constexpr bool IsKeyed(Command const& command)
{
    return command.form != Form::Own && command.form != Form::Awaited && !command.operands.empty();
}

/// For each bit of a filter the rows with a key whose filter begins, or ends, with that bit; and the rows that no filter
/// rules out.
struct RowTables {
    std::array<RowSet, 64> lowest{};
    std::array<RowSet, 64> highest{};
    RowSet always{};
};

constexpr RowTables MakeRowTables()
{
    RowTables tables{};
    for (std::size_t row = 0; row < chainEntries.size(); ++row) {
        ChainEntry const& entry = chainEntries[row];
        if (!IsKeyed(*entry.command)) {
            tables.always.Add(row);
            continue;
        }
        auto const add = [&tables, row](std::uint64_t filter) {
            tables.lowest[static_cast<std::size_t>(std::countr_zero(filter))].Add(row);
            tables.highest[static_cast<std::size_t>(63 - std::countl_zero(filter))].Add(row);
        };
        for (Operand const& operand : entry.command->operands) {
            add(operand.attribute.Filter());
        }
        if (entry.told != nullptr) {
            add(AttributeKey(entry.told->text).Filter());
        }
    }
    return tables;
}

// Not constexpr: under its undefined-behaviour sanitizer GCC takes no address for a constant that is compared with null.
RowTables const rowTables = MakeRowTables();

} // namespace

RowSet RowsThatMayAct(std::uint64_t keyFilter)
{
    RowSet lowest;
    RowSet highest;
    for (std::uint64_t bits = keyFilter; bits != 0; bits &= bits - 1) {
        auto const bit = static_cast<std::size_t>(std::countr_zero(bits));
        lowest.Unite(rowTables.lowest[bit]);
        highest.Unite(rowTables.highest[bit]);
    }
    lowest.Intersect(highest);
    lowest.Unite(rowTables.always);
    return lowest;
}

std::span<ChainEntry const> Chain()
{
    return chainEntries;
}

bool IsRequestable(Operand const& operand)
{
    return operand.options.source != Source::Stored && operand.options.source != Source::Told;
}

std::vector<ChainEntry const*> RowsOfKey(protocol::Key const& key)
{
    std::vector<ChainEntry const*> rows;
    for (ChainEntry const& entry : chainEntries) {
        for (Operand const& operand : entry.command->operands) {
            if (operand.key == &key && IsRequestable(operand)) {
                rows.push_back(&entry);
                break;
            }
        }
    }
    return rows;
}

} // namespace qx5
