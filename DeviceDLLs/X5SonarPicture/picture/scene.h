// What the panes of a picture paint: a sonar's pings and what became of them, and how the operator wants to see it.
#pragma once

#include "bathymetry_grid.h"
#include "beam_trace.h"
#include "canvas.h"
#include "fan_handles.h"
#include "fan_overlay.h"
#include "level_colours.h"
#include "ping.h"
#include "polar_map.h"
#include "profile.h"
#include "waterfall.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace picture {

/// The colours around the echoes.
struct Theme
{
    Colour ground = 0xFF0E1418U;
    Colour ink = 0xFFE6EDF2U;   ///< texts, the newest line
    Colour faint = 0xFF5C6B76U; ///< rings and rules on the ground
    Colour box = 0xFF1B252CU;   ///< behind texts
};
Theme ThemeFor(bool isDark);

/// A place in a picture, pixels from its upper left corner.
struct Spot
{
    double x = 0.0;
    double y = 0.0;
};

/// What all panes of a sonar share, and what lasts longer than a ping.
class History
{
public:
    History();

    /// The ping's levels need not last beyond the call.
    void Take(WaterPing const& ping) { waterfall.Add(ping); }
    void Take(DetectionPing const& ping);
    /// Another sonar, or another survey.
    void Clear();

    Waterfall waterfall;
    Profile profile;
    BathymetryGrid grid;
    std::uint32_t beam = 0; ///< that the operator looks at
    bool hasBeam = false;   ///< the operator has chosen one; until then it is the middle one

private:
    bool m_hasCellSize = false;
};

/// One frame: what is given stays its owner's and is there during the call.
struct Scene
{
    WaterPing const* water = nullptr;          ///< null: none yet
    DetectionPing const* detections = nullptr; ///< null: none yet
    History* history = nullptr;                ///< never null
    Profile const* profile = nullptr;          ///< never null: the history's, or one that was kept
    FanSettings settings;                      ///< as told, or as they would be when a handle is let go
    FanLimits const* limits = nullptr;         ///< never null
    DecibelRange scale;
    PaletteName palette = PaletteName::Abyss;
    MapLayer layer = MapLayer::Depth;
    Theme theme;
    GlyphSheet const* glyphs = nullptr; ///< never null
    bool follows = true;                ///< map: the ship; others: the range
    std::size_t newerPings = 0;         ///< that came since the picture was frozen
    std::optional<Spot> cursor;
    std::optional<Handle> handle; ///< that has the focus, or is drawn
    std::string_view note;        ///< why nothing is to be seen; empty: it is
};

/// One of the pictures. Not for two threads at once; paints without taking memory once it has painted a scene of the
/// same size.
class Pane
{
public:
    virtual ~Pane() = default;

    /// All of the canvas.
    void Paint(Canvas& canvas, Scene const& scene);
    /// What is at the cursor, in words and numbers; nothing there leaves the label as it is. For the picture that was
    /// painted last.
    virtual void Describe(Scene const& scene, Spot at, Label& label) const = 0;
    /// Larger (`factor` above 1) or smaller about a spot that stays where it is.
    virtual void Zoom(double factor, Spot at) = 0;
    virtual void Move(double x, double y) = 0;
    /// All is to be seen again.
    virtual void ShowAll() = 0;

protected:
    virtual void PaintContent(Canvas& canvas, Scene const& scene) = 0;
    /// What of the picture's right edge the colours' scale takes, pixels.
    static int ScaleWidth(Scene const& scene);
    /// The colours with what they stand for, along the right edge.
    static void PaintScale(Canvas& canvas, Scene const& scene, double from, double to, int decimals,
                           std::string_view unit, bool isReversed = false);
};

/// The water column to scale, with rings, swath, steering and gates, detections and handles.
class FanPane final : public Pane
{
public:
    void Describe(Scene const& scene, Spot at, Label& label) const override;
    void Zoom(double factor, Spot at) override;
    void Move(double x, double y) override;
    void ShowAll() override { m_zoomed.reset(); }

