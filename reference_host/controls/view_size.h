// The size of a view's widget, told to the view.
#pragma once

#include <VordalBaseR/Export.h>

namespace vordal {

class Display;

/// Delivers the present size of the display's view (Display::DeliverSize), and from then on each size that its widget
/// gets; of a widget that scrolls, the size of what is seen, without its bars. To be called after the initial update.
/// Window thread.
VORDAL_API void FollowWidgetSize(Display& display);

} // namespace vordal
