// How the names of the host contract are made visible to plug-ins and how a plug-in's entry points are exported.
#pragma once

#if defined(_WIN32)
#if defined(VORDAL_HOST_BUILD)
#define VORDAL_API __declspec(dllexport)
#else // The linker of GCC finds what comes from another module; so a library that host and plug-ins share is compiled
      // once.
#define VORDAL_API
#endif
#define VORDAL_API_ENUM
#define VORDAL_PLUGIN_EXPORT __declspec(dllexport)
#else
#define VORDAL_API __attribute__((visibility("default")))
// Of an enumeration that exported templates are made with: else some compilers do not export what is made.
#define VORDAL_API_ENUM VORDAL_API
#define VORDAL_PLUGIN_EXPORT __attribute__((visibility("default")))
#endif
