// Not committed.
#include "cli/commands.h"
namespace qx5::cli { int Sim(SimOptions const&) { return 1; } int Run(RunOptions const&) { return 1; } int Docs(DocsOptions const&) { return 1; } }
