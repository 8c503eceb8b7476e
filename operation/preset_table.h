// A preset beside what a sonar has, or beside another preset: what is equal, what differs, what can be asked for.
#pragma once

#include "preset.h"
#include "sonar_limits.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <array>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::operation {

/// How the two values of a key stand to one another.
enum class RowState : unsigned char
{
    Equal,     ///< as far as the wire carries them
    Different, ///< and the sonar tells nothing against the other value
    Beyond,    ///< different, and beyond the limits that the sonar tells, or no number that it can be given
    Unknown,   ///< no setting that this system knows
    Missing,   ///< one of the two does not have the key
};
inline constexpr std::array RowStates{RowState::Equal, RowState::Different, RowState::Beyond, RowState::Unknown,
                                      RowState::Missing};

/// "equal", "different", "beyond", "unknown", "missing".
std::string_view NameOf(RowState state);

struct PresetRow
{
    std::wstring key;
    protocol::Value now;  ///< none where it is missing
    protocol::Value then; ///< the same
    std::string unit;
    RowState state = RowState::Unknown;
};

/// Why a row that differs cannot be ticked among those that are asked for without more ado, in a few words; empty for
/// one that can be, and for one that is equal.
std::string_view WhyNotTicked(PresetRow const& row);

/// A value as a table shows it, "-" for none.
std::string ShownValue(protocol::Value const& value);

/// What is compared: settings, and the tree of the sonar that has them, if that runs.
struct PresetSide
{
    Preset preset;
    std::optional<CAttributeMap> tree = {};
};

/// A value; any thread.
class PresetTable
{
public:
    /// What the sonar with that tree has now beside what it would have with the preset: a row for each setting of the
    /// preset, in its order.
    static PresetTable ForSonar(CAttributeMap const& tree, Preset const& then);

    /// One preset beside another: a row for each setting of `then`, in its order, then one for each that only `now`
    /// has. `limits` are those of the sonar that has `now`, where there is one.
    static PresetTable Between(Preset const& now, Preset const& then, SonarLimits const& limits = {});
    /// The same, with the limits of the first where that is a sonar.
    static PresetTable Between(PresetSide const& now, PresetSide const& then);

    std::vector<PresetRow> const& Rows() const { return m_rows; }
    std::size_t Count(RowState state) const;
    /// "129 equal, 3 different, 0 beyond, 0 unknown, 0 missing"
    std::string CountsText() const;
    /// Whether the sonar has what the preset says; of a key that is no setting nobody can tell.
    bool IsAsPreset() const;
    /// Whether either side has all that the other has, also of keys that are no settings.
    bool IsSameOnBothSides() const;
    /// Keeps the rows of these keys alone; gives those of them that the table has not.
    std::vector<std::wstring> KeepOnly(std::vector<std::wstring> const& keys);

    /// Whether the row can go out in a request: its value differs, its key is a setting that the sonar tells, and what
    /// is beyond the limits is a number all the same.
    static bool CanBeAsked(PresetRow const& row);

    /// The request for the rows that `isTicked` is true of, of those that can be asked. What a command needs beside
    /// them goes with them as the sonar has it, as the preset has it where the sonar tells none. Without children when
    /// nothing is to be asked.
    CAttributeMap Request(std::function<bool(PresetRow const&)> const& isTicked) const;

private:
    enum class Extent
    {
        Then, ///< rows of `then` alone
        Both,
    };
    static PresetTable Of(Preset const& now, Preset const& then, SonarLimits const& limits, Extent extent);

    std::vector<PresetRow> m_rows;
    std::map<std::wstring, protocol::Value, std::less<>> m_others; ///< settings of the sonar that need no row
};

} // namespace qx5::operation
