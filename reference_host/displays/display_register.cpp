// Which view classes and display templates are registered: the host's lists of the two, by name.
#include "reference_host/displays/display_register.h"

#include <VordalConfigureR/CViewList.h>
#include <vordalhostdllR/CDocTemplateList.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace vordal {

void DisplayRegister::SetRegistrant(void const* registrant)
{
    std::lock_guard const lock(m_mutex);
    m_registrant = registrant;
}

std::vector<CString> DisplayRegister::Forget(void const* registrant)
{
    std::vector<CString> left;
    // Destroyed when the lock has gone.
    std::vector<OwnedTemplate> forgotten;
    std::lock_guard const lock(m_mutex);
    std::erase_if(m_views, [registrant](auto const& entry) { return entry.second.registrant == registrant; });
    std::erase_if(m_names, [&](auto const& entry) {
        bool const isOf = entry.second.registrant == registrant;
        if (isOf) {
            left.push_back(entry.first);
        }
        return isOf;
    });
    auto const others = std::stable_partition(m_templates.begin(), m_templates.end(),
                                              [registrant](auto const& each) { return each.registrant != registrant; });
    forgotten.assign(std::make_move_iterator(others), std::make_move_iterator(m_templates.end()));
    m_templates.erase(others, m_templates.end());
    return left;
}

bool DisplayRegister::AddView(CString const& name, CRuntimeClass* viewClass)
{
    std::lock_guard const lock(m_mutex);
    return viewClass != nullptr && m_views.try_emplace(name, View{viewClass, m_registrant}).second;
}

CRuntimeClass* DisplayRegister::FindView(CString const& name) const
{
    std::lock_guard const lock(m_mutex);
    auto const found = m_views.find(name);
    return found != m_views.end() ? found->second.viewClass : nullptr;
}

RegisteredView DisplayRegister::FindViewAndTemplate(CString const& name) const
{
    std::lock_guard const lock(m_mutex);
    auto const view = m_views.find(name);
    if (view == m_views.end()) {
        return {};
    }
    RegisteredView found{view->second.viewClass, nullptr, view->second.registrant};
    for (auto const& [templateName, entry] : m_names) {
        if (entry.displayTemplate->GetViewClass() == found.viewClass) {
            found.displayTemplate = entry.displayTemplate;
        }
    }
    return found;
}

namespace {

template <typename Map>
std::vector<CString> KeysOf(Map const& map)
{
    std::vector<CString> names;
    names.reserve(map.size());
    for (auto const& [name, entry] : map) {
        names.push_back(name);
    }
    return names;
}

} // namespace

std::vector<CString> DisplayRegister::ViewNames() const
{
    std::lock_guard const lock(m_mutex);
    return KeysOf(m_views);
}

void DisplayRegister::OwnTemplate(std::unique_ptr<VORDALMultiDocTemplate> displayTemplate)
{
    std::lock_guard const lock(m_mutex);
    if (displayTemplate != nullptr) {
        m_templates.push_back({std::move(displayTemplate), m_registrant});
    }
}

std::size_t DisplayRegister::OwnedTemplates() const
{
    std::lock_guard const lock(m_mutex);
    return m_templates.size();
}

bool DisplayRegister::NameTemplate(CString const& name, VORDALMultiDocTemplate* displayTemplate)
{
    std::lock_guard const lock(m_mutex);
    if (displayTemplate == nullptr || name.View().empty()) {
        return false;
    }
    m_names[name] = {displayTemplate, m_registrant};
    return true;
}

bool DisplayRegister::RemoveTemplateName(CString const& name)
{
    std::lock_guard const lock(m_mutex);
    return m_names.erase(name) != 0;
}

VORDALMultiDocTemplate* DisplayRegister::FindTemplate(CString const& name) const
{
    std::lock_guard const lock(m_mutex);
    auto const found = m_names.find(name);
    return found != m_names.end() ? found->second.displayTemplate : nullptr;
}

std::vector<CString> DisplayRegister::TemplateNames() const
{
    std::lock_guard const lock(m_mutex);
    return KeysOf(m_names);
}

} // namespace vordal
