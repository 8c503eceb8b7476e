// The manual that the program carries: its pages, one after the other.
#include "cli/documents/manual_text.h"

#include "cli/documents/manual.h"

namespace qx5::cli {

std::string WholeManual()
{
    std::string text;
    for (texts::ManualPage const& page : texts::manualPages) {
        text.append(page.text).append("\n");
    }
    return text;
}

} // namespace qx5::cli
