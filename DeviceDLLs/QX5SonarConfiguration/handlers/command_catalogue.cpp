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

constexpr std::size_t CountRowFilters()
{
    std::size_t count = 0;
    for (ChainEntry const& entry : chainEntries) {
        if (IsKeyed(*entry.command)) {
            count += entry.command->operands.size() + (entry.told != nullptr ? 1 : 0);
        }
    }
    return count;
}

struct RowFilterTables {
    std::array<std::uint64_t, CountRowFilters()> keys{};
    std::array<RowFilter, chainEntries.size()> rows{};
};

constexpr RowFilterTables MakeRowFilters()
{
    RowFilterTables tables{};
    std::size_t used = 0;
    for (std::size_t i = 0; i < chainEntries.size(); ++i) {
        ChainEntry const& entry = chainEntries[i];
        RowFilter& row = tables.rows[i];
        if (!IsKeyed(*entry.command)) {
            continue;
        }
        row.first = static_cast<std::uint16_t>(used);
        for (Operand const& operand : entry.command->operands) {
            row.any |= operand.attribute.Filter();
            tables.keys[used++] = operand.attribute.Filter();
        }
        if (entry.told != nullptr) {
            row.any |= AttributeKey(entry.told->text).Filter();
            tables.keys[used++] = AttributeKey(entry.told->text).Filter();
        }
        row.count = static_cast<std::uint16_t>(used - row.first);
    }
    return tables;
}

constexpr RowFilterTables rowFilters = MakeRowFilters();

} // namespace

std::span<RowFilter const> RowFilters()
{
    return rowFilters.rows;
}

std::span<std::uint64_t const> RowKeyFilters()
{
    return rowFilters.keys;
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
