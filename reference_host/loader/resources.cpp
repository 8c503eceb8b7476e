// Resource libraries of modules.
#include <vordalhostdllR/VordalHost.h>

bool VordalHost::LoadDLLResourceDLL(HINSTANCE, HINSTANCE)
{
    // This host has no resource libraries: every module speaks with the texts that are built into it.
    return false;
}
