#include "fw/fw_data_factory.h"

#include "fw/assert_watch.h"
#include "fw/fw_collection.h"
#include "fw/fw_data.h"
#include "fw/fw_keyed.h"
#include "support/qz_test.h"

TEST(DataFactory, RecycledBufferIsReusedEmptyWithItsStorage)
{
    QZData* data = QZDataFactory::CreateData();
    data->NewSize(100);
    data->SetOffset(10);
    QZData* same = data;
    QZDataFactory::Recycle(&data);
    EXPECT_EQ(data, nullptr);
    data = QZDataFactory::CreateData();
    EXPECT_EQ(data, same);
    EXPECT_EQ(data->GetSize(), 0);
    EXPECT_EQ(data->GetOffset(), 64);
    EXPECT_TRUE(data->Check());
    QZDataFactory::Recycle(&data);
}

TEST(DataFactory, CollectionTakenForDataGoesToItsOwnCache)
{
    QZCollection* collection = QZDataFactory::CreateCollection();
    collection->Push(1);
    collection->Push(2);
    QZData* asData = collection;
    QZDataFactory::Recycle(&asData);
    EXPECT_EQ(asData, nullptr);
    QZCollection* again = QZDataFactory::CreateCollection();
    EXPECT_EQ(again, collection);
    EXPECT_EQ(again->Count(), 0);
    EXPECT_TRUE(again->Check());
    again->Push(7);
    EXPECT_EQ(again->GetElement(0), 7u);
    EXPECT_TRUE(again->Check());
    QZDataFactory::Recycle(&again);
    EXPECT_EQ(again, nullptr);
}

TEST(DataFactory, UnknownTypesThrowWithoutACode)
{
    QZStack stack;
    QZData* data = &stack;
    EXPECT_QZ_THROW(QZDataFactory::Recycle(&data), 0);
    EXPECT_EQ(data, &stack);
}

TEST(DataFactory, LockedObjectsAreRefusedAndTheVariableIsKept)
{
    QZData* data = QZDataFactory::CreateData();
    data->SetDisposable(1, 0);
    EXPECT_QZ_THROW(QZDataFactory::Recycle(&data), 1280);
    ASSERT_NE(data, nullptr);
    data->SetDisposable(1, 1);
    QZDataFactory::Recycle(&data);
}

TEST(DataFactory, RecycledDataCollectionDoesNotRecycleItsElements)
{
    QZData* data = QZDataFactory::CreateData();
    QZDataCollection* collection = QZDataFactory::CreateDataCollection();
    collection->Push(data);
    QZDataFactory::Recycle(&collection);
    EXPECT_EQ(collection, nullptr);
    collection = QZDataFactory::CreateDataCollection();
    EXPECT_EQ(collection->Count(), 0);
    data->Append("still mine", 10);
    QZDataFactory::Recycle(&data);
    QZDataFactory::Recycle(&collection);
}

TEST(DataFactory, RecycleOfNullFailsAnAssertion)
{
    qztest::AssertWatch watch;
    QZData* data = nullptr;
    QZDataFactory::Recycle(&data);
    QZCollection* collection = nullptr;
    QZDataFactory::Recycle(&collection);
    QZDataCollection* datas = nullptr;
    QZDataFactory::Recycle(&datas);
    QZData::Recycle(&datas);
    EXPECT_EQ(watch.Count(), 4);
}

TEST(DataFactory, MemorySizeCountsIdleObjects)
{
    QZDataFactory::Collect(0);
    const QZInt64 none = QZDataFactory::GetMemorySize();
    QZData* data = QZDataFactory::CreateData();
    QZDataFactory::Recycle(&data);
    EXPECT_EQ(QZDataFactory::GetMemorySize() - none, 4096 + 8);
    QZDataFactory::Collect(0);
    EXPECT_EQ(QZDataFactory::GetMemorySize(), none);
}
