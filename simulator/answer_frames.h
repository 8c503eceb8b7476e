// The frames in which the heads of the simulated sonar speak.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include <protocol/frame.h>
#include <protocol/tree_codec.h>
#include <simulator/sonar_state.h>

namespace qx5::simulator {

using SharedBytes = std::shared_ptr<std::vector<unsigned char> const>;

/// Sonar's thread alone.
class AnswerFrames
{
public:
    /// The state is the sonar's.
    explicit AnswerFrames(SonarState const& state);

    /// The numbers of all heads, from 0.
    std::span<std::int32_t const> Heads() const { return m_heads; }
    /// A frame that is for one of several heads names it, any other is for all; none: the sonar has no such head.
    std::span<std::int32_t const> HeadsAt(protocol::Target target) const;
    /// Whom its frames are from.
    protocol::Target SourceOf(std::int32_t head) const { return {model::DeviceId, EnumeratorOf(head)}; }
    /// What the head tells; null, and one line in `error`, when it cannot be sent.
    SharedBytes Tree(std::vector<protocol::TreeNode> nodes, std::int32_t head, std::string& error) const;
    SharedBytes Record(std::uint32_t id, std::span<unsigned char const> payload, std::int32_t head) const;

private:
    std::int32_t EnumeratorOf(std::int32_t head) const;

    SonarState const& m_state;
    std::vector<std::int32_t> m_heads;
};

} // namespace qx5::simulator
