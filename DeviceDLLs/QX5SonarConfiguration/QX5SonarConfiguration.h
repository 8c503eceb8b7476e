// The entry points by which the plug-in joins a host; the host's header tells what each is asked for, and when.
#pragma once

#include <vordalhostdllR/EntryPoints.h>
