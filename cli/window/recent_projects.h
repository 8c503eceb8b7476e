// The projects that a user has opened last, as the user's settings keep them.
#pragma once

#include <QSettings>
#include <QString>
#include <QStringList>

namespace qx5::cli {

/// Kept in qx5/qx5.ini below the folder for settings that XDG_CONFIG_HOME tells. One thread. Another program's changes
/// are seen.
class RecentProjects
{
public:
    static constexpr qsizetype Greatest = 10;

    RecentProjects();

    /// Full names, the newest first; also of files that are not there any more.
    QStringList List();
    /// The project was opened or saved just now.
    void Note(QString const& file);
    void Clear();

private:
    QSettings m_settings;
};

} // namespace qx5::cli
