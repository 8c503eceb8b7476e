// The banner above the view: that its sonar cannot be heard, and what was asked for meanwhile.
#pragma once

#include "operation/held_requests.h"
#include "operation/sonar_watch.h"

#include <QFrame>
#include <QString>

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

class QLabel;
class QListWidget;
class QPushButton;

namespace qx5::cli {

/// What it says. Texts are for people.
struct BannerContent
{
    QString title;
    QString reason; ///< why, and what the next attempt is; may be empty
    QString age;    ///< of what the view shows; empty while that is new
    std::vector<operation::HeldRequests::Held> held;
    std::uint64_t lost = 0; ///< that were asked for and are not kept
    bool canSend = false;   ///< there is somebody to hear it
    bool isOld = false;     ///< what the view shows

    bool operator==(BannerContent const&) const = default;
};

/// Nothing while all is well. A connection that is being made for the first time is not told of until that takes long.
std::optional<BannerContent> BannerOf(operation::SonarState const& state, QString const& name,
                                      std::vector<operation::HeldRequests::Held> held, std::uint64_t lost);

/// Window thread.
class ViewBanner final : public QFrame
{
public:
    /// Called when the operator has chosen what becomes of what was asked for.
    ViewBanner(std::function<void()> send, std::function<void()> drop, QWidget* parent = nullptr);

    /// Nothing hides it.
    void Show(std::optional<BannerContent> const& content);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::optional<BannerContent> m_shown;
    QLabel* m_title;
    QLabel* m_reason;
    QLabel* m_age;
    QListWidget* m_held;
    QPushButton* m_send;
    QPushButton* m_drop;
};

} // namespace qx5::cli
