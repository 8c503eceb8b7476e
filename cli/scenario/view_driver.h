// Opens the plug-in's view without a window, acts on its controls as an operator does, and tells how they stand.
#pragma once

#include "cli/scenario/scenario_model.h"
#include "json/json_value.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace vordal {
class Host;
}

namespace qx5::cli {

/// One view at a time, never shown on a screen. Needs an inline host, whose window thread is the one that made the
/// driver; the application object of the toolkit is made with it when the process has none. What acts on a control does
/// nothing without a view, on a removed display, and on a control that is hidden or disabled. The driver goes before
/// devices and plug-in do.
class ViewDriver
{
public:
    explicit ViewDriver(vordal::Host& host);
    ViewDriver(ViewDriver const&) = delete;
    ViewDriver& operator=(ViewDriver const&) = delete;
    ~ViewDriver();

    /// Destroys the view that is open and opens one of that class. `stored` is what an earlier view stored as its
    /// device. When there is no such view the answer is false, and `reason` one line that says so.
    bool Open(CString const& viewClass, std::optional<CDataId> const& stored,
              std::optional<std::pair<int, int>> const& size, std::string& reason);
    void Close();

    void PickTab(int index);
    /// `position` is meant where the kind has one (ThumbReleased 4, ThumbMoving 5) and is brought within the limits.
    void Scroll(ControlName const& control, int kind, std::optional<int> position);
    void Click(ControlName const& control);
    void Choose(ControlName const& control, int index);
    void Type(ControlName const& control, CString const& text);
    void PressReturn(ControlName const& control);
    void Update(int hint, std::optional<CDataId> const& id);
    void Resize(int width, int height);

    /// The state of all controls, {} without a view.
    JsonValue Look() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace qx5::cli
