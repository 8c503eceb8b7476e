// A device on which the handlers of the chain run one by one, and what is seen of each.
#pragma once

#include "one_sonar.h"

#include <commands/command.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::conformance {

/// One record that left.
struct Sent
{
    protocol::Carrier carrier;
    std::uint32_t record;
    Target target;
    std::string payload;

    friend bool operator==(Sent const&, Sent const&) = default;
};

/// One record that was asked for.
struct Asked
{
    std::uint32_t record;
    Target target;

    friend bool operator==(Asked const&, Asked const&) = default;
};

struct Told
{
    int flags;
    CAttributeMap tree;
};

/// What one request to one handler came to. Drops do not count: no table tells of them.
struct Observation
{
    std::vector<Sent> sent;
    std::vector<Asked> asked;
    std::vector<Told> told;
    /// Operations at the port, keys written into the request, what the open target file was told.
    std::vector<std::string> others;
    std::set<std::wstring> written; ///< the keys among these that were written into the request
    std::string order;              ///< of all that, one letter each
    bool threw = false;

    bool Happened() const { return !order.empty(); }
    /// The same for observations in which the same happened in the same order.
    std::uint64_t Print() const;

private:
    mutable std::optional<std::uint64_t> m_print;
};

/// What a handler finds beside request and tree.
struct Surroundings
{
    bool sonarPort = true; ///< the device's port is a sonar's; otherwise it has none
    bool playback = false; ///< a file is played back there
    bool isOperator = true;
    bool loggerRuns = true;
};

/// A device on which handlers run one by one. Its id is that of the satellite positioning unit: what handlers take from
/// the unit's tree stands in the device's stored tree.
class Bench final : public OneSonar
{
public:
    Bench();
    ~Bench() override;

    /// Runs the handler of that row, from 1, and of no other.
    Observation Observe(int row, Surroundings const& surroundings, CAttributeMap const& request,
                        CAttributeMap const& stored);

private:
    class Watch;

    void TestBody() override {}

    std::unique_ptr<Watch> m_watch;
};

// For people.
std::string Text(std::wstring_view text);
std::string Text(protocol::Key const& key);
std::string Text(Sent const& sent);
std::string Text(Asked const& asked);

} // namespace qx5::conformance
