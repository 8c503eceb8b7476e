// Programs of one user on Windows: there they do not find one another.
#include "shell/platform/user_folder.h"

#include <windows.h>

namespace qx5::shell::platform {

namespace {

constexpr char const* notHere = "on Windows a program cannot be asked by another one";

} // namespace

std::filesystem::path UserFolder()
{
    wchar_t name[MAX_PATH + 1];
    DWORD const length = GetTempPathW(MAX_PATH + 1, name);
    return std::filesystem::path(name, name + length) / "qx5";
}

bool IsPrivate(std::filesystem::path const&, std::string& error)
{
    error = notHere;
    return false;
}

bool MakePrivate(std::filesystem::path const&, std::string& error)
{
    error = notHere;
    return false;
}

bool IsOfSameUser(int)
{
    return false;
}

std::uint64_t ProcessNumber()
{
    return GetCurrentProcessId();
}

} // namespace qx5::shell::platform
