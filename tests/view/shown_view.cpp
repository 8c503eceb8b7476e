// The plug-in's view on a sonar, in a window of its own, as tests operate it.
#include "shown_view.h"

#include "cli/scenario/view_controls.h"

#include <VordalAttributesR/AttributeConstants.h>
#include <VordalAttributesR/CVordalType.h>

#include <string>

namespace qx5::test {

ShownView::ShownView()
{
    vordal::DisplayContent content;
    content.viewClass = L"QX5SonarConfigurationView";
    content.attributes.Add(ATTR_DATAID, CVordalDataInfo(CDataId(1, 78, 1, 1), 65535, 65535));
    std::string reason;
    m_display = vordal::Display::Open(std::move(content), nullptr, reason);
    if (m_display == nullptr) {
        throw std::runtime_error(reason);
    }
    m_display->Widget()->resize(700, 640);
    m_display->Widget()->show();
    m_display->InitialUpdate();
    m_display->DeliverSize(0, 700, 640);
    QCoreApplication::processEvents();
}

QWidget* ShownView::Page(std::string_view name)
{
    auto* const found =
        m_display->Widget()->findChild<QWidget*>(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())));
    return found != nullptr ? found : throw std::runtime_error("the view has no page \"" + std::string(name) + "\"");
}

QString ShownView::NameOf(char const* page, int id)
{
    auto const* const row = cli::FindViewControl(page, id);
    if (row == nullptr) {
        throw NoControl(page, id);
    }
    return QString::fromUtf8(row->name.data(), static_cast<qsizetype>(row->name.size()));
}

std::runtime_error ShownView::NoControl(char const* page, int id)
{
    return std::runtime_error("the page \"" + std::string(page) + "\" has no control of that kind with the number " +
                              std::to_string(id));
}

} // namespace qx5::test
