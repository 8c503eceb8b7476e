// How often a screen reader is told that an element has changed.
#include "announcements.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

namespace vordal {
namespace {

constexpr std::chrono::milliseconds interval{250};
/// So often it is looked for what has waited long enough.
constexpr std::chrono::milliseconds lookInterval{50};

QAccessible::UpdateHandler previousHandler = nullptr;
std::optional<AnnouncementLimit> limit;

void TakeFromToolkit(QAccessibleEvent* event)
{
    limit->Take(*event);
}

/// To whom it went before the limit was in the way.
void Pass(QAccessibleEvent& event)
{
    QAccessible::installUpdateHandler(previousHandler);
    QAccessible::updateAccessibility(&event);
    QAccessible::installUpdateHandler(TakeFromToolkit);
}

} // namespace

AnnouncementLimit::AnnouncementLimit(Announce announce) : m_announce(std::move(announce))
{
    m_timer.setInterval(lookInterval);
    connect(&m_timer, &QTimer::timeout, this, &AnnouncementLimit::AnnounceWaiting);
}

void AnnouncementLimit::Take(QAccessibleEvent& event)
{
    bool const isLimited = event.type() == QAccessible::ValueChanged || event.type() == QAccessible::NameChanged ||
                           event.type() == QAccessible::DescriptionChanged;
    if (!isLimited || event.object() == nullptr) {
        m_announce(event);
        return;
    }
    auto const known = std::find_if(m_announced.begin(), m_announced.end(), [&](Announced const& each) {
        return each.object == event.object() && each.kind == event.type();
    });
    if (known != m_announced.end()) {
        known->waits = true;
        if (event.type() == QAccessible::ValueChanged) {
            known->value = static_cast<QAccessibleValueChangeEvent&>(event).value();
        }
        return;
    }
    auto& announced = m_announced.emplace_back(Announced{event.object(), event.type(), {}, false, {}});
    announced.since.start();
    if (!m_timer.isActive()) {
        m_timer.start(); // starting it again would put off what waits
    }
    m_announce(event);
}

void AnnouncementLimit::AnnounceWaiting()
{
    std::vector<Announced> due;
    std::erase_if(m_announced, [&](Announced const& each) {
        bool const isOver = each.object == nullptr || each.since.hasExpired(interval.count());
        if (isOver && each.waits) {
            due.push_back(each);
        }
        return isOver;
    });
    if (m_announced.empty()) {
        m_timer.stop();
    }
    for (Announced const& each : due) {
        auto* const element = each.object != nullptr ? QAccessible::queryAccessibleInterface(each.object) : nullptr;
        if (element == nullptr) {
            continue;
        }
        if (each.kind == QAccessible::ValueChanged) {
            // A list tells the text of its item, and has no number.
            auto* const number = element->valueInterface();
            QAccessibleValueChangeEvent event(each.object, number != nullptr ? number->currentValue() : each.value);
            Take(event);
        } else {
            QAccessibleEvent event(each.object, each.kind);
            Take(event);
        }
    }
}

LimitedAnnouncements::LimitedAnnouncements()
{
    limit.emplace(Pass);
    previousHandler = QAccessible::installUpdateHandler(TakeFromToolkit);
}

LimitedAnnouncements::~LimitedAnnouncements()
{
    QAccessible::installUpdateHandler(previousHandler);
    limit.reset();
}

} // namespace vordal
