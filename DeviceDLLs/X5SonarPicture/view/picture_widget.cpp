// Painting a picture, and the hands on it.
#include "picture_widget.h"

#include "glyph_sheet.h"

#include <QEvent>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPalette>
#include <QWheelEvent>

#include <algorithm>
#include <array>
#include <cmath>

namespace picture {

namespace {

/// Sixty frames a second.
constexpr int frameMilliseconds = 16;
/// What a screen reader is told of the cursor: four times a second at most.
constexpr int tellMilliseconds = 250;
/// An image has no more pixels than a screen of 3840 by 2160; in a larger widget each is several of the screen's.
constexpr double mostPixels = 3840.0 * 2160.0;

std::unique_ptr<Pane> MakePane(PaneKind kind)
{
    switch (kind) {
    case PaneKind::Fan:
        return std::make_unique<FanPane>();
    case PaneKind::Waterfall:
        return std::make_unique<WaterfallPane>();
    case PaneKind::Profile:
        return std::make_unique<ProfilePane>();
    case PaneKind::Map:
        return std::make_unique<MapPane>();
    case PaneKind::Beam:
        break;
    }
    return std::make_unique<BeamPane>();
}

} // namespace

PictureWidget::PictureWidget(PaneKind kind, QWidget* parent) : QWidget(parent), m_kind(kind), m_pane(MakePane(kind))
{
    m_fan = dynamic_cast<FanPane*>(m_pane.get());
    setObjectName(QStringLiteral("picture"));
    setAccessibleName(QString::fromLatin1(NameOf(kind)));
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    m_paintTimer.setSingleShot(true);
    m_paintTimer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_paintTimer, &QTimer::timeout, this, [this] { update(); });
    m_tellTimer.setSingleShot(true);
    QObject::connect(&m_tellTimer, &QTimer::timeout, this, [this] { TellCursor(); });
}

PictureWidget::~PictureWidget()
{
    SetFeed(nullptr);
}

void PictureWidget::SetFeed(std::shared_ptr<SonarFeed> feed)
{
    if (m_feed == feed) {
        return;
    }
    Cancel();
    if (m_feed != nullptr) {
        m_feed->Remove(*this);
    }
    m_feed = std::move(feed);
    m_asked.reset();
    m_choices.isFrozen = false;
    m_hasKeptWater = false;
    m_hasKeptDetections = false;
    if (m_feed != nullptr) {
        m_feed->Add(*this);
        if (!m_hasScale) {
            ScaleByEchoes();
        }
    }
    Changed();
}

void PictureWidget::Choose(Choices const& choices)
{
    bool const freezes = choices.isFrozen && !m_choices.isFrozen;
    m_hasScale = m_hasScale || !(choices.scale == m_choices.scale);
    m_choices = choices;
    if (freezes && m_feed != nullptr) {
        m_hasKeptWater = m_feed->Water() != nullptr;
        m_hasKeptDetections = m_feed->Detections() != nullptr;
        if (m_hasKeptWater) {
            m_keptWater = *m_feed->Water();
        }
        if (m_hasKeptDetections) {
            m_keptDetections = *m_feed->Detections();
        }
        m_keptProfile = m_feed->Shared().profile;
        m_keptPings = m_feed->Pings();
    }
    if (!m_choices.isFrozen) {
        // A block of long ago is not kept for nothing.
        m_keptWater = {};
        m_hasKeptWater = false;
    }
    Changed();
}

bool PictureWidget::ScaleByEchoes()
{
    HeldWater const* const water = m_feed != nullptr ? m_feed->Water() : nullptr;
    if (water == nullptr || water->ping.IsEmpty()) {
        return false;
    }
    std::array<std::size_t, 256> counts{};
    for (std::uint8_t const level : water->ping.levels) {
        ++counts[level];
    }
    auto const levelOf = [&](double part) {
        auto const wanted = static_cast<std::size_t>(part * static_cast<double>(water->ping.levels.size() - 1));
        std::size_t seen = 0;
        std::size_t level = 0;
        while (level + 1 < counts.size() && (seen += counts[level]) <= wanted) {
            ++level;
        }
        return std::round(water->ping.LevelOf(static_cast<std::uint8_t>(level)));
    };
    // Most of the water is noise; the strongest echoes may be brighter than bright.
    m_choices.scale.from = levelOf(0.2);
    m_choices.scale.to = std::max(levelOf(0.999), m_choices.scale.from + 6.0);
    m_hasScale = true;
    Changed();
    if (m_onChoices) {
        m_onChoices();
    }
    return true;
}

