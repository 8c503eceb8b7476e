// A picture of a sonar's echoes as a widget: painted into one image, dragged, zoomed and read by mouse and keyboard.
#pragma once

#include "pane_kind.h"
#include "sonar_feed.h"

#include <QElapsedTimer>
#include <QImage>
#include <QTimer>
#include <QWidget>

#include <functional>
#include <memory>
#include <optional>

namespace picture {

/// What the operator has chosen of how a picture looks.
struct Choices
{
    PaletteName palette = PaletteName::Abyss;
    DecibelRange scale;
    MapLayer layer = MapLayer::Depth;
    bool isFrozen = false;
    bool follows = true;
};

/// Paints when something has changed, at most sixty times a second, and never waits. Window thread.
class PictureWidget final : public QWidget, private SonarFeed::Follower
{
public:
    PictureWidget(PaneKind kind, QWidget* parent);
    ~PictureWidget() override;

    /// Shows that sonar; null: none.
    void SetFeed(std::shared_ptr<SonarFeed> feed);
    /// Where what the operator drags is asked for; in place of the feed's own way.
    void SetAsk(std::function<void(std::vector<Wish> const&)> ask) { m_ask = std::move(ask); }
    Choices const& Chosen() const { return m_choices; }
    void Choose(Choices const& choices);
    /// Sets the scale from what is to be heard now; nothing without a water column.
    bool ScaleByEchoes();
    /// Called when the picture itself changes the choices.
    void SetChoicesHandler(std::function<void()> handler) { m_onChoices = std::move(handler); }
    /// All is to be seen again.
    void ShowAll();

    /// Brings the image up to date, if anything has changed, and gives it. What paintEvent does before it shows it.
    QImage const& Render();
    /// What the cursor tells; empty without one.
    QString CursorText();
    /// The soundings of the shown sonar; null without one. Valid until it is another.
    BathymetryGrid* Map() { return m_feed != nullptr ? &m_feed->Shared().grid : nullptr; }
    /// The pane itself, to be asked where things are.
    Pane& Content() { return *m_pane; }
    /// The settings as they are painted, those of a drag included.
    FanSettings ShownSettings() const;

    QSize sizeHint() const override { return {640, 420}; }
    QSize minimumSizeHint() const override { return {120, 80}; }

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    bool focusNextPrevChild(bool next) override;

private:
    void OnEchoes() override;
    void OnSettings() override;
    void Changed();
    Scene MakeScene();
    FanPane* Fan() const { return m_fan; }
    /// A place of the widget, in the image's pixels.
    Spot SpotAt(QPointF const& position) const;
    void SetCursorSpot(std::optional<Spot> spot);
    void TellCursor();
    void SetHandle(std::optional<Handle> handle);
    /// The handles that can be taken hold of now.
    std::vector<Handle> HandlesNow() const;
    void Edit(double value);
    void Commit();
    void Cancel();
    void MoveCursor(int key, bool isLarge);
    void SelectBeam(Spot at);
    void StepBeam(int by);

    PaneKind const m_kind;
    std::unique_ptr<Pane> m_pane;
    FanPane* m_fan = nullptr; ///< m_pane, where it is one
    std::shared_ptr<SonarFeed> m_feed;
    History m_noHistory; ///< while there is no sonar
    FanLimits m_noLimits;
    std::function<void(std::vector<Wish> const&)> m_ask;
    std::function<void()> m_onChoices;
    Choices m_choices;
    bool m_hasScale = false; ///< chosen, or taken from echoes

    // What was shown when the picture was frozen.
    HeldWater m_keptWater;
    DetectionPing m_keptDetections;
    Profile m_keptProfile;
    bool m_hasKeptWater = false;
    bool m_hasKeptDetections = false;
    std::size_t m_keptPings = 0;

    // The image, and how many of the screen's pixels make up one of its own.
    QImage m_image;
    double m_perPixel = 1.0;
    GlyphSheet m_glyphs;
    double m_glyphsRatio = 0.0;
    bool m_isStale = true;
    QTimer m_paintTimer;
    QElapsedTimer m_sincePainted;

    // Hands.
    std::optional<Handle> m_handle;     ///< that has the focus or is drawn
    std::optional<double> m_edited;     ///< what it would be set to; nothing while nothing is drawn
    std::optional<FanSettings> m_asked; ///< asked for, until the sonar's tree tells something new
    bool m_isDragging = false;
    double m_grabbedOff = 0.0; ///< from the handle's value to that of the place it was taken at
    std::optional<Spot> m_panFrom;
    bool m_hasPanned = false;
    std::optional<Spot> m_cursor;
    bool m_isCursorByKeys = false;
    QTimer m_tellTimer;
    QString m_told;
};

} // namespace picture
