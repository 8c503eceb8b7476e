// What an outbox keeps and sends: numbered entries, and the numbers of those that gave way.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace qx5::outbox {

/// Why an outbox or an archive cannot be opened, read or written, in one line that names the file.
class OutboxError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// What an entry is, the least important first: of a full outbox the oldest of the least important kind give way.
/// Values are many, and the next one says nearly the same. An event is told where it happened, too. A result somebody
/// waits for. What was done to a sonar, and by whom, must be known at the end of the day. Files hold the numbers.
enum class Kind : std::uint8_t
{
    Value = 0,
    Event = 1,
    Result = 2,
    Action = 3,
};
inline constexpr std::size_t KindCount = 4;
/// "value", "event", "result", "action".
std::string_view ToText(Kind kind);

/// One entry; or, without a kind, a gap: entries that gave way or were acknowledged before, and will not come.
struct Item
{
    std::uint64_t number = 0; ///< from 1, without a gap in an outbox that never was full
    std::uint64_t last = 0;   ///< of a gap its last number; of an entry the same as `number`
    std::optional<Kind> kind;
    std::string payload; ///< any bytes

    bool operator==(Item const&) const = default;
};

} // namespace qx5::outbox
