// Memory kept for when the system has none left.
#pragma once

namespace qx5::cli {

/// While it is there, an allocation by operator new that finds no memory, in the program or in any library that it
/// loads, gets some that is kept for it, up to eight times; then it throws std::bad_alloc as ever. The operator's
/// window needs it: the toolkit does not bear an exception in the middle of its work. Pages that nobody touched take no
/// memory of the machine, only of what the process may claim.
///
/// One in the process, made and destroyed in main; the other functions from any thread.
class MemoryReserve
{
public:
    MemoryReserve();
    MemoryReserve(MemoryReserve const&) = delete;
    MemoryReserve& operator=(MemoryReserve const&) = delete;
    ~MemoryReserve();

    /// Takes back what was given away, as far as there is memory, and says so in one line of the log: what was under
    /// way has succeeded, but the next may not. Nothing where there is no reserve or nothing was given away.
    static void FillUp();
};

} // namespace qx5::cli
