// What the host's registries know of a class that they make objects of: its name and how to make one.
#pragma once

#include <VordalBaseR/Export.h>

/// Root of everything that is made by run-time class: documents, frames, views. Whoever has one deleted does so
/// through this class.
class VORDAL_API CObject
{
public:
    CObject() = default;
    CObject(CObject const&) = delete;
    CObject& operator=(CObject const&) = delete;
    virtual ~CObject();
};

/// A class by name. One object of this type stands for one class, at one address, for as long as the module that holds
/// the class is loaded; the host only ever refers to it. Any thread.
struct CRuntimeClass
{
    /// The class's name, ended by a 0, in ASCII.
    char const* className;
    /// A new object, which the caller owns; never null. For want of memory std::bad_alloc comes out. Window thread.
    CObject* (*createObject)();
};

/// The run-time class of T, which needs a public constructor without arguments. `className` must be a literal. Modules
/// keep the result in a static object of their own.
template <typename T>
constexpr CRuntimeClass MakeRuntimeClass(char const* className)
{
    return {className, []() -> CObject* { return new T; }};
}
