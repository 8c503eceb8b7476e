// A host with one sonar device of the plug-in and a connection that keeps what it sends.
#pragma once

#include "QX5SonarConfigurationControlDevice.h"
#include "recorded_traffic.h"
#include "reference_host/common/clock.h"
#include "reference_host/core/host.h"

#include <VordalAttributesR/CVordalType.h>

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

/// The device's id is (1, 78, 1, 1), its tree is empty, the time is 2023-11-14 22:13:20 UTC (day 318).
class OneSonar : public ::testing::Test
{
protected:
    using Lines = std::vector<std::string>;

    OneSonar()
    {
        m_host.SetClock(&m_clock);
        m_host.SetTraffic(&traffic);
        m_host.AddVessel({.number = 1, .name = L"Vessel", .configuration = {}});
        auto made = std::make_unique<QX5SonarConfigurationControlDevice>();
        device = made.get();
        m_host.AddDevice(std::move(made), CDataId(1, 78, 1, 1), L"sonar");
    }

    void Store(CAttributeMap const& tree) { m_host.ReplaceAttributes(*device, tree); }
    CAttributeMap Stored() const
    {
        CAttributeMap tree;
        device->GetAttributeMap(tree);
        return tree;
    }
    void Request(CAttributeMap request) { m_host.DeliverRequest(*device, &request); }

    /// A tree of one key.
    static CAttributeMap One(AttributeKey const& key, CVordalType const& value)
    {
        CAttributeMap tree;
        tree.Add(key, value, 0);
        return tree;
    }

    vordal::FixedClock m_clock{1700000000.0};
    RecordedTraffic traffic;
    vordal::Host m_host;
    QX5SonarConfigurationControlDevice* device = nullptr;
};
