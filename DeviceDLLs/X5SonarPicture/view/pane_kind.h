// The pictures that there are, each a display of its own.
#pragma once

#include <array>

namespace picture {

enum class PaneKind
{
    Fan,
    Waterfall,
    Profile,
    Map,
    Beam,
};
inline constexpr std::array<PaneKind, 5> allPanes{PaneKind::Fan, PaneKind::Waterfall, PaneKind::Profile, PaneKind::Map,
                                                  PaneKind::Beam};

/// The display's name, by which the host knows its view and its template.
constexpr char const* NameOf(PaneKind kind)
{
    switch (kind) {
    case PaneKind::Fan:
        return "X5 Fan";
    case PaneKind::Waterfall:
        return "X5 Waterfall";
    case PaneKind::Profile:
        return "X5 Profile";
    case PaneKind::Map:
        return "X5 Map";
    case PaneKind::Beam:
        break;
    }
    return "X5 Trace";
}

} // namespace picture