    /// Of the picture that was painted last.
    FanView const& View() const { return m_view; }
    double Range() const { return m_range; }
    Sector ShownSector() const { return m_sector; }
    /// The handle at a spot, the dial of the fan's tilt included.
    std::optional<Handle> HandleAtSpot(FanSettings const& settings, FanLimits const& limits, Spot at) const;
    /// The place that a spot means for a handle: in the fan, or in the dial's side view, forward and down.
    Place PlaceFor(Handle handle, Spot at) const;
    /// Where a handle is painted.
    std::optional<Spot> SpotOf(FanSettings const& settings, Handle handle) const;
    std::optional<std::uint32_t> BeamAtSpot(Spot at) const;

private:
    void PaintContent(Canvas& canvas, Scene const& scene) override;
    void FitView(Canvas const& canvas, Scene const& scene);
    void PaintLines(Canvas& canvas, Scene const& scene);
    void PaintDetections(Canvas& canvas, Scene const& scene);
    void PaintHandles(Canvas& canvas, Scene const& scene);
    void PaintDial(Canvas& canvas, Scene const& scene);

    BeamFan m_beams;
    PolarMap m_map;
    PeakLevels m_peaks;
    LevelColours m_colours;
    FanOverlay m_overlay;
    FanView m_view;
    std::optional<FanView> m_zoomed;
    double m_range = 0.0;
    Sector m_sector;
    double m_dialX = 0.0; ///< middle of the dial, pixels
    double m_dialY = 0.0;
    double m_dialRadius = 0.0;
};

class WaterfallPane final : public Pane
{
public:
    void Describe(Scene const& scene, Spot at, Label& label) const override;
    void Zoom(double factor, Spot at) override;
    void Move(double x, double y) override;
    void ShowAll() override;

private:
    void PaintContent(Canvas& canvas, Scene const& scene) override;
    std::optional<std::size_t> AgeAt(Scene const& scene, double y) const;

    double m_zoom = 1.0;
    double m_skip = 0.0; ///< pings scrolled back
    double m_range = 0.0;
    int m_width = 0;
    int m_rowHeight = 1;
};

/// A plane of two axes, each with a scale of its own, that can be zoomed into.
struct Axes
{
    double left = 0.0; ///< what the picture's edges stand for
    double right = 1.0;
    double top = 0.0;
    double bottom = 1.0;

    double XOf(double value, int width) const { return (value - left) / (right - left) * width; }
    double YOf(double value, int height) const { return (value - top) / (bottom - top) * height; }
    double AcrossAt(double x, int width) const { return left + x / width * (right - left); }
    double DownAt(double y, int height) const { return top + y / height * (bottom - top); }
    void Zoom(double factor, double x, double y);
};

/// What panes with two axes have alike.
class AxesPane : public Pane
{
public:
    void Zoom(double factor, Spot at) override;
    void Move(double x, double y) override;
    void ShowAll() override { m_isZoomed = false; }

protected:
    Axes m_axes;
    bool m_isZoomed = false;
    int m_width = 1; ///< of the picture that was painted last
    int m_height = 1;
};

class ProfilePane final : public AxesPane
{
public:
    void Describe(Scene const& scene, Spot at, Label& label) const override;

private:
    void PaintContent(Canvas& canvas, Scene const& scene) override;
};

class MapPane final : public Pane
{
public:
    void Describe(Scene const& scene, Spot at, Label& label) const override;
    void Zoom(double factor, Spot at) override;
    void Move(double x, double y) override;
    void ShowAll() override;

private:
    void PaintContent(Canvas& canvas, Scene const& scene) override;
    Spot SpotOf(double east, double north) const;

    MapView m_view;
    bool m_hasView = false;
    bool m_isFitted = false; ///< to the width of the swath
    double m_movedX = 0.0;   ///< pixels, off the ship while it is followed
    double m_movedY = 0.0;
    int m_width = 1;
    int m_height = 1;
};

/// One beam: level against range, with noise and gain; its axes are metres and decibels.
class BeamPane final : public AxesPane
{
public:
    void Describe(Scene const& scene, Spot at, Label& label) const override;

    /// The beam that a scene shows; nothing without one.
    static std::optional<std::uint32_t> BeamOf(Scene const& scene);

private:
    void PaintContent(Canvas& canvas, Scene const& scene) override;
    void PaintTrace(Canvas& canvas, std::span<TraceColumn const> columns, double range, double width, Colour colour);

    BeamTrace m_trace;
};

} // namespace picture
