// The ground that title, banner and view stand on: hatched around the view while what that shows is old.
#pragma once

#include <QWidget>

namespace vordal {

/// What it draws lies in the margins of its layout, so that nothing moves and no text is drawn over. Window thread.
class ViewGround final : public QWidget
{
public:
    explicit ViewGround(QWidget* parent = nullptr) : QWidget(parent) {}

    /// The widget that the marks are drawn around, one of this layout; null for none.
    void SetView(QWidget* view);
    void MarkOld(bool isOld);

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* m_view = nullptr;
    bool m_isOld = false;
};

} // namespace vordal
