// Names and arguments of the failures.
#include <simulator/misbehaviour.h>

#include <array>
#include <charconv>

namespace qx5::simulator {

namespace {

constexpr std::uint64_t GreatestDelay = 600000; // ms
constexpr std::uint64_t GreatestGarbage = 1U << 20;
constexpr std::uint64_t UsualGarbage = 37;
/// Larger than what follows, and still a size that a host takes from a sonar.
constexpr std::uint64_t UsualClaim = 8U << 20;
constexpr std::uint64_t UsualCollidingKeys = 10000;
constexpr std::uint64_t UsualDrip = 50; // ms

constexpr auto Names = std::to_array<MisbehaviourName>({
    {"drop-link", "[RECORDS]", "cut the link after so many records, or at once"},
    {"answer-late", "MILLISECONDS", "answer after that time"},
    {"refuse", "[close|not-listening]", "take no new connections"},
    {"garbage", "[BYTES]", "send bytes that are no frame before each frame"},
    {"split", "", "send byte by byte"},
    {"silent", "", "take everything, answer nothing"},
    {"half-frame", "", "send half of the next frame, then cut the link"},
    {"stall", "", "stop reading"},
    {"vanish", "", "acknowledge nothing and send nothing, as with a pulled cable"},
    {"lie-about-size", "[BYTES]", "send each third frame first with a size word that claims so much, 8 MiB"},
    {"flood", "KIND", "send as much of one kind as the line takes"},
    {"collide", "[KEYS]", "send a tree of keys with one hash, 10000, once on each connection"},
    {"slow-drip", "[MILLISECONDS]", "send byte by byte, each after that time, 50"},
});

bool ParseCount(std::string_view text, std::uint64_t greatest, std::uint64_t& count)
{
    auto const* const end = text.data() + text.size();
    auto const [at, error] = std::from_chars(text.data(), end, count);
    return error == std::errc() && at == end && count <= greatest;
}

std::string ListOfNames()
{
    std::string list;
    for (MisbehaviourName const& row : Names) {
        list += (list.empty() ? "" : ", ") + std::string(row.name);
    }
    return list;
}

} // namespace

std::span<MisbehaviourName const> MisbehaviourNames()
{
    return Names;
}

bool AddMisbehaviour(std::string_view name, std::string_view argument, Misbehaviour& current, bool& dropNow,
                     std::string& error)
{
    dropNow = false;
    std::uint64_t count = 0;
    auto const wants = [&](std::string_view what) {
        error = std::string(name) + " wants " + std::string(what);
        return false;
    };
    if (name == "drop-link") {
        if (argument.empty()) {
            dropNow = true;
            return true;
        }
        if (!ParseCount(argument, UINT64_MAX, count) || count == 0) {
            return wants("a number of records above 0");
        }
        current.recordsUntilDrop = count;
        return true;
    }
    if (name == "answer-late") {
        if (!ParseCount(argument, GreatestDelay, count)) {
            return wants("a number of milliseconds up to " + std::to_string(GreatestDelay));
        }
        current.answerLate = std::chrono::milliseconds(count);
        return true;
    }
    if (name == "refuse") {
        if (!argument.empty() && argument != "close" && argument != "not-listening") {
            return wants("'close' or 'not-listening'");
        }
        current.refusal = argument == "not-listening" ? Refusal::NotListening : Refusal::Close;
        return true;
    }
    if (name == "garbage") {
        count = UsualGarbage;
        if (!argument.empty() && (!ParseCount(argument, GreatestGarbage, count) || count == 0)) {
            return wants("a number of bytes from 1 to " + std::to_string(GreatestGarbage));
        }
        current.garbageBytes = static_cast<std::size_t>(count);
        return true;
    }
    if (name == "lie-about-size") {
        count = UsualClaim;
        if (!argument.empty() && !ParseCount(argument, UINT32_MAX, count)) {
            return wants("a number of bytes up to " + std::to_string(UINT32_MAX));
        }
        current.claimedSize = static_cast<std::uint32_t>(count);
        return true;
    }
    if (name == "flood") {
        auto const* const kind = FindFloodKind(argument);
        if (kind == nullptr) {
            return wants("one of: " + FloodKindNames());
        }
        current.flood = kind;
        return true;
    }
    if (name == "collide") {
        count = UsualCollidingKeys;
        if (!argument.empty() && (!ParseCount(argument, MaximumCollidingKeys, count) || count == 0)) {
            return wants("a number of keys from 1 to " + std::to_string(MaximumCollidingKeys));
        }
        current.collidingKeys = static_cast<std::size_t>(count);
        return true;
    }
    if (name == "slow-drip") {
        count = UsualDrip;
        if (!argument.empty() && (!ParseCount(argument, GreatestDelay, count) || count == 0)) {
            return wants("a number of milliseconds from 1 to " + std::to_string(GreatestDelay));
        }
        current.slowDrip = std::chrono::milliseconds(count);
        return true;
    }
    bool* const flag = name == "split"        ? &current.split
                       : name == "silent"     ? &current.silent
                       : name == "half-frame" ? &current.halfFrame
                       : name == "stall"      ? &current.stall
                       : name == "vanish"     ? &current.vanish
                                              : nullptr;
    if (flag == nullptr) {
        error =
            (name.empty() ? std::string("tell which failure: ") : "there is no failure '" + std::string(name) + "': ") +
            ListOfNames();
        return false;
    }
    if (!argument.empty()) {
        return wants("no argument");
    }
    *flag = true;
    return true;
}

std::string Describe(Misbehaviour const& current)
{
    std::string text;
    auto const add = [&text](std::string_view what) { text += (text.empty() ? "" : ", ") + std::string(what); };
    if (current.recordsUntilDrop) {
        add("drop-link after " + std::to_string(*current.recordsUntilDrop) + " records");
    }
    if (current.answerLate.count() > 0) {
        add("answer-late " + std::to_string(current.answerLate.count()) + " ms");
    }
    if (current.refusal != Refusal::None) {
        add(current.refusal == Refusal::Close ? "refuse close" : "refuse not-listening");
    }
    if (current.garbageBytes > 0) {
        add("garbage " + std::to_string(current.garbageBytes) + " bytes");
    }
    if (current.split) {
        add("split");
    }
    if (current.silent) {
        add("silent");
    }
    if (current.halfFrame) {
        add("half-frame");
    }
    if (current.stall) {
        add("stall");
    }
    if (current.vanish) {
        add("vanish");
    }
    if (current.claimedSize) {
        add("lie-about-size " + std::to_string(*current.claimedSize) + " bytes");
    }
    if (current.flood != nullptr) {
        add("flood " + std::string(current.flood->name));
    }
    if (current.collidingKeys > 0) {
        add("collide " + std::to_string(current.collidingKeys) + " keys");
    }
    if (current.slowDrip.count() > 0) {
        add("slow-drip " + std::to_string(current.slowDrip.count()) + " ms");
    }
    return text.empty() ? "none" : text;
}

} // namespace qx5::simulator
