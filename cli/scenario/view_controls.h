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
    int id = 0;
    std::string_view name; ///< the name of the control's widget
    ControlKind kind = ControlKind::Label;
};

/// The name of the tab strip's widget, which stands on no page.
inline constexpr std::string_view tabStripName = "tabs";

// The pages in the order of their tabs, the rows of one page together.
// clang-format off
inline constexpr ViewControl viewControls[] = {
    {"settings", 28077, "operationModeCaption", ControlKind::Label},
    {"settings", 28076, "operationModeList", ControlKind::List},
    {"settings", 16934, "rangeCaption", ControlKind::Label},
    {"settings", 16926, "rangeSlider", ControlKind::Slider},
    {"settings", 16940, "rangeValue", ControlKind::Label},
    {"settings", 16937, "rangeLeast", ControlKind::Label},
    {"settings", 16936, "rangeGreatest", ControlKind::Label},
    {"settings", 16935, "powerCaption", ControlKind::Label},
    {"settings", 16927, "powerSlider", ControlKind::Slider},
    {"settings", 16941, "powerValue", ControlKind::Label},
    {"settings", 16938, "powerLeast", ControlKind::Label},
    {"settings", 16939, "powerGreatest", ControlKind::Label},
    {"settings", 16951, "pingRateCaption", ControlKind::Label},
    {"settings", 16928, "pingRateSlider", ControlKind::Slider},
    {"settings", 16952, "pingRateValue", ControlKind::Label},
    {"settings", 16949, "pingRateLeast", ControlKind::Label},
    {"settings", 16950, "pingRateGreatest", ControlKind::Label},
    {"settings", 16929, "gainSlider", ControlKind::Slider},
    {"settings", 16957, "gainValue", ControlKind::Label},
    {"settings", 16958, "gainLeast", ControlKind::Label},
    {"settings", 16959, "gainGreatest", ControlKind::Label},
    {"settings", 28089, "gainModeCaption", ControlKind::Label},
    {"settings", 28090, "timeVariedGainButton", ControlKind::RadioButton},
    {"settings", 28091, "fixedGainButton", ControlKind::RadioButton},
    {"settings", 16942, "pulseLengthCaption", ControlKind::Label},
    {"settings", 16931, "pulseLengthSlider", ControlKind::Slider},
    {"settings", 16945, "pulseLengthValue", ControlKind::Label},
    {"settings", 16943, "pulseLengthLeast", ControlKind::Label},
    {"settings", 16944, "pulseLengthGreatest", ControlKind::Label},
    {"settings", 28087, "pulseTypeCaption", ControlKind::Label},
    {"settings", 28088, "pulseTypeList", ControlKind::List},
    {"settings", 28110, "gatesCaption", ControlKind::Label},
    {"settings", 28107, "depthGateButton", ControlKind::ToggleButton},
    {"settings", 28108, "rangeGateButton", ControlKind::ToggleButton},
    {"settings", 28109, "adaptiveGateButton", ControlKind::ToggleButton},
    {"settings", 16947, "beamWidthCaption", ControlKind::Label},
    {"settings", 16930, "beamWidthSlider", ControlKind::Slider},
    {"settings", 16946, "beamWidthValue", ControlKind::Label},
    {"settings", 16948, "beamWidthLeast", ControlKind::Label},
    {"settings", 16933, "beamWidthGreatest", ControlKind::Label},
    {"settings", 16954, "verticalSteeringCaption", ControlKind::Label},
    {"settings", 16932, "verticalSteeringSlider", ControlKind::Slider},
    {"settings", 16953, "verticalSteeringValue", ControlKind::Label},
    {"settings", 16955, "verticalSteeringLeast", ControlKind::Label},
    {"settings", 16956, "verticalSteeringGreatest", ControlKind::Label},
    {"settings", 28128, "pingOnlyWhenScanningBox", ControlKind::CheckBox},

    {"gates", 28111, "useDepthGateBox", ControlKind::CheckBox},
    {"gates", 28112, "minDepthField", ControlKind::TextField},
    {"gates", 28113, "maxDepthField", ControlKind::TextField},
    {"gates", 28125, "tiltSlider", ControlKind::Slider},
    {"gates", 28123, "tiltValue", ControlKind::Label},
    {"gates", 28114, "useRangeGateBox", ControlKind::CheckBox},
    {"gates", 28115, "minRangeField", ControlKind::TextField},
    {"gates", 28116, "maxRangeField", ControlKind::TextField},
    {"gates", 28117, "useAdaptiveGateBox", ControlKind::CheckBox},
    {"gates", 28118, "minSearchDepthField", ControlKind::TextField},
    {"gates", 28119, "maxSearchDepthField", ControlKind::TextField},
    {"gates", 28120, "followSeafloorBox", ControlKind::CheckBox},
    {"gates", 28100, "windowSizeSlider", ControlKind::Slider},
    {"gates", 28124, "windowSizeValue", ControlKind::Label},
    {"gates", 28126, "windowSizeLeast", ControlKind::Label},
    {"gates", 28127, "windowSizeGreatest", ControlKind::Label},
    {"gates", 28122, "applyButton", ControlKind::Button},

    {"ocean", 16920, "absorptionSlider", ControlKind::Slider},
    {"ocean", 16924, "absorptionValue", ControlKind::Label},
    {"ocean", 28131, "absorptionGreatest", ControlKind::Label},
    {"ocean", 16922, "spreadingSlider", ControlKind::Slider},
    {"ocean", 16925, "spreadingValue", ControlKind::Label},
    {"ocean", 28132, "spreadingGreatest", ControlKind::Label},
    {"ocean", 16921, "soundVelocitySlider", ControlKind::Slider},
    {"ocean", 16923, "soundVelocityValue", ControlKind::Label},
    {"ocean", 28129, "soundVelocityLeast", ControlKind::Label},
    {"ocean", 28130, "soundVelocityGreatest", ControlKind::Label},
    {"ocean", 28092, "overrideSoundVelocityBox", ControlKind::CheckBox},
    {"ocean", 28106, "soundVelocityFilterCaption", ControlKind::Label},
    {"ocean", 28105, "soundVelocityFilterList", ControlKind::List},

    {"recording", 28079, "synchronizeBox", ControlKind::CheckBox},
    {"recording", 28080, "startButton", ControlKind::Button},
    {"recording", 28081, "stopButton", ControlKind::Button},
    {"recording", 28082, "recordingModeField", ControlKind::ReadOnlyText},
    {"recording", 28083, "directoryField", ControlKind::ReadOnlyText},
    {"recording", 28084, "fileNameField", ControlKind::ReadOnlyText},
    {"recording", 28085, "fileSizeField", ControlKind::ReadOnlyText},
    {"recording", 28086, "freeSpaceField", ControlKind::ReadOnlyText},

    {"steering", 28093, "routeSteeringBox", ControlKind::CheckBox},
    {"steering", 28103, "pipeSteeringBox", ControlKind::CheckBox},
    {"steering", 28094, "activeRouteButton", ControlKind::RadioButton},
    {"steering", 28095, "localRouteButton", ControlKind::RadioButton},
    {"steering", 28096, "routeList", ControlKind::List},
    {"steering", 28097, "horizontalButton", ControlKind::RadioButton},
    {"steering", 28098, "flexButton", ControlKind::RadioButton},
    {"steering", 28099, "differenceSlider", ControlKind::Slider},
    {"steering", 28100, "differenceValue", ControlKind::Label},
    {"steering", 28101, "delaySlider", ControlKind::Slider},
    {"steering", 28102, "delayValue", ControlKind::Label},

    {"tracker", 28133, "enableTrackerBox", ControlKind::CheckBox},
    {"tracker", 28134, "trackRangeBox", ControlKind::CheckBox},
    {"tracker", 28135, "trackPowerAndGainBox", ControlKind::CheckBox},
    {"tracker", 28136, "trackPulseLengthBox", ControlKind::CheckBox},
    {"tracker", 28137, "trackCoverageBox", ControlKind::CheckBox},
    {"tracker", 28138, "fixedSwathBox", ControlKind::CheckBox},
    {"tracker", 28140, "swathWidthField", ControlKind::TextField},
    {"tracker", 28139, "limitCoverageBox", ControlKind::CheckBox},
    {"tracker", 28141, "maxCoverageField", ControlKind::TextField},
    {"tracker", 28122, "applyButton", ControlKind::Button},
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
