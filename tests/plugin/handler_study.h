// How one handler answers when certain keys come and go in its request and in the device's tree.
#pragma once

#include "handler_bench.h"

#include <commands/catalogue.h>

#include <protocol/value.h>

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace qx5::conformance {

/// Where a key is put.
enum class Side : std::uint8_t
{
    Request,
    Stored,
};

/// A key of a generated request or tree.
struct Choice
{
    enum Kind : std::uint8_t
    {
        Absent,
        Wrong,   ///< there, with a value of another kind
        Alike,   ///< the value of that number, the same wherever the key occurs
        Varying, ///< the value of that number, another one at each occurrence
    } kind = Absent;
    std::uint8_t number = 0;

    friend auto operator<=>(Choice const&, Choice const&) = default;
};

/// What is chosen for a key on either side.
struct Cell
{
    Choice request;
    Choice stored;

    Choice& Of(Side side) { return side == Side::Request ? request : stored; }
    Choice const& Of(Side side) const { return side == Side::Request ? request : stored; }
    friend auto operator<=>(Cell const&, Cell const&) = default;
};

/// One request with its stored tree, and what the handler made of it.
struct Case
{
    std::size_t base;
    std::vector<Cell> cells; ///< by the study's keys
    Observation observed;
};

/// What a key is found to do.
struct Facts
{
    bool requestMatters = false; ///< whether the request has it, or with which value
    bool storedMatters = false;  ///< the same of the stored tree, while the request does not have it
    bool besideMatters = false;  ///< the same while the request has it
    bool goesOnWithout = false;  ///< something happens though it is nowhere
    bool startsAlone = false;    ///< something happens when the request has nothing else
};

/// How one row's handler answers when certain keys come and go. What it observes depends on the row and the keys alone,
/// not on what a table tells of them, so that tables of the same keys share a study.
class Study
{
public:
    /// The keys as a table names them.
    Study(Bench& bench, ChainEntry const& row, std::vector<protocol::Key const*> keys);

    ChainEntry const& Row() const { return m_row; }
    std::vector<protocol::Key const*> const& Keys() const { return m_keys; }
    std::size_t IndexOf(protocol::Key const& key) const;
    /// The key that this one stands below on that side, or null.
    protocol::Key const* BranchOf(std::size_t key, Side side) const;

    /// The cases by number, null behind the last: bases in which many keys are there, and each base with one key
    /// changed on both sides.
    Case const* At(std::size_t number);
    /// Whether keys that are none of the study's make a difference. Without `knowsSonar` those by which a sonar's frame
    /// is addressed are left out.
    bool OthersMatter(bool knowsSonar);
    Facts const& FactsOf(std::size_t key);
    /// The numbers that, on that side, are as good as the absent key in all cases; none when every number is.
    std::vector<double> const& AsGoodAsAbsent(std::size_t key, Side side);

    /// What the case has of a key.
    struct Found
    {
        bool isThere = false;
        bool isReadable = false;
        bool isOne = true;                      ///< it occurs no more than once
        protocol::Value const* value = nullptr; ///< of static storage; null where nothing is readable
    };
    Found Find(Case const& at, std::size_t key, Side side) const;
    /// A number or truth of the stored tree's root, whether a key of the study or not.
    std::int32_t StoredNumber(Case const& at, protocol::Key const& key) const;

    static Surroundings const& SurroundingsOf(std::size_t base);

private:
    using Cells = std::vector<Cell>;

    /// One planned case: what becomes of a key of a base.
    struct Step
    {
        std::size_t base;
        std::size_t key; ///< the number of keys: none
        int request;
        int stored;
        bool alone = false; ///< the request has nothing else
    };

    void Plan();
    Case const& Try(std::size_t base, Cells cells);
    Cells BaseCells(std::size_t base) const;
    Case const& Changed(std::size_t base, std::size_t key, Cell const& cell);
    CAttributeMap Build(std::size_t base, Cells const& cells, Side side) const;
    void Fill(CAttributeMap& node, std::size_t branch, Cells const& cells, Side side, unsigned occurrence) const;
    /// The nodes of that key, or the tree itself for the number of keys.
    std::vector<CAttributeMap*> NodesOf(CAttributeMap& tree, std::size_t key, Side side) const;
    /// Among one value each of all keys that are not the study's nor `written`; the phase moves these values on.
    CAttributeMap BuildAmongOthers(std::size_t base, Cells const& cells, Side side, std::size_t phase, bool knowsSonar,
                                   std::set<std::wstring> const& written) const;

    Bench& m_bench;
    ChainEntry const& m_row;
    std::vector<protocol::Key const*> m_keys;
    std::vector<AttributeKey> m_attributes;
    std::array<std::vector<std::size_t>, 2> m_branches; ///< by side and key; the number of keys: the root
    std::size_t m_bases;
    std::map<std::pair<std::size_t, Cells>, std::size_t> m_known;
    std::deque<Case> m_cases;
    std::vector<std::optional<Facts>> m_facts;
    std::map<std::pair<std::size_t, Side>, std::vector<double>> m_asGoodAsAbsent;
    std::array<std::optional<bool>, 2> m_othersMatter;
    std::vector<Step> m_plan;
};

} // namespace qx5::conformance
