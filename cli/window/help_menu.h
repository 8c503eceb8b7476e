// The Help menu of the operator's window: manual, shortcuts, what program this is.
#pragma once

#include "cli/program_facts.h"

#include <functional>
#include <vector>

class QMainWindow;

namespace qx5::cli {

/// What About tells.
struct HelpFacts
{
    std::vector<Fact> program;
    std::function<std::vector<Fact>()> plugIns; ///< asked whenever it is shown
};

/// Adds the menu as the window's last. Its windows are made when they are first opened, stop nothing, and go with the
/// window. Window thread.
void AddHelpMenu(QMainWindow& window, HelpFacts facts);

} // namespace qx5::cli
