// How often a screen reader is told that an element has changed.
#pragma once

#include <QAccessible>
#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QVariant>

#include <functional>
#include <vector>

namespace vordal {

/// Of a new value, name or description of one element four are announced in a second at most; the last one always is. A
/// sonar may tell a value fifty times a second, and who listens would hear nothing else. All other events pass as they
/// come. Window thread.
class AnnouncementLimit : public QObject
{
public:
    using Announce = std::function<void(QAccessibleEvent& event)>;
    explicit AnnouncementLimit(Announce announce);

    void Take(QAccessibleEvent& event);

private:
    /// What was announced of one element, and whether something newer waits.
    struct Announced
    {
        QPointer<QObject> object;
        QAccessible::Event kind;
        QElapsedTimer since;
        bool waits = false;
        QVariant value; ///< that waits; of a new value alone
    };

    void AnnounceWaiting();

    Announce m_announce;
    std::vector<Announced> m_announced;
    QTimer m_timer;
};

/// Such a limit on all that the toolkit announces, as long as it lives. One at a time. Window thread.
class LimitedAnnouncements
{
public:
    LimitedAnnouncements();
    LimitedAnnouncements(LimitedAnnouncements const&) = delete;
    LimitedAnnouncements& operator=(LimitedAnnouncements const&) = delete;
    ~LimitedAnnouncements();
};

} // namespace vordal