void PictureWidget::ShowAll()
{
    m_pane->ShowAll();
    Changed();
}

void PictureWidget::OnEchoes()
{
    if (!m_hasScale) {
        ScaleByEchoes();
    }
    if (!m_choices.isFrozen) {
        Changed();
        if (m_cursor && !m_tellTimer.isActive()) {
            m_tellTimer.start(tellMilliseconds);
        }
    }
}

void PictureWidget::OnSettings()
{
    m_asked.reset();
    Changed();
}

void PictureWidget::Changed()
{
    m_isStale = true;
    if (!isVisible() || m_paintTimer.isActive()) {
        return;
    }
    qint64 const since = m_sincePainted.isValid() ? m_sincePainted.elapsed() : frameMilliseconds;
    if (since >= frameMilliseconds) {
        update();
    } else {
        m_paintTimer.start(static_cast<int>(frameMilliseconds - since));
    }
}

FanSettings PictureWidget::ShownSettings() const
{
    if (m_feed == nullptr) {
        return {};
    }
    FanSettings settings = m_asked ? *m_asked : m_feed->Settings();
    return m_handle && m_edited ? WithValue(settings, m_feed->Limits(), *m_handle, *m_edited) : settings;
}

Scene PictureWidget::MakeScene()
{
    Scene scene;
    scene.history = m_feed != nullptr ? &m_feed->Shared() : &m_noHistory;
    scene.limits = m_feed != nullptr ? &m_feed->Limits() : &m_noLimits;
    scene.profile = &scene.history->profile;
    scene.settings = ShownSettings();
    scene.scale = m_choices.scale;
    scene.palette = m_choices.palette;
    scene.layer = m_choices.layer;
    scene.theme = ThemeFor(palette().color(QPalette::Window).lightness() < 128);
    scene.glyphs = &m_glyphs;
    scene.follows = m_choices.follows && !m_choices.isFrozen;
    scene.cursor = m_cursor;
    scene.handle = m_fan != nullptr && (hasFocus() || m_isDragging) ? m_handle : std::nullopt;
    if (m_feed == nullptr) {
        scene.note = "No sonar is shown.";
    } else if (m_choices.isFrozen) {
        scene.water = m_hasKeptWater ? &m_keptWater.ping : nullptr;
        scene.detections = m_hasKeptDetections ? &m_keptDetections : nullptr;
        scene.profile = &m_keptProfile;
        scene.newerPings = m_feed->Pings() - m_keptPings;
    } else {
        scene.water = m_feed->Water() != nullptr ? &m_feed->Water()->ping : nullptr;
        scene.detections = m_feed->Detections();
        scene.note = m_feed->Note();
        if (scene.water == nullptr && scene.detections == nullptr && scene.note.empty()) {
            scene.note = "The sonar tells no echoes.";
        }
    }
    return scene;
}

QImage const& PictureWidget::Render()
{
    double const ratio = devicePixelRatioF();
    double const wantedWidth = std::max(1.0, std::round(width() * ratio));
    double const wantedHeight = std::max(1.0, std::round(height() * ratio));
    m_perPixel = std::max(1.0, std::ceil(std::sqrt(wantedWidth * wantedHeight / mostPixels)));
    QSize const size(std::max(1, static_cast<int>(wantedWidth / m_perPixel)),
                     std::max(1, static_cast<int>(wantedHeight / m_perPixel)));
    if (m_image.size() != size) {
        m_image = QImage(size, QImage::Format_RGB32);
        m_isStale = true;
    }
    if (m_glyphsRatio != ratio) {
        m_glyphs = DrawGlyphs(font(), ratio);
        m_glyphsRatio = ratio;
        m_isStale = true;
    }
    if (m_isStale && !m_image.isNull()) {
        m_isStale = false;
        Canvas canvas(reinterpret_cast<Colour*>(m_image.bits()), m_image.width(), m_image.height(),
                      m_image.bytesPerLine() / static_cast<qsizetype>(sizeof(Colour)));
        m_pane->Paint(canvas, MakeScene());
    }
    return m_image;
}

