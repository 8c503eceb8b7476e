// What a screen reader or a test robot does to the view's controls, made what a hand does to them.
#pragma once

class QWidget;

namespace qx5 {

/// As long as one lives, the controls below the forms that were told of act through the toolkit's accessible interface
/// as they do under a hand: the page hears of it and asks for it. Without it the toolkit moves a slider or checks a box
/// and nobody is told. Sliders tell engineering values, not positions. Window thread.
class AccessibleControls
{
public:
    explicit AccessibleControls(QWidget& form);
    AccessibleControls(AccessibleControls const&) = delete;
    AccessibleControls& operator=(AccessibleControls const&) = delete;
    ~AccessibleControls();
};

} // namespace qx5
