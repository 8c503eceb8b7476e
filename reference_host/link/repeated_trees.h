// Trees that the sonars on one connection tell again and again, decoded once.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/Export.h>

#include <protocol/frame.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vordal {

/// Decodes as DecodeTree does, and gives the tree of last time, shared, for the bytes of last time. Of each sonar it
/// remembers one tree for each size: what a sonar tells in turn is mostly of several sizes. One thread at a time.
class VORDAL_API RepeatedTrees
{
public:
    /// What is remembered takes no more memory than this, by the estimate of Decoded::size, nor is it of more trees.
    static constexpr std::size_t GreatestSize = std::size_t{4} << 20;
    static constexpr std::size_t GreatestCount = 16;

    struct Decoded
    {
        CAttributeMap tree;
        std::size_t size = 0;     ///< bytes of memory, about
        std::uint64_t number = 0; ///< in the process no other tree has it
    };

    /// Nothing, and why and where in `error`, for bytes that are not exactly one tree of the link.
    std::optional<Decoded> Decode(qx5::protocol::Target from, std::span<unsigned char const> bytes, std::string& error);

private:
    struct Remembered
    {
        qx5::protocol::Target from;
        std::vector<unsigned char> bytes;
        Decoded decoded;
    };

    void Remember(qx5::protocol::Target from, std::span<unsigned char const> bytes, Decoded const& decoded);

    std::vector<Remembered> m_remembered; ///< the one that was told last stands last
    std::size_t m_size = 0;
};

} // namespace vordal