void PictureWidget::paintEvent(QPaintEvent*)
{
    m_sincePainted.start();
    QImage const& image = Render();
    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    if (image.isNull()) {
        painter.fillRect(rect(), palette().window());
    } else {
        painter.drawImage(QRectF(rect()), image, QRectF(image.rect()));
    }
}

void PictureWidget::resizeEvent(QResizeEvent*)
{
    m_isStale = true;
}

void PictureWidget::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        m_glyphsRatio = 0.0;
    }
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) {
        Changed();
    }
    QWidget::changeEvent(event);
}

bool PictureWidget::event(QEvent* event)
{
    // Keys that mean something here are not a window's shortcuts meanwhile.
    if (event->type() == QEvent::ShortcutOverride) {
        int const key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Escape && m_edited) {
            event->accept();
            return true;
        }
    }
    return QWidget::event(event);
}

// The cursor

Spot PictureWidget::SpotAt(QPointF const& position) const
{
    double const scale = devicePixelRatioF() / m_perPixel;
    return {position.x() * scale, position.y() * scale};
}

void PictureWidget::SetCursorSpot(std::optional<Spot> spot)
{
    m_cursor = spot;
    if (!m_tellTimer.isActive()) {
        m_tellTimer.start(tellMilliseconds);
    }
    Changed();
}

QString PictureWidget::CursorText()
{
    if (m_handle && m_fan != nullptr) {
        if (auto const value = ValueOf(ShownSettings(), *m_handle)) {
            Label label;
            label << TextOf(*m_handle) << " ";
            label.Number(*value, 2) << UnitOf(*m_handle);
            return QString::fromLatin1(label.Text().data(), static_cast<qsizetype>(label.Text().size()));
        }
    }
    if (!m_cursor) {
        return {};
    }
    Label label;
    m_pane->Describe(MakeScene(), *m_cursor, label);
    return QString::fromLatin1(label.Text().data(), static_cast<qsizetype>(label.Text().size()));
}

void PictureWidget::TellCursor()
{
    QString const text = CursorText();
    if (text != m_told) {
        m_told = text;
        setAccessibleDescription(text);
    }
}

void PictureWidget::MoveCursor(int key, bool isLarge)
{
    double const step = isLarge ? 40.0 : 4.0;
    Spot at = m_cursor.value_or(Spot{m_image.width() / 2.0, m_image.height() / 2.0});
    at.x += key == Qt::Key_Left ? -step : key == Qt::Key_Right ? step : 0.0;
    at.y += key == Qt::Key_Up ? -step : key == Qt::Key_Down ? step : 0.0;
    at.x = std::clamp(at.x, 0.0, std::max(0.0, m_image.width() - 1.0));
    at.y = std::clamp(at.y, 0.0, std::max(0.0, m_image.height() - 1.0));
    m_isCursorByKeys = true;
    SetCursorSpot(at);
}

void PictureWidget::SelectBeam(Spot at)
{
    auto const beam = m_fan != nullptr ? m_fan->BeamAtSpot(at) : std::nullopt;
    if (beam && m_feed != nullptr) {
        m_feed->Shared().beam = *beam;
        m_feed->Shared().hasBeam = true;
        Changed();
    }
}

void PictureWidget::StepBeam(int by)
{
    if (m_feed == nullptr) {
        return;
    }
    if (auto const beam = BeamPane::BeamOf(MakeScene())) {
        auto const last = static_cast<int>(m_feed->Water() != nullptr ? m_feed->Water()->ping.angles.size() : 1) - 1;
        m_feed->Shared().beam =
            static_cast<std::uint32_t>(std::clamp(static_cast<int>(*beam) + by, 0, std::max(0, last)));
        m_feed->Shared().hasBeam = true;
        Changed();
    }
}

