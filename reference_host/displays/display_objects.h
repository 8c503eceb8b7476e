// What documents and frames of displays keep, for the host's own sources.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CString.h>
#include <vordalhostdllR/CDisplayDoc.h>

#include <map>

namespace vordal {
class Display;
}

struct CDisplayDoc::State
{
    CString title;
    /// By number of the view.
    std::map<int, CAttributeMap> viewAttributes;
    /// The display that the document belongs to; null for a document of its own.
    vordal::Display* display = nullptr;
};

struct CDisplayFrm::State
{
    vordal::Display* display = nullptr;
};

/// The host's way to what they keep.
struct CDisplayDocAccess
{
    static CDisplayDoc::State& Of(CDisplayDoc& document) { return *document.m_state; }
    static CDisplayFrm::State& Of(CDisplayFrm& frame) { return *frame.m_state; }
};
