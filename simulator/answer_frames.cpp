// The frames in which the heads of the simulated sonar speak.
#include <simulator/answer_frames.h>

#include <cstddef>
#include <numeric>

#include <protocol/settings_keys.h>

namespace qx5::simulator {

using protocol::TreeNode;

AnswerFrames::AnswerFrames(SonarState const& state) : m_state(state), m_heads(static_cast<std::size_t>(state.Heads()))
{
    std::iota(m_heads.begin(), m_heads.end(), 0);
}

std::span<std::int32_t const> AnswerFrames::HeadsAt(protocol::Target target) const
{
    if (m_heads.size() == 1 || target.deviceId != model::DeviceId || target.enumerator < 0) {
        return m_heads;
    }
    auto const head = static_cast<std::size_t>(target.enumerator);
    return head < m_heads.size() ? Heads().subspan(head, 1) : std::span<std::int32_t const>();
}

// Of several heads each says who it is; a single one is the operation mode that it is in. For the rest they have the
// same to tell.
std::int32_t AnswerFrames::EnumeratorOf(std::int32_t head) const
{
    return m_heads.size() == 1 ? m_state.IntOf(protocol::keys::DeviceEnum) : head;
}

SharedBytes AnswerFrames::Tree(std::vector<TreeNode> nodes, std::int32_t head, std::string& error) const
{
    if (m_heads.size() > 1) {
        for (TreeNode& node : nodes) {
            if (node.key == protocol::keys::DeviceEnum.text) {
                node.value = head;
            }
        }
    }
    auto const payload = protocol::EncodeTree(nodes, error);
    return payload ? Record(protocol::records::AttributeTree.Id(), *payload, head) : SharedBytes();
}

SharedBytes AnswerFrames::Record(std::uint32_t id, std::span<unsigned char const> payload, std::int32_t head) const
{
    return std::make_shared<std::vector<unsigned char> const>(
        protocol::BuildFrame(id, SourceOf(head), m_state.UtcSeconds(), payload));
}

} // namespace qx5::simulator
