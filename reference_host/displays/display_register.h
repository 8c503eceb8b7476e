// Which view classes and display templates are registered, and by which module.
#pragma once

#include <VordalBaseR/CString.h>
#include <vordalhostdllR/VORDALMultiDocTemplate.h>

#include <map>
#include <memory>
#include <mutex>
#include <vector>

struct CRuntimeClass;

namespace vordal {

/// A view class with what it was registered with.
struct RegisteredView
{
    CRuntimeClass* viewClass = nullptr; ///< null: there is no such view
    /// The template that is named and has this view; null when there is none.
    VORDALMultiDocTemplate* displayTemplate = nullptr;
    void const* registrant = nullptr;
};

/// The register of one host. Templates are owned here; names refer to them. Whoever registers is told by
/// SetRegistrant, so that all of a module's can be forgotten before its code goes. Any thread.
class DisplayRegister
{
public:
    /// Who registers from now on: any address that tells modules apart; null for the host itself.
    void SetRegistrant(void const* registrant);
    /// Forgets the registrant's views, the names of its templates and the templates themselves. Gives the names of
    /// templates that were left; views cannot be taken back by who registered them.
    std::vector<CString> Forget(void const* registrant);

    bool AddView(CString const& name, CRuntimeClass* viewClass);
    CRuntimeClass* FindView(CString const& name) const;
    RegisteredView FindViewAndTemplate(CString const& name) const;
    std::vector<CString> ViewNames() const;

    void OwnTemplate(std::unique_ptr<VORDALMultiDocTemplate> displayTemplate);
    std::size_t OwnedTemplates() const;
    bool NameTemplate(CString const& name, VORDALMultiDocTemplate* displayTemplate);
    bool RemoveTemplateName(CString const& name);
    VORDALMultiDocTemplate* FindTemplate(CString const& name) const;
    std::vector<CString> TemplateNames() const;

private:
    struct View
    {
        CRuntimeClass* viewClass = nullptr;
        void const* registrant = nullptr;
    };
    struct NamedTemplate
    {
        VORDALMultiDocTemplate* displayTemplate = nullptr;
        void const* registrant = nullptr;
    };
    struct OwnedTemplate
    {
        std::unique_ptr<VORDALMultiDocTemplate> displayTemplate;
        void const* registrant = nullptr;
    };

    mutable std::mutex m_mutex; ///< guards what follows
    void const* m_registrant = nullptr;
    std::map<CString, View> m_views;
    std::map<CString, NamedTemplate> m_names;
    std::vector<OwnedTemplate> m_templates;
};

/// Of the host that lives; null when there is none.
DisplayRegister* CurrentDisplayRegister();

} // namespace vordal
