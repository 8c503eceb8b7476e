// The chain's rows with their commands, made of the tables that the handlers use.
#include "catalogue.h"

#include "all.h"
#include "chain.h"
#include "checks.h"

#include <array>

namespace qx5 {

namespace {

namespace keys = protocol::keys;
namespace records = protocol::records;

/// The command of a scalar row.
template <protocol::Key const& K, auto const& Record>
struct Scalar
{
    static constexpr Operand operands[]{K};
    static constexpr Sending sends[]{
        {Record, OwnSonar, {}, FramesItself(Record.Id()) ? Addressee::StoredSonar : Addressee::Target}};
    static constexpr Command command{
        .form = Form::Direct, .keeps = Keeps::Settings, .operands = operands, .sends = sends, .echoFlags = 0};
};

#define QX5_HANDLER(name) ChainEntry{0, #name, Checked<commands::name>(), nullptr},
#define QX5_KEYED(name, key) ChainEntry{0, #name, Checked<commands::name>(), &keys::key},
#define QX5_SCALAR(record, key, kind)                                                                                  \
    ChainEntry{0, "RequestValue", Checked<Scalar<keys::key, records::record>::command>(), &keys::key},
constexpr auto MakeChain()
{
    std::array chain{QX5_REQUEST_CHAIN(QX5_HANDLER, QX5_HANDLER, QX5_KEYED, QX5_SCALAR) ChainEntry{}};
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

} // namespace

std::span<ChainEntry const> Chain()
{
    return chainEntries;
}

bool IsRequestable(Operand const& operand)
{
    return operand.options.source != Source::Stored && operand.options.source != Source::Told;
}

bool IsCompleted(Command const& command, Operand const& operand)
{
    bool const completes = command.form == Form::Strict || command.form == Form::Lax;
    return operand.options.source == Source::Stored || operand.options.source == Source::Completed ||
           (operand.options.source == Source::AsForm && completes);
}

std::vector<Operand const*> NeededBeside(Command const& command, Operand const& operand)
{
    std::vector<Operand const*> needed;
    bool const all = command.form == Form::AllRequired;
    bool const triggers = operand.options.triggers && operand.options.source != Source::Branch;
    for (Operand const& other : command.operands) {
        bool const isRequired = !other.options.optional && (all || other.options.source == Source::Request);
        // One key that triggers is enough.
        bool const lacksTrigger = !triggers && needed.empty() && other.options.triggers;
        if (other.key != operand.key && (isRequired || lacksTrigger)) {
            needed.push_back(&other);
        }
    }
    return needed;
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
