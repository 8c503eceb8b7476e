// The controls of the view's pages: where each stands, its number, and what kind of control it is.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <stdexcept>
#include <string_view>

namespace qx5::cli {

/// What a control is, and with that which steps it takes and what is told of it.
enum class ControlKind
{
    Label,
    ReadOnlyText,
    Button,
    CheckBox,
    RadioButton,
    ToggleButton,
    TextField,
    Slider,
    List,
};

/// "a label", "a slider": for messages.
constexpr std::string_view NameOf(ControlKind kind)
{
    constexpr std::array<std::string_view, 9> names{"a label",      "a read-only text", "a button",
                                                    "a check box",  "a radio button",   "a toggle button",
                                                    "a text field", "a slider",         "a list"};
    return names[static_cast<std::size_t>(kind)];
}

struct ViewControl
{
    std::string_view page; ///< the name of the page's widget
    int id = 0;            ///< the control's widget is named "id" and this number
    ControlKind kind = ControlKind::Label;
};

/// The number of the tab strip, which stands on no page.
inline constexpr int tabStripControl = 28075;

// The pages in the order of their tabs, the rows of one page together.
// clang-format off
inline constexpr ViewControl viewControls[] = {
    {"settings", 28077, ControlKind::Label},        // "Operation mode:"
    {"settings", 28076, ControlKind::List},
    {"settings", 16934, ControlKind::Label},        // "Range:"
    {"settings", 16926, ControlKind::Slider},
    {"settings", 16940, ControlKind::Label},
    {"settings", 16937, ControlKind::Label},
    {"settings", 16936, ControlKind::Label},
    {"settings", 16935, ControlKind::Label},        // "Power:"
    {"settings", 16927, ControlKind::Slider},
    {"settings", 16941, ControlKind::Label},
    {"settings", 16938, ControlKind::Label},
    {"settings", 16939, ControlKind::Label},
    {"settings", 16951, ControlKind::Label},        // "Max. ping rate:"
    {"settings", 16928, ControlKind::Slider},
    {"settings", 16952, ControlKind::Label},
    {"settings", 16949, ControlKind::Label},
    {"settings", 16950, ControlKind::Label},
    {"settings", 16929, ControlKind::Slider},       // gain
    {"settings", 16957, ControlKind::Label},
    {"settings", 16958, ControlKind::Label},
    {"settings", 16959, ControlKind::Label},
    {"settings", 28089, ControlKind::Label},        // "Gain mode:"
    {"settings", 28090, ControlKind::RadioButton},
    {"settings", 28091, ControlKind::RadioButton},
    {"settings", 16942, ControlKind::Label},        // "Pulse length:"
    {"settings", 16931, ControlKind::Slider},
    {"settings", 16945, ControlKind::Label},
    {"settings", 16943, ControlKind::Label},
    {"settings", 16944, ControlKind::Label},
    {"settings", 28087, ControlKind::Label},        // "Pulse type:"
    {"settings", 28088, ControlKind::List},
    {"settings", 28110, ControlKind::Label},        // "Gates:"
    {"settings", 28107, ControlKind::ToggleButton},
    {"settings", 28108, ControlKind::ToggleButton},
    {"settings", 28109, ControlKind::ToggleButton},
    {"settings", 16947, ControlKind::Label},        // "Beam width:"
    {"settings", 16930, ControlKind::Slider},
    {"settings", 16946, ControlKind::Label},
    {"settings", 16948, ControlKind::Label},
    {"settings", 16933, ControlKind::Label},
    {"settings", 16954, ControlKind::Label},        // "Vertical steering:"
    {"settings", 16932, ControlKind::Slider},
    {"settings", 16953, ControlKind::Label},
    {"settings", 16955, ControlKind::Label},
    {"settings", 16956, ControlKind::Label},
    {"settings", 28128, ControlKind::CheckBox},     // "Ping only when scanning"

    {"gates", 28111, ControlKind::CheckBox},        // "Use depth gate"
    {"gates", 28112, ControlKind::TextField},
    {"gates", 28113, ControlKind::TextField},
    {"gates", 28125, ControlKind::Slider},          // tilt
    {"gates", 28123, ControlKind::Label},
    {"gates", 28114, ControlKind::CheckBox},        // "Use range gate"
    {"gates", 28115, ControlKind::TextField},
    {"gates", 28116, ControlKind::TextField},
    {"gates", 28117, ControlKind::CheckBox},        // "Use adaptive gate"
    {"gates", 28118, ControlKind::TextField},
    {"gates", 28119, ControlKind::TextField},
    {"gates", 28120, ControlKind::CheckBox},        // "Follow seafloor"
    {"gates", 28100, ControlKind::Slider},          // window size
    {"gates", 28124, ControlKind::Label},
    {"gates", 28126, ControlKind::Label},
    {"gates", 28127, ControlKind::Label},
    {"gates", 28122, ControlKind::Button},          // "Apply"

    {"ocean", 16920, ControlKind::Slider},          // absorption
    {"ocean", 16924, ControlKind::Label},
    {"ocean", 28131, ControlKind::Label},
    {"ocean", 16922, ControlKind::Slider},          // spreading
    {"ocean", 16925, ControlKind::Label},
    {"ocean", 28132, ControlKind::Label},
    {"ocean", 16921, ControlKind::Slider},          // sound velocity
    {"ocean", 16923, ControlKind::Label},
    {"ocean", 28129, ControlKind::Label},
    {"ocean", 28130, ControlKind::Label},
    {"ocean", 28092, ControlKind::CheckBox},        // "Override sound velocity"
    {"ocean", 28106, ControlKind::Label},           // "Sound velocity filter:"
    {"ocean", 28105, ControlKind::List},

    {"recording", 28079, ControlKind::CheckBox},    // "Synchronize with main logging"
    {"recording", 28080, ControlKind::Button},      // "Start"
    {"recording", 28081, ControlKind::Button},      // "Stop"
    {"recording", 28082, ControlKind::ReadOnlyText},
    {"recording", 28083, ControlKind::ReadOnlyText},
    {"recording", 28084, ControlKind::ReadOnlyText},
    {"recording", 28085, ControlKind::ReadOnlyText},
    {"recording", 28086, ControlKind::ReadOnlyText},

    {"steering", 28093, ControlKind::CheckBox},     // "Enable route steering"
    {"steering", 28103, ControlKind::CheckBox},     // "Enable pipe steering"
    {"steering", 28094, ControlKind::RadioButton},
    {"steering", 28095, ControlKind::RadioButton},
    {"steering", 28096, ControlKind::List},         // routes
    {"steering", 28097, ControlKind::RadioButton},
    {"steering", 28098, ControlKind::RadioButton},
    {"steering", 28099, ControlKind::Slider},       // difference
    {"steering", 28100, ControlKind::Label},
    {"steering", 28101, ControlKind::Slider},       // delay
    {"steering", 28102, ControlKind::Label},

    {"tracker", 28133, ControlKind::CheckBox},      // "Enable tracker"
    {"tracker", 28134, ControlKind::CheckBox},
    {"tracker", 28135, ControlKind::CheckBox},
    {"tracker", 28136, ControlKind::CheckBox},
    {"tracker", 28137, ControlKind::CheckBox},      // coverage angle
    {"tracker", 28138, ControlKind::CheckBox},
    {"tracker", 28140, ControlKind::TextField},
    {"tracker", 28139, ControlKind::CheckBox},
    {"tracker", 28141, ControlKind::TextField},
    {"tracker", 28122, ControlKind::Button},        // "Apply"
};
// clang-format on

namespace detail {

/// Whether a page's rows begin there.
constexpr bool BeginsPage(std::size_t row)
{
    return row == 0 || viewControls[row].page != viewControls[row - 1].page;
}

constexpr std::size_t CountPages()
{
    std::size_t count = 0;
    for (std::size_t row = 0; row < std::size(viewControls); ++row) {
        count += BeginsPage(row) ? 1U : 0U;
    }
    return count;
}

} // namespace detail

/// The pages that have controls, in the order of their tabs.
inline constexpr auto viewPages = [] {
    std::array<std::string_view, detail::CountPages()> pages;
    std::size_t count = 0;
    for (std::size_t row = 0; row < std::size(viewControls); ++row) {
        if (detail::BeginsPage(row)) {
            if (std::find(pages.begin(), pages.end(), viewControls[row].page) != pages.end()) {
                throw std::logic_error("the rows of a page do not stand together");
            }
            pages[count++] = viewControls[row].page;
        }
    }
    return pages;
}();

/// Null when the page has no such control.
constexpr ViewControl const* FindViewControl(std::string_view page, int id)
{
    auto const* const found = std::find_if(std::begin(viewControls), std::end(viewControls),
                                           [&](ViewControl const& each) { return each.page == page && each.id == id; });
    return found != std::end(viewControls) ? found : nullptr;
}

} // namespace qx5::cli
