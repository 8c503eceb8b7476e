// What one sonar tells, taken once for all displays of it: its newest pings, what was made of them, its settings.
#pragma once

#include "picture/scene.h"

#include <VordalBaseR/CDataId.h>
#include <VordalDataBlocksR/CDataBlock.h>
#include <VordalSubscriberR/Subscription.h>

#include <functional>
#include <memory>
#include <vector>

namespace picture {

/// A ping of the water column with the block that holds its levels.
struct HeldWater
{
    CDataBlock block;
    WaterPing ping;
};

/// Follows both streams and the tree of a sonar as long as somebody holds it; with that the host asks the sonar for its
/// echoes. Window thread alone.
class SonarFeed
{
public:
    /// Who is told that something is new. Must take itself off before it goes.
    class Follower
    {
    public:
        virtual ~Follower() = default;
        virtual void OnEchoes() = 0;
        virtual void OnSettings() = 0;
    };

    /// The feed of that sonar, made where nobody holds one.
    static std::shared_ptr<SonarFeed> Of(CDataId const& sonar);
    explicit SonarFeed(CDataId const& sonar);
    SonarFeed(SonarFeed const&) = delete;
    SonarFeed& operator=(SonarFeed const&) = delete;
    ~SonarFeed();

    CDataId const& Sonar() const { return m_sonar; }
    void Add(Follower& follower) { m_followers.push_back(&follower); }
    void Remove(Follower& follower) { std::erase(m_followers, &follower); }

    /// Null before the first ping, and after one that is damaged.
    HeldWater const* Water() const { return m_hasWater ? &m_water : nullptr; }
    DetectionPing const* Detections() const { return m_hasDetections ? &m_detections : nullptr; }
    FanSettings const& Settings() const { return m_settings; }
    FanLimits const& Limits() const { return m_limits; }
    History& Shared() { return m_history; }
    /// Pings of the water column that were taken so far.
    std::size_t Pings() const { return m_pings; }
    /// What is wrong with the newest block, one line in Latin 1; empty while all is well.
    std::string_view Note() const { return (m_waterHealth.isTold ? m_waterHealth : m_bottomHealth).note.Text(); }

    /// The wishes in one request, as a page of the sonar's view asks.
    void Ask(std::span<Wish const> wishes);

private:
    void OnWater();
    void OnDetections();
    void OnTree();
    void ReadTree();
    /// What is wrong with a stream's newest block; it was told once, until a good one has come.
    struct Health
    {
        Label note;
        bool isTold = false;

        void Refuse(Label const& why);
    };

    CDataId const m_sonar;
    std::vector<Follower*> m_followers;
    HeldWater m_water;
    DetectionPing m_detections;
    bool m_hasWater = false;
    bool m_hasDetections = false;
    std::size_t m_pings = 0;
    Health m_waterHealth;
    Health m_bottomHealth;
    FanSettings m_settings;
    FanLimits m_limits;
    History m_history;

    // Last, so that they go first: a sink is called with all else in place.
    Subscription m_attributes;
    DataSubscription m_waterColumn;
    DataSubscription m_bottom;
};

} // namespace picture
