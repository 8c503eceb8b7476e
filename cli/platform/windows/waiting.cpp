// Waiting for the first of several things that a command goes on for, on Windows.
#include "cli/platform/waiting.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <system_error>

namespace qx5::cli {

Awaited WaitForAny(int descriptor, int end, std::optional<std::chrono::milliseconds> limit)
{
    auto const handleOf = [](int number) { return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(number)); };
    // A reader of standard output that has gone is noticed when something is written.
    HANDLE const handles[]{handleOf(descriptor), handleOf(end)};
    DWORD const milliseconds =
        limit ? static_cast<DWORD>(std::clamp<std::int64_t>(limit->count(), 0, INFINITE - 1)) : INFINITE;
    // Of two that are there the end counts first.
    if (end >= 0 && WaitForSingleObject(handles[1], 0) == WAIT_OBJECT_0) {
        return Awaited::EndWanted;
    }
    switch (WaitForMultipleObjects(end >= 0 ? 2 : 1, handles, FALSE, milliseconds)) {
    case WAIT_OBJECT_0:
        return Awaited::Ready;
    case WAIT_OBJECT_0 + 1:
        return Awaited::EndWanted;
    case WAIT_TIMEOUT:
        return Awaited::TimeOver;
    default:
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), "it cannot be waited");
    }
}

} // namespace qx5::cli
