// The projects that a user has opened last, as the user's settings keep them.
#include "recent_projects.h"

namespace qx5::cli {

namespace {

QString Key()
{
    return QStringLiteral("recentProjects");
}

} // namespace

RecentProjects::RecentProjects()
    : m_settings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("qx5"), QStringLiteral("qx5"))
{
}

QStringList RecentProjects::List()
{
    m_settings.sync();
    return m_settings.value(Key()).toStringList();
}

void RecentProjects::Note(QString const& file)
{
    auto list = List();
    list.removeAll(file);
    list.prepend(file);
    m_settings.setValue(Key(), list.mid(0, Greatest));
    m_settings.sync();
}

void RecentProjects::Clear()
{
    m_settings.remove(Key());
    m_settings.sync();
}

} // namespace qx5::cli
