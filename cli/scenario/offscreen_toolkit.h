// The view's toolkit where nothing is to be shown.
#pragma once

namespace qx5::cli {

/// Makes the toolkit's application object, without a screen, when the process has none yet; it then stays until the
/// process ends. The calling thread is the toolkit's from then on. The locale of the process stays as it is, and what
/// the toolkit has to say goes to the host's log as debug lines.
void EnsureOffscreenToolkit();

} // namespace qx5::cli