// Hands on settings

std::vector<Handle> PictureWidget::HandlesNow() const
{
    std::vector<Handle> handles;
    if (m_fan == nullptr || m_feed == nullptr) {
        return handles;
    }
    auto const settings = ShownSettings();
    auto const& limits = m_feed->Limits();
    for (Handle const handle : allHandles) {
        bool const isFixed = handle == Handle::FanTilt && limits.greatestTilt <= limits.leastTilt;
        if (ValueOf(settings, handle) && !isFixed) {
            handles.push_back(handle);
        }
    }
    return handles;
}

void PictureWidget::SetHandle(std::optional<Handle> handle)
{
    m_handle = handle;
    m_edited.reset();
    if (!m_tellTimer.isActive()) {
        m_tellTimer.start(tellMilliseconds);
    }
    Changed();
}

void PictureWidget::Edit(double value)
{
    m_edited = value;
    if (!m_tellTimer.isActive()) {
        m_tellTimer.start(tellMilliseconds);
    }
    Changed();
}

void PictureWidget::Commit()
{
    if (!m_handle || !m_edited || m_feed == nullptr) {
        m_edited.reset();
        return;
    }
    FanSettings const before = m_asked ? *m_asked : m_feed->Settings();
    FanSettings const after = ShownSettings();
    m_edited.reset();
    // What was brought back to where it was is not asked for.
    if (!(after == before)) {
        m_asked = after;
        auto const wishes = WishesOf(after, *m_handle);
        if (m_ask) {
            m_ask(wishes);
        } else {
            m_feed->Ask(wishes);
        }
    }
    Changed();
}

void PictureWidget::Cancel()
{
    m_isDragging = false;
    m_panFrom.reset();
    if (m_edited) {
        m_edited.reset();
        Changed();
    }
}

void PictureWidget::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    Spot const at = SpotAt(event->position());
    if (m_fan != nullptr && m_feed != nullptr) {
        auto const settings = ShownSettings();
        if (auto const handle = m_fan->HandleAtSpot(settings, m_feed->Limits(), at)) {
            SetHandle(handle);
            m_isDragging = true;
            m_grabbedOff =
                ValueOf(settings, *handle).value_or(0.0) - ValueAt(settings, *handle, m_fan->PlaceFor(*handle, at));
            return;
        }
    }
    SetHandle(std::nullopt);
    m_panFrom = at;
    m_hasPanned = false;
}

void PictureWidget::mouseMoveEvent(QMouseEvent* event)
{
    Spot const at = SpotAt(event->position());
    m_isCursorByKeys = false;
    if (m_isDragging && m_fan != nullptr && m_handle) {
        Edit(ValueAt(ShownSettings(), *m_handle, m_fan->PlaceFor(*m_handle, at)) + m_grabbedOff);
    } else if (m_panFrom) {
        constexpr double clickReach = 3.0; // a hand trembles
        if (m_hasPanned || std::hypot(at.x - m_panFrom->x, at.y - m_panFrom->y) > clickReach) {
            m_hasPanned = true;
            m_pane->Move(at.x - m_panFrom->x, at.y - m_panFrom->y);
            m_panFrom = at;
        }
    } else if (m_fan != nullptr && m_feed != nullptr) {
        bool const isOverHandle = m_fan->HandleAtSpot(m_feed->Settings(), m_feed->Limits(), at).has_value();
        setCursor(isOverHandle ? Qt::PointingHandCursor : Qt::CrossCursor);
    }
    SetCursorSpot(at);
}

void PictureWidget::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        return;
    }
    if (m_isDragging) {
        m_isDragging = false;
        Commit();
    } else if (m_panFrom && !m_hasPanned) {
        SelectBeam(SpotAt(event->position()));
    }
    m_panFrom.reset();
}

void PictureWidget::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        ShowAll();
    }
}

