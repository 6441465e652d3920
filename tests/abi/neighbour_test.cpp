// A host whose own classes have the names of components of the library: neither side may reach the other's.

#include "abi/neighbour.h"

#include <qzlib.h>

#include "support/qz_test.h"

namespace
{
QZInt64 StoreReading(QZChannel* channel, const char* text)
{
    QZDbTable* table = QZDbTable::Open(channel, "readings");
    if (table->FieldCount() == 0)
    {
        QZString field("value");
        table->FieldAdd(&field, QZDataType::TEXTUTF16LE);
    }
    QZString value(text);
    const QZInt64 row = table->DataAdd();
    EXPECT_TRUE(table->DataSetValue(row, 1, &value));
    QZDbTable::Close(&table);
    return row;
}

std::string LoadReading(QZChannel* channel, QZInt64 row)
{
    QZDbTable* table = QZDbTable::Open(channel, "readings");
    QZString* value = table->DataGetValueString(row, 1);
    std::string text = qztest::Utf8(value);
    QZStringFactory::Recycle(&value);
    QZDbTable::Close(&table);
    return text;
}

TEST(Neighbour, DatabaseUsesTheComponentsOfTheLibrary)
{
    const int before = NeighbourCalls();
    qztest::TempDir folder;
    const std::string path = folder.NarrowName("readings.db");
    ASSERT_TRUE(QZChannel::Create(path.c_str()));
    QZChannel* channel = QZChannel::Open(QZChannel::MODE_FILE, path.c_str());
    ASSERT_NE(channel, nullptr);
    QZDbTable::Create(channel, "readings");
    const QZInt64 first = StoreReading(channel, "12.5");
    const QZInt64 second = StoreReading(channel, "13");
    QZChannel::Close(&channel);

    channel = QZChannel::Open(QZChannel::MODE_FILE, path.c_str());
    EXPECT_EQ(LoadReading(channel, first), "12.5");
    EXPECT_EQ(LoadReading(channel, second), "13");
    QZChannel::Close(&channel);
    EXPECT_EQ(NeighbourCalls(), before);
}

TEST(Neighbour, HostUsesItsOwnClasses)
{
    const int before = NeighbourCalls();
    UseNeighbour();
    // Two constructors, five operations and five destructors.
    EXPECT_EQ(NeighbourCalls(), before + 12);
}
}  // namespace
