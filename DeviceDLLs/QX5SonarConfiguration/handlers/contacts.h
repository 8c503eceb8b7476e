// What a change of the selected sonar contact sends.
#pragma once

#include <cstdint>
#include <span>
#include <vordalhostdllR/SonarTarget.h>

namespace qx5 {

/// The records of one change, in sending order: the contact, then its image.
struct ContactOutput
{
    bool contact = false;
    enum class Image : std::uint8_t
    {
        Never,
        WhenEnabled, ///< while the host has the output of images switched on
        Always,
    } image = Image::Never;
};

/// Nothing for a code that means nothing to the sonar.
constexpr ContactOutput OutputOf(std::uint32_t changeCode)
{
    using Image = ContactOutput::Image;
    switch (changeCode) {
    case SONAR_TARGET_SEL_INFO::Created:
    case SONAR_TARGET_SEL_INFO::Changed:
        return {true, Image::WhenEnabled};
    case SONAR_TARGET_SEL_INFO::Deleted:
        return {true, Image::Never};
    case SONAR_TARGET_SEL_INFO::ImageMade:
        return {false, Image::WhenEnabled};
    case SONAR_TARGET_SEL_INFO::ChangedWithImage:
        return {true, Image::Always};
    default:
        return {};
    }
}

/// The state of a contact on the wire.
enum class ContactStateCode : std::uint32_t
{
    New = 0,
    Updated = 1,
    Deleted = 2,
};

/// The payload of a contact record, zero before it is filled.
using R3001 = std::span<unsigned char>;

} // namespace qx5
