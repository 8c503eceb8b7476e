// The study: which requests and trees one handler gets, and what follows from its answers.
#include "handler_study.h"

#include "generated_values.h"

#include <protocol/catalogue.h>
#include <protocol/records/all.h>
#include <protocol/settings_keys.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <string_view>

namespace keys = qx5::protocol::keys;

namespace qx5::conformance {

using protocol::Key;
using protocol::Kind;
using protocol::Value;

namespace {

// Not in the tables: the notes beside them tell it.

/// Where a key stands below another one; elsewhere it stands at the root.
struct Nest
{
    std::string_view handler;
    Key const* branch;
    std::vector<Key const*> below;
    bool inStoredAlone = false;
};

std::vector<Nest> const& Nests()
{
    static std::vector<Nest> const nests{
        {"SendEchoMarker",
         &keys::EchoMarker,
         {&keys::EchoMarkerAnnotation, &keys::EchoMarkerClient, &keys::EchoMarkerNumber, &keys::EchoMarkerPingNumber,
          &keys::EchoMarkerTime, &keys::EchoMarkerLatitude, &keys::EchoMarkerLongitude, &keys::EchoMarkerAltitude,
          &keys::EchoMarkerDepth, &keys::EchoMarkerHeave}},
        {"SendLorqGating", &keys::x5LorqGating, {&keys::x5LorqPipeRoutePoint}},
        {"SendLorqGating",
         &keys::x5LorqPipeRoutePoint,
         {&keys::x5LorqPipeRoutePipeNumber, &keys::x5LorqDetDiameter, &keys::x5LorqDetBeamX, &keys::x5LorqDetBeamY,
          &keys::x5LorqDetBeamZ, &keys::x5LorqDetBeamAngle, &keys::x5SoundVelocity, &keys::x5LorqDetBeamTwtt,
          &keys::x5LorqDetSampleRate, &keys::x5LorqDetPingNumber}},
        {"UpdateSonarInstallationIdentifiers",
         &keys::x5Bracket,
         {&keys::x5BracketSelected, &keys::x5BracketX, &keys::x5BracketY, &keys::x5BracketZ}},
        {"UpdateSonarInstallationIdentifiers", &keys::x5SonarSettings, {&keys::x5RxNumber, &keys::x5TxName}},
        {"UpdateSonarInstallationIdentifiers", &keys::x5MBesXYZList, {&keys::x5MBesXYZInfo}},
        {"UpdateSonarInstallationIdentifiers",
         &keys::x5MBesXYZInfo,
         {&keys::x5MBesXYZSonarId, &keys::x5MBesXYZTXUnitID, &keys::x5MBesXYZRXUnitID, &keys::x5MBesXYZNumber,
          &keys::x5MBesXYZFixedParams, &keys::x5MBesXYZFrequency, &keys::x5MBesXYZ}},
        {"UpdateSonarInstallationIdentifiers",
         &keys::x5MBesXYZ,
         {&keys::x5MBesXYZLength, &keys::x5MBesXYZWidth, &keys::x5MBesXYZHeight, &keys::x5MBesXYZRadius,
          &keys::x5MBesXYZOffsetX, &keys::x5MBesXYZOffsetY, &keys::x5MBesXYZOffsetZ, &keys::x5MBesXYZOffsetRoll,
          &keys::x5MBesXYZOffsetPitch, &keys::x5MBesXYZOffsetYaw}},
        {"RequestFMSweep", &keys::x5PingSettingsList, {&keys::x5FMSweep, &keys::x5FMSweepNegative}, true},
        {"RequestSampleRate", &keys::x5SonarSettings, {&keys::x5SampleRateSet, &keys::x5PulseLengthSet}},
        {"RequestSampleRate", &keys::x5SampleRateSet, {&keys::x5IQRate}},
        {"RequestSampleRate", &keys::x5PulseLengthSet, {&keys::x5PulseLengthValues}},
    };
    return nests;
}

/// Beyond the bases that are written out, values and what is left out come from this; the same in each run.
std::uint64_t Scatter(std::uint64_t number)
{
    number += 0x9e3779b97f4a7c15U;
    number = (number ^ (number >> 30)) * 0xbf58476d1ce4e5b9U;
    number = (number ^ (number >> 27)) * 0x94d049bb133111ebU;
    return number ^ (number >> 31);
}

constexpr std::size_t writtenOutBases = 6;

/// With which choices a key of a base is replaced.
constexpr std::pair<int, int> changes[]{{-1, -1}, {-1, 0}, {-1, 1}, {0, -1}, {0, 0},
                                        {0, 1},   {1, -1}, {2, -1}, {2, 0},  {-1, 2}};

/// 0 and 1: two values, others at each base; 2: a value of another kind; -1: none.
Choice ChangeOf(int change, std::size_t base, Key const& key)
{
    std::size_t const count = CountOfValues(key);
    std::size_t const first = base % count;
    std::size_t const second = (first + 1 + base / count % (count - 1)) % count;
    switch (change) {
    case 0:
        return {Choice::Alike, static_cast<std::uint8_t>(first)};
    case 1:
        return {Choice::Varying, static_cast<std::uint8_t>(second)};
    case 2:
        return {Choice::Wrong, 0};
    default:
        return {};
    }
}

/// By what a sonar's frame is addressed where a command's table says so.
constexpr Key const* sonarKeys[]{&keys::DeviceId, &keys::DeviceEnum, &keys::x5SystemIDH};

/// What the stored tree tells of the sonar in a base, unless the table has the key.
Value SonarValue(std::size_t base, Key const& key)
{
    if (base % 4 == 3) {
        return {};
    }
    if (&key == &keys::DeviceId) {
        return std::int32_t{7125};
    }
    if (&key == &keys::DeviceEnum) {
        return std::int32_t{3};
    }
    return base % 4 == 1;
}

} // namespace

Study::Study(Bench& bench, ChainEntry const& row, std::vector<Key const*> theKeys)
    : m_bench(bench), m_row(row), m_keys(std::move(theKeys)), m_facts(m_keys.size())
{
    // More where keys may hang together, fewer where there are many.
    m_bases = m_keys.size() <= 2 ? 12 : std::clamp<std::size_t>(120 / (m_keys.size() + 1), 9, 16);
    for (Key const* key : m_keys) {
        m_attributes.emplace_back(key->text);
    }
    for (auto& branches : m_branches) {
        branches.assign(m_keys.size(), m_keys.size());
    }
    for (Nest const& nest : Nests()) {
        std::size_t const branch = IndexOf(*nest.branch);
        if (nest.handler != row.handler || branch == m_keys.size()) {
            continue;
        }
        for (Key const* key : nest.below) {
            if (std::size_t const at = IndexOf(*key); at != m_keys.size()) {
                m_branches[static_cast<std::size_t>(Side::Stored)][at] = branch;
                if (!nest.inStoredAlone) {
                    m_branches[static_cast<std::size_t>(Side::Request)][at] = branch;
                }
            }
        }
    }
    Plan();
}

std::size_t Study::IndexOf(Key const& key) const
{
    return static_cast<std::size_t>(std::find(m_keys.begin(), m_keys.end(), &key) - m_keys.begin());
}

Key const* Study::BranchOf(std::size_t key, Side side) const
{
    std::size_t const branch = m_branches[static_cast<std::size_t>(side)][key];
    return branch == m_keys.size() ? nullptr : m_keys[branch];
}

Surroundings const& Study::SurroundingsOf(std::size_t base)
{
    static constexpr Surroundings usual{};
    static constexpr Surroundings withoutPort{.sonarPort = false, .loggerRuns = false};
    static constexpr Surroundings playback{.playback = true, .isOperator = false};
    return base % 6 == 4 ? withoutPort : base % 6 == 5 ? playback : usual;
}

Study::Cells Study::BaseCells(std::size_t base) const
{
    Cells cells(m_keys.size());
    for (std::size_t k = 0; k < cells.size(); ++k) {
        auto const choose = [&](Choice::Kind kind, std::size_t number) {
            return Choice{kind, static_cast<std::uint8_t>(number % CountOfValues(*m_keys[k]))};
        };
        auto const value = [&](std::size_t number) { return choose(Choice::Varying, number); };
        auto const alike = [&](std::size_t number) { return choose(Choice::Alike, number); };
        switch (base) {
        case 0:
        case 4:
        case 5:
            cells[k] = {value(0), value(1)};
            break;
        case 1:
            cells[k] = {value(1), value(0)};
            break;
        case 2:
            // One branch in the request, two alike ones stored.
            cells[k] = {alike(3), alike(4)};
            break;
        case 3:
            cells[k].request = value(0);
            break;
        default:
            std::uint64_t const chance = Scatter(m_attributes[k].Hash() ^ (base << 32U));
            if (chance % 5 != 0) {
                cells[k].request = value(chance >> 8U);
            }
            if (chance / 5 % 5 != 0) {
                cells[k].stored = value(chance >> 24U);
            }
            break;
        }
    }
    return cells;
}

void Study::Fill(CAttributeMap& node, std::size_t branch, Cells const& cells, Side side, unsigned occurrence) const
{
    auto const& branches = m_branches[static_cast<std::size_t>(side)];
    for (std::size_t k = 0; k < m_keys.size(); ++k) {
        Choice const& choice = cells[k].Of(side);
        if (branches[k] != branch || choice.kind == Choice::Absent) {
            continue;
        }
        Pool const& pool = PoolOf(m_keys[k]->kind);
        if (choice.kind == Choice::Wrong) {
            node.Add(m_attributes[k], *pool.wrong, 0);
        } else if (m_keys[k]->kind == Kind::Branch) {
            for (unsigned i = 0; i <= choice.number; ++i) {
                Fill(*node.Add(m_attributes[k]), k, cells, side, occurrence * 3 + i);
            }
        } else {
            std::size_t const number = choice.number + (choice.kind == Choice::Varying ? occurrence : 0);
            node.Add(m_attributes[k], *pool.vordal[number % pool.vordal.size()], 0);
        }
    }
}

CAttributeMap Study::Build(std::size_t base, Cells const& cells, Side side) const
{
    CAttributeMap tree;
    Fill(tree, m_keys.size(), cells, side, 0);
    if (side == Side::Stored) {
        for (Key const* key : sonarKeys) {
            if (Value const value = SonarValue(base, *key);
                !protocol::IsEmpty(value) && IndexOf(*key) == m_keys.size()) {
                tree.Add(key->text, *Vordal(value), 0);
            }
        }
    }
    return tree;
}

Case const& Study::Try(std::size_t base, Cells cells)
{
    auto const [at, isNew] = m_known.try_emplace({base, cells}, m_cases.size());
    if (isNew) {
        Observation observed = m_bench.Observe(m_row.row, SurroundingsOf(base), Build(base, cells, Side::Request),
                                               Build(base, cells, Side::Stored));
        m_cases.push_back({base, std::move(cells), std::move(observed)});
    }
    return m_cases[at->second];
}

void Study::Plan()
{
    for (std::size_t base = 0; base < m_bases; ++base) {
        m_plan.push_back({base, m_keys.size(), 0, 0});
        for (std::size_t k = 0; k < m_keys.size() && base < 2; ++k) {
            // Of the value of the base and of another kind.
            m_plan.push_back({base, k, base == 0 ? 0 : 2, 0, true});
        }
        for (auto const& [request, stored] : changes) {
            for (std::size_t k = 0; k < m_keys.size(); ++k) {
                m_plan.push_back({base, k, request, stored});
            }
        }
    }
}

Case const* Study::At(std::size_t number)
{
    if (number >= m_plan.size()) {
        return nullptr;
    }
    Step const& step = m_plan[number];
    Cells cells = BaseCells(step.base);
    if (step.alone) {
        for (std::size_t k = 0; k < cells.size(); ++k) {
            bool const isIt = k == step.key;
            cells[k].request = !isIt ? Choice() : step.request == 2 ? Choice{Choice::Wrong} : cells[k].request;
        }
    } else if (step.key < m_keys.size()) {
        Key const& key = *m_keys[step.key];
        cells[step.key] = {ChangeOf(step.request, step.base, key), ChangeOf(step.stored, step.base, key)};
    }
    return &Try(step.base, std::move(cells));
}

bool Study::OthersMatter(bool knowsSonar)
{
    std::optional<bool>& matters = m_othersMatter[knowsSonar ? 1 : 0];
    if (!matters) {
        matters = false;
        for (std::size_t base = 0; base < m_bases && !*matters; ++base) {
            Cells const cells = BaseCells(base);
            Observation const alone = Try(base, cells).observed;
            for (std::size_t const phase : {base, base + 5}) {
                CAttributeMap const request =
                    BuildAmongOthers(base, cells, Side::Request, phase, knowsSonar, alone.written);
                CAttributeMap const stored = BuildAmongOthers(base, cells, Side::Stored, phase, knowsSonar, {});
                Observation const among = m_bench.Observe(m_row.row, SurroundingsOf(base), request, stored);
                if (among.Print() != alone.Print()) {
                    matters = true;
                    break;
                }
            }
        }
    }
    return *matters;
}

std::vector<CAttributeMap*> Study::NodesOf(CAttributeMap& tree, std::size_t key, Side side) const
{
    if (key == m_keys.size()) {
        return {&tree};
    }
    std::vector<CAttributeMap*> nodes;
    for (CAttributeMap* const above : NodesOf(tree, m_branches[static_cast<std::size_t>(side)][key], side)) {
        for (int i = 0; i < above->Count(m_attributes[key]); ++i) {
            nodes.push_back(above->GetAttrMap(m_attributes[key], i));
        }
    }
    return nodes;
}

namespace {

/// A value of each key that there is; the phase moves all values on.
CAttributeMap const& TreeOfAllKeys(std::size_t phase)
{
    static std::map<std::size_t, CAttributeMap> trees;
    auto const [at, isNew] = trees.try_emplace(phase);
    if (isNew) {
        std::size_t number = phase;
        auto const add = [&, &tree = at->second](Key const* key) {
            auto const& values = PoolOf(key->kind).vordal;
            tree.Add(key->text, *values[number++ % values.size()], 0);
        };
        std::for_each(protocol::AllKeys().begin(), protocol::AllKeys().end(), add);
        std::for_each(protocol::SettingsKeys.begin(), protocol::SettingsKeys.end(), add);
    }
    return at->second;
}

} // namespace

CAttributeMap Study::BuildAmongOthers(std::size_t base, Cells const& cells, Side side, std::size_t phase,
                                      bool knowsSonar, std::set<std::wstring> const& written) const
{
    CAttributeMap tree = TreeOfAllKeys(phase);
    for (AttributeKey const& key : m_attributes) {
        tree.Remove(key);
    }
    for (std::wstring const& key : written) {
        tree.Remove(key);
    }
    for (Key const* const key : sonarKeys) {
        if (!knowsSonar) {
            tree.Remove(key->text);
        }
    }
    for (CAttributeMap const& child : Build(base, cells, side)) {
        tree.Append(child);
    }
    // What this handler reads below a branch of the table goes there.
    for (Nest const& nest : Nests()) {
        std::size_t const branch = IndexOf(*nest.branch);
        if (nest.handler != m_row.handler || (side == Side::Request && nest.inStoredAlone) || branch == m_keys.size()) {
            continue;
        }
        for (std::size_t i = 0; i < nest.below.size(); ++i) {
            Key const& key = *nest.below[i];
            auto const& values = PoolOf(key.kind).vordal;
            std::size_t number = phase + i;
            for (CAttributeMap* const node :
                 IndexOf(key) == m_keys.size() ? NodesOf(tree, branch, side) : std::vector<CAttributeMap*>()) {
                node->Add(key.text, *values[number++ % values.size()], 0);
            }
        }
    }
    return tree;
}

Case const& Study::Changed(std::size_t base, std::size_t key, Cell const& cell)
{
    Cells cells = BaseCells(base);
    cells[key] = cell;
    return Try(base, std::move(cells));
}

Facts const& Study::FactsOf(std::size_t key)
{
    if (m_facts[key]) {
        return *m_facts[key];
    }
    Facts facts;
    for (std::size_t base = 0; base < m_bases; ++base) {
        auto const at = [&](int request, int stored) -> Observation const& {
            Key const& changed = *m_keys[key];
            return Changed(base, key, {ChangeOf(request, base, changed), ChangeOf(stored, base, changed)}).observed;
        };
        auto const differ = [](Observation const& a, Observation const& b) { return a.Print() != b.Print(); };
        Observation const& none = at(-1, -1);
        facts.goesOnWithout = facts.goesOnWithout || none.Happened();
        facts.requestMatters = facts.requestMatters || differ(none, at(0, -1)) || differ(at(0, -1), at(1, -1)) ||
                               differ(at(-1, 0), at(0, 0));
        facts.storedMatters = facts.storedMatters || differ(none, at(-1, 0)) || differ(at(-1, 0), at(-1, 1));
        facts.besideMatters = facts.besideMatters || differ(at(0, -1), at(0, 0)) || differ(at(0, 0), at(0, 1));
    }
    for (std::size_t base = 0; base < writtenOutBases; ++base) {
        Cells cells = BaseCells(base);
        for (std::size_t k = 0; k < cells.size(); ++k) {
            if (k != key) {
                cells[k].request = {};
            }
        }
        facts.startsAlone = facts.startsAlone || Try(base, std::move(cells)).observed.Happened();
    }
    m_facts[key] = facts;
    return *m_facts[key];
}

std::vector<double> const& Study::AsGoodAsAbsent(std::size_t key, Side side)
{
    auto const [at, isNew] = m_asGoodAsAbsent.try_emplace({key, side});
    if (!isNew || !HasNumber(m_keys[key]->kind)) {
        return at->second;
    }
    bool matters = false;
    for (std::size_t v = 0; v < CountOfValues(*m_keys[key]); ++v) {
        bool isAsGood = true;
        for (std::size_t base = 0; base < m_bases; ++base) {
            Cell cell;
            std::uint64_t const absent = Changed(base, key, cell).observed.Print();
            cell.Of(side) = {Choice::Alike, static_cast<std::uint8_t>(v)};
            isAsGood = isAsGood && Changed(base, key, cell).observed.Print() == absent;
        }
        matters = matters || !isAsGood;
        if (isAsGood) {
            at->second.push_back(AsNumber(PoolOf(m_keys[key]->kind).values[v]).value_or(0.0));
        }
    }
    if (!matters) {
        at->second.clear();
    }
    return at->second;
}

Study::Found Study::Find(Case const& at, std::size_t key, Side side) const
{
    Found found;
    std::size_t const branch = m_branches[static_cast<std::size_t>(side)][key];
    if (branch != m_keys.size()) {
        Found const above = Find(at, branch, side);
        if (!above.isReadable) {
            return found;
        }
        found.isOne = above.isOne;
    }
    Choice const& choice = at.cells[key].Of(side);
    found.isThere = choice.kind != Choice::Absent;
    if (choice.kind != Choice::Alike && choice.kind != Choice::Varying) {
        return found;
    }
    // Of a branch there is nothing to read but what is below it.
    found.isReadable = m_keys[key]->kind != Kind::Any;
    found.value = &PoolOf(m_keys[key]->kind).values[choice.number];
    if (m_keys[key]->kind == Kind::Branch) {
        found.isOne = found.isOne && choice.number == 0;
    }
    return found;
}

std::int32_t Study::StoredNumber(Case const& at, Key const& key) const
{
    std::size_t const k = IndexOf(key);
    if (k == m_keys.size()) {
        return static_cast<std::int32_t>(AsNumber(SonarValue(at.base, key)).value_or(0.0));
    }
    Value const* const value = Find(at, k, Side::Stored).value;
    return value != nullptr ? static_cast<std::int32_t>(AsNumber(*value).value_or(0.0)) : 0;
}

} // namespace qx5::conformance
