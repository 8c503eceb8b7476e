// Tests of data blocks, of the buffers of streams, and of who is told about them.
#include "reference_host/common/host_observer.h"
#include "reference_host/core/host.h"

#include <VordalDataBlocksR/BaseDataSource.h>
#include <VordalDataBlocksR/CDataBlock.h>
#include <VordalSubscriberR/Subscriber.h>
#include <VordalSubscriberR/Subscription.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using vordal::Host;

CDataId const Stream(1, 117, 1, 1);

CDataBlock Block()
{
    CDataBlock block;
    unsigned char const value[] = {0x01, 0x02, 0x03, 0x04};
    block.AddItem(251, DATA_INT32, value, 4, 0);
    block.AddItem(253, DATA_BYTE, std::span<unsigned char const>(value, 1), 1, 7);
    block.AddItemWithoutData(259, DATA_DOUBLE, 8, 0);
    block.SetTime(12.5);
    block.SetStatus(3);
    return block;
}

TEST(DataBlock, ItemsAreFoundByNumberInBothModes)
{
    auto const block = Block();
    unsigned short index = 99;
    EXPECT_TRUE(block.LookUp(253, ADDR_BY_ITEM, index));
    EXPECT_EQ(index, 1);
    EXPECT_TRUE(block.LookUp(251, ADDR_FIRST_OF_ITEM, index));
    EXPECT_EQ(index, 0);
    EXPECT_FALSE(block.LookUp(252, ADDR_BY_ITEM, index));
    EXPECT_FALSE(block.LookUp(253, static_cast<ADDR_MODE>(3), index));
    EXPECT_EQ(index, 0);
    auto const* item = block.GetItem(1);
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->type, DATA_BYTE);
    EXPECT_EQ(item->size, 1U);
    EXPECT_EQ(item->status, 7);
    EXPECT_EQ(*static_cast<unsigned char const*>(item->data), 0x01);
    EXPECT_EQ(block.GetItem(2)->data, nullptr);
    EXPECT_EQ(block.GetItem(2)->size, 8U);
    EXPECT_EQ(block.GetItem(3), nullptr);
    EXPECT_EQ(block.GetTime(), 12.5);
    EXPECT_EQ(block.GetStatus(), 3);
    EXPECT_FALSE(CDataBlock().LookUp(251, ADDR_BY_ITEM, index));
    EXPECT_EQ(CDataBlock().GetItem(0), nullptr);
}

TEST(DataBlock, ACopyIsSharedUntilItIsWritten)
{
    auto const original = Block();
    CDataBlock copy(original);
    EXPECT_EQ(copy.GetItem(0)->data, original.GetItem(0)->data);
    copy.EnsureUnique();
    EXPECT_NE(copy.GetItem(0)->data, original.GetItem(0)->data);
    *static_cast<unsigned char*>(copy.GetItemForWrite(0)->data) = 0x55;
    copy.SetStatus(0);
    EXPECT_EQ(*static_cast<unsigned char const*>(original.GetItem(0)->data), 0x01);
    EXPECT_EQ(original.GetStatus(), 3);
    EXPECT_EQ(copy.GetItem(2)->data, nullptr);
    EXPECT_EQ(copy.GetItemForWrite(3), nullptr);
}

TEST(DataBlock, AValueIsCutOrFilledToItsSize)
{
    CDataBlock block;
    unsigned char const value[] = {0x01, 0x02, 0x03, 0x04};
    block.AddItem(1, DATA_INT32, value, 2, 0);
    block.AddItem(2, DATA_INT32, std::span<unsigned char const>(value, 1), 4, 0);
    block.AddItem(3, DATA_INT32, value, 0, 0);
    auto const* bytes = static_cast<unsigned char const*>(block.GetItem(1)->data);
    EXPECT_EQ(bytes[0], 0x01);
    EXPECT_EQ(bytes[1], 0x00);
    EXPECT_EQ(bytes[3], 0x00);
    EXPECT_EQ(block.GetItem(0)->size, 2U);
    EXPECT_EQ(block.GetItem(2)->data, nullptr);
}

TEST(DataBlock, AnItemTakesAnotherSize)
{
    auto block = Block();
    auto const before = block;
    EXPECT_TRUE(block.SetItemSize(0, 6));
    auto const* bytes = static_cast<unsigned char const*>(block.GetItem(0)->data);
    EXPECT_EQ(bytes[3], 0x04);
    EXPECT_EQ(bytes[4], 0x00);
    EXPECT_EQ(bytes[5], 0x00);
    EXPECT_EQ(block.GetItem(0)->size, 6U);
    EXPECT_TRUE(block.SetItemSize(2, 8));
    EXPECT_EQ(block.GetItem(2)->size, 8U);
    EXPECT_EQ(block.GetItem(2)->data, nullptr);
    EXPECT_FALSE(block.SetItemSize(3, 8));
    EXPECT_EQ(before.GetItem(0)->size, 4U);
    EXPECT_EQ(before.GetItem(2)->data, nullptr);
}