void PictureWidget::wheelEvent(QWheelEvent* event)
{
    // Without Ctrl it is the window's, which may scroll.
    if (!event->modifiers().testFlag(Qt::ControlModifier)) {
        event->ignore();
        return;
    }
    constexpr double notch = 120.0;
    m_pane->Zoom(std::pow(1.25, event->angleDelta().y() / notch), SpotAt(event->position()));
    event->accept();
    Changed();
}

void PictureWidget::leaveEvent(QEvent*)
{
    if (!m_isCursorByKeys) {
        SetCursorSpot(std::nullopt);
    }
}

void PictureWidget::keyPressEvent(QKeyEvent* event)
{
    int const key = event->key();
    bool const isArrow = key == Qt::Key_Left || key == Qt::Key_Right || key == Qt::Key_Up || key == Qt::Key_Down;
    bool const isPage = key == Qt::Key_PageUp || key == Qt::Key_PageDown;
    Spot const middle = m_cursor.value_or(Spot{m_image.width() / 2.0, m_image.height() / 2.0});
    if ((isArrow || isPage) && m_handle && m_feed != nullptr && !m_isDragging) {
        int const steps = key == Qt::Key_Right || key == Qt::Key_Down || key == Qt::Key_PageDown ? 1 : -1;
        auto const stepped = WithStep(ShownSettings(), m_feed->Limits(), *m_handle, steps, isPage);
        if (auto const value = ValueOf(stepped, *m_handle)) {
            Edit(*value);
        }
    } else if (isArrow && m_kind == PaneKind::Beam && (key == Qt::Key_Left || key == Qt::Key_Right) &&
               event->modifiers().testFlag(Qt::ControlModifier)) {
        StepBeam(key == Qt::Key_Left ? -1 : 1);
    } else if (isArrow) {
        MoveCursor(key, event->modifiers().testFlag(Qt::ShiftModifier));
    } else if (key == Qt::Key_Escape && (m_edited || m_isDragging)) {
        Cancel();
    } else if ((key == Qt::Key_Return || key == Qt::Key_Enter) && m_edited && !m_isDragging) {
        Commit();
    } else if (key == Qt::Key_Plus || key == Qt::Key_Equal) {
        m_pane->Zoom(1.25, middle);
        Changed();
    } else if (key == Qt::Key_Minus) {
        m_pane->Zoom(0.8, middle);
        Changed();
    } else if (key == Qt::Key_0 || key == Qt::Key_Home) {
        ShowAll();
    } else {
        QWidget::keyPressEvent(event);
    }
}

void PictureWidget::keyReleaseEvent(QKeyEvent* event)
{
    // A key that is held down is one hand's work: what it comes to is asked for when it is let go.
    if (!event->isAutoRepeat() && m_edited && !m_isDragging) {
        switch (event->key()) {
        case Qt::Key_Left:
        case Qt::Key_Right:
        case Qt::Key_Up:
        case Qt::Key_Down:
        case Qt::Key_PageUp:
        case Qt::Key_PageDown:
            Commit();
            return;
        default:
            break;
        }
    }
    QWidget::keyReleaseEvent(event);
}

void PictureWidget::focusOutEvent(QFocusEvent* event)
{
    Cancel();
    m_isCursorByKeys = false;
    Changed();
    QWidget::focusOutEvent(event);
}

bool PictureWidget::focusNextPrevChild(bool next)
{
    auto const handles = HandlesNow();
    auto const now = m_handle ? std::find(handles.begin(), handles.end(), *m_handle) : handles.end();
    // First the picture itself, whose arrows move the cursor, then its handles.
    if (!m_handle || now == handles.end()) {
        if (next && !handles.empty()) {
            SetHandle(handles.front());
            return true;
        }
        m_handle.reset();
        return QWidget::focusNextPrevChild(next);
    }
    if (!next) {
        SetHandle(now == handles.begin() ? std::nullopt : std::optional(*(now - 1)));
        return true;
    }
    if (now + 1 != handles.end()) {
        SetHandle(*(now + 1));
        return true;
    }
    SetHandle(std::nullopt);
    return QWidget::focusNextPrevChild(next);
}

} // namespace picture
