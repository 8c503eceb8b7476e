// Following a sonar's streams and its tree.
#include "sonar_feed.h"

#include "echo_blocks.h"
#include "sonar_tree.h"

#include <VordalDataBlocksR/BaseDataSource.h>
#include <VordalDataBlocksR/SonarEchoItems.h>
#include <VordalSubscriberR/Subscriber.h>
#include <vordalhostdllR/CVordalBaseApp.h>
#include <vordalhostdllR/CVordalMessage.h>
#include <vordalhostdllR/DataManager.h>

#include <string>

namespace picture {

namespace {

constexpr unsigned requestFlags = 4;

/// Those that are held now.
std::vector<std::weak_ptr<SonarFeed>>& Feeds()
{
    static std::vector<std::weak_ptr<SonarFeed>> feeds;
    return feeds;
}

CDataId StreamOf(CDataId const& sonar, SonarEchoGroup group)
{
    CDataId stream = sonar;
    stream.SetGroupId(group);
    return stream;
}

bool ReadNewest(DataSubscription& subscription, CDataBlock& block)
{
    BaseDataSource* const buffer = subscription.GetDataBuffer();
    return buffer != nullptr && buffer->ReadBlock(block, DATA_ACCESS_LATEST);
}

} // namespace

std::shared_ptr<SonarFeed> SonarFeed::Of(CDataId const& sonar)
{
    auto& feeds = Feeds();
    std::erase_if(feeds, [](auto const& each) { return each.expired(); });
    for (auto const& each : feeds) {
        if (auto feed = each.lock(); feed != nullptr && feed->Sonar() == sonar) {
            return feed;
        }
    }
    auto made = std::make_shared<SonarFeed>(sonar);
    feeds.push_back(made);
    return made;
}

SonarFeed::SonarFeed(CDataId const& sonar) : m_sonar(sonar)
{
    m_attributes.SetSubscriber(new MemFunNoInfoSubscriber<SonarFeed>(this, &SonarFeed::OnTree), true);
    m_waterColumn.SetSubscriber(new MemFunNoInfoSubscriber<SonarFeed>(this, &SonarFeed::OnWater), true);
    m_bottom.SetSubscriber(new MemFunNoInfoSubscriber<SonarFeed>(this, &SonarFeed::OnDetections), true);
    m_attributes.SetMap(DataManager::GetDataManager().GetAttributeSubscriptionMap(sonar));
    m_attributes.Subscribe(FollowedKeys());
    m_waterColumn.Subscribe(StreamOf(sonar, SONAR_WATER_COLUMN_GROUP));
    m_bottom.Subscribe(StreamOf(sonar, SONAR_DETECTIONS_GROUP));
    ReadTree();
    // What the sonar told before need not be waited for.
    OnWater();
    OnDetections();
}

SonarFeed::~SonarFeed() = default;

void SonarFeed::ReadTree()
{
    CAttributeMap tree;
    if (DataManager::GetDataManager().GetAttributeMap(m_sonar, tree)) {
        m_settings = ReadSettings(tree);
        m_limits = ReadLimits(tree);
    }
}

void SonarFeed::OnTree()
{
    ReadTree();
    for (Follower* const each : m_followers) {
        each->OnSettings();
    }
}

void SonarFeed::OnWater()
{
    // The block that was shown goes: its levels are in use no longer than this thread paints.
    m_hasWater = false;
    if (!ReadNewest(m_waterColumn, m_water.block)) {
        return;
    }
    Label why;
    if (ReadWater(m_water.block, m_water.ping, why)) {
        m_hasWater = true;
        m_waterHealth = {};
        m_history.Take(m_water.ping);
        ++m_pings;
    } else {
        m_waterHealth.Refuse(why);
    }
    for (Follower* const each : m_followers) {
        each->OnEchoes();
    }
}

void SonarFeed::OnDetections()
{
    m_hasDetections = false;
    CDataBlock block;
    if (!ReadNewest(m_bottom, block)) {
        return;
    }
    Label why;
    if (ReadDetections(block, m_detections, why)) {
        m_hasDetections = true;
        m_bottomHealth = {};
        m_history.Take(m_detections);
    } else {
        m_bottomHealth.Refuse(why);
    }
    for (Follower* const each : m_followers) {
        each->OnEchoes();
    }
}

void SonarFeed::Health::Refuse(Label const& why)
{
    note = why;
    if (!isTold) {
        isTold = true;
        std::string_view const text = why.Text();
        CVordalBaseApp::GetVordalMessage().ShowMessage(CString(std::wstring(text.begin(), text.end())), L"",
                                                       CVordalMessage::Warning);
    }
}

void SonarFeed::Ask(std::span<Wish const> wishes)
{
    if (!wishes.empty()) {
        DataManager::GetDataManager().SetAttributeMap(m_sonar, RequestOf(wishes), requestFlags, false);
    }
}

} // namespace picture