TEST(Buffer, EmptyFilledAndReset)
{
    Host host;
    auto& manager = DataManager::GetDataManager();
    EXPECT_EQ(manager.FindDatablockBuffer(Stream, false), nullptr);
    auto* buffer = manager.FindDatablockBuffer(Stream, true);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(manager.FindDatablockBuffer(Stream, false), buffer);
    CDataBlock block;
    double time = 0.0;
    EXPECT_FALSE(buffer->ReadBlock(block, DATA_ACCESS_LATEST));
    EXPECT_FALSE(buffer->ReadCurrentBlock(block));
    EXPECT_FALSE(buffer->GetLastTime(time));
    buffer->StoreBlock(Block());
    EXPECT_FALSE(buffer->ReadBlock(block, 2));
    EXPECT_TRUE(buffer->ReadBlock(block, DATA_ACCESS_LATEST));
    EXPECT_EQ(block.GetItemCount(), 3);
    EXPECT_TRUE(buffer->GetLastTime(time));
    EXPECT_EQ(time, 12.5);
    buffer->Reset();
    time = 0.0;
    EXPECT_FALSE(buffer->GetLastTime(time));
    EXPECT_EQ(time, 0.0);
    EXPECT_FALSE(buffer->ReadCurrentBlock(block));
    EXPECT_EQ(block.GetItemCount(), 3);
}

TEST(Buffer, EveryDeviceHasOne)
{
    Host host;
    auto* device = host.AddDevice(std::make_unique<Device>(), CDataId(1, 78, 1, 1));
    ASSERT_NE(device->GetBuffer(), nullptr);
    EXPECT_EQ(device->GetBuffer(), DataManager::GetDataManager().FindDatablockBuffer(CDataId(1, 78, 1, 1), false));
}

TEST(Buffer, TellsItsSubscribersWhatAndWhen)
{
    struct Sink : Subscriber
    {
        explicit Sink(std::string& to) : told(to) {}
        void Notify(NotificationInfo const* info) override
        {
            told += std::to_string(dynamic_cast<DataId_NI const&>(*info).GetDataId().GetGroupId()) + " ";
        }
        std::string& told;
    };
    struct Recorder : vordal::HostObserver
    {
        explicit Recorder(std::string& to) : told(to) {}
        void OnStoreBlock(CDataId const&, CDataBlock const&) override { told += "store "; }
        void OnAnnounceBlock(CDataId const&) override { told += "announce "; }
        void OnResetBuffer(CDataId const&, CDataId const&) override { told += "reset "; }
        std::string& told;
    };
    std::string told;
    Recorder recorder(told);
    Host host;
    host.SetObserver(&recorder);
    DataSubscription subscription;
    EXPECT_EQ(subscription.GetDataBuffer(), nullptr);
    subscription.SetSubscriber(new Sink(told), true);
    subscription.Subscribe(Stream);
    EXPECT_EQ(subscription.GetDataBuffer(), nullptr);
    host.PutBlock(Stream, Block());
    host.PutBlock(CDataId(1, 40, 1, 1), Block());
    EXPECT_EQ(told, "117 ");
    auto* buffer = subscription.GetDataBuffer();
    ASSERT_NE(buffer, nullptr);
    told.clear();
    buffer->StoreBlock(Block());
    buffer->AnnounceBlock();
    buffer->Reset();
    EXPECT_EQ(told, "store announce 117 reset ");
    told.clear();
    subscription.Subscribe(CDataId(1, 40, 1, 1));
    host.PutBlock(Stream, Block());
    host.PutBlock(CDataId(1, 40, 1, 1), Block());
    EXPECT_EQ(told, "40 ");
    subscription.Unsubscribe();
    EXPECT_EQ(subscription.GetDataBuffer(), nullptr);
    host.PutBlock(Stream, Block());
    EXPECT_EQ(told, "40 ");
    host.SetObserver(nullptr);
}

TEST(Buffer, StatusIsTheSecondOfThePair)
{
    Host host;
    host.SetBufferStatus(Stream, 5);
    unsigned short state = 0;
    unsigned short status = 0;
    EXPECT_TRUE(host.Buffer(Stream).GetStatus(state, status));
    EXPECT_EQ(status, 5);
}

} // namespace
