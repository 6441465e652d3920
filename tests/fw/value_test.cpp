#include "fw/fw_value.h"

#include "fw/assert_watch.h"
#include "fw/fw_collection.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_data_type.h"
#include "fw/fw_keyed.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/fw_time.h"
#include "support/qz_test.h"

namespace
{

constexpr QZInt64 kDay = 86400000;

/// Checks type, value and bytes of a new value and recycles it.
template <typename T, typename V>
void ExpectValue(T* made, QZInt64 type, V value, std::string_view bytes)
{
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->GetType(), type);
    EXPECT_EQ(T::Type, type);
    EXPECT_EQ(made->GetValue(), value);
    EXPECT_BYTES(made->GetPointer(), made->GetSize(), bytes);
    QZDataFactory::Recycle(&made);
    EXPECT_EQ(made, nullptr);
}

template <typename T, typename V>
void ExpectSetValueRestoresTheSize(V value, QZInt64 size)
{
    T data;
    EXPECT_EQ(data.GetSize(), size);
    EXPECT_EQ(data.GetValue(), V());
    data.NewSize(10);
    data.SetValue(value);
    EXPECT_EQ(data.GetSize(), size);
    EXPECT_EQ(data.GetValue(), value);
    data.NewSize(0);
    EXPECT_QZ_THROW(data.GetValue(), 1024);
    data.SetValue(value);
    EXPECT_EQ(data.GetSize(), size);
    EXPECT_EQ(data.GetValue(), value);
    T copy(&data);
    EXPECT_EQ(copy.GetValue(), value);
    data.SetValue(V());
    EXPECT_EQ(copy.GetValue(), value);
}

std::string Shown(QZDataDatetime* time)
{
    QZString* text = time->ToString();
    std::string shown = qztest::Utf8(text);
    time->Recycle(&text);
    EXPECT_EQ(text, nullptr);
    return shown;
}

TEST(DataType, IsDataTypeChecksTheRangeOnly)
{
    EXPECT_EQ(QZDataType::IsDataType(0x2000000), 1);
    EXPECT_EQ(QZDataType::IsDataType(0x20FFFFF), 1);
    EXPECT_EQ(QZDataType::IsDataType(0x2081234), 1) << "inside the range, though no type has this number";
    EXPECT_EQ(QZDataType::IsDataType(0x2100000), 0);
    EXPECT_EQ(QZDataType::IsDataType(0x1FFFFFF), 0);
    EXPECT_EQ(QZDataType::IsDataType(0), 0);
    EXPECT_EQ(QZDataType::IsDataType(-0x2000000), 0);
}

TEST(DataType, TextTypesHaveTheirNumbers)
{
    EXPECT_EQ(QZDataType::TEXTGB2312, 0x2010100);
    EXPECT_EQ(QZDataType::TEXTUTF16LE, 0x2010200);
    EXPECT_EQ(QZDataType::TEXTUTF8, 0x2010300);
    EXPECT_EQ(QZDataType::ARRAYDATA, QZDataType::INFOLIST);
    EXPECT_EQ(QZDataType::ANY, QZDataType::BINARY);
    EXPECT_EQ(QZDataType::DATATYPEVALUE, 0x2000000);
}

TEST(TypedValue, SetValueRestoresTheSize)
{
    ExpectSetValueRestoresTheSize<QZDataBool>(QZBool{1}, 1);
    ExpectSetValueRestoresTheSize<QZDataInt8>(static_cast<char>(-5), 1);
    ExpectSetValueRestoresTheSize<QZDataByte>(QZByte{250}, 1);
    ExpectSetValueRestoresTheSize<QZDataInt16>(QZInt16{-300}, 2);
    ExpectSetValueRestoresTheSize<QZDataInt32>(QZInt32{-70000}, 4);
    ExpectSetValueRestoresTheSize<QZDataFloat>(1.5f, 4);
    ExpectSetValueRestoresTheSize<QZDataInt64>(QZInt64{-5000000000}, 8);
    ExpectSetValueRestoresTheSize<QZDataDouble>(-0.25, 8);
    ExpectSetValueRestoresTheSize<QZDataTimestamp>(QZInt64{63000000000000}, 8);
}

TEST(TypedValue, CreateSetsTypeValueAndBytes)
{
    ExpectValue(QZDataFactory::CreateBool(1), QZDataType::BOOL, 1, "01");
    ExpectValue(QZDataFactory::CreateInt8(static_cast<char>(-2)), QZDataType::INT8, static_cast<char>(-2),
                "FE");
    ExpectValue(QZDataFactory::CreateByte(254), QZDataType::BYTE, 254, "FE");
    ExpectValue(QZDataFactory::CreateInt16(-2), QZDataType::INT16, -2, "FE FF");
    ExpectValue(QZDataFactory::CreateInt32(0x01020304), QZDataType::INT32, 0x01020304, "04 03 02 01");
    ExpectValue(QZDataFactory::CreateFloat(1.0f), QZDataType::FLOAT, 1.0f, "00 00 80 3F");
    ExpectValue(QZDataFactory::CreateInt64(-1), QZDataType::INT64, -1, "FF FF FF FF FF FF FF FF");
    ExpectValue(QZDataFactory::CreateDouble(1.0), QZDataType::DOUBLE, 1.0, "00 00 00 00 00 00 F0 3F");
    ExpectValue(QZDataFactory::CreateTimestamp(256), QZDataType::TIMESTAMP, 256, "00 01 00 00 00 00 00 00");
}

TEST(TypedValue, TypeNumbers)
{
    EXPECT_EQ(QZDataBool::Type, 0x2080100);
    EXPECT_EQ(QZDataInt8::Type, 0x2080200);
    EXPECT_EQ(QZDataInt16::Type, 0x2080300);
    EXPECT_EQ(QZDataInt32::Type, 0x2080400);
    EXPECT_EQ(QZDataInt64::Type, 0x2080500);
    EXPECT_EQ(QZDataDouble::Type, 0x2080600);
    EXPECT_EQ(QZDataTimestamp::Type, 0x2080700);
    EXPECT_EQ(QZDataDatetime::Type, 0x2080800);
    EXPECT_EQ(QZDataByte::Type, 0x2080900);
    EXPECT_EQ(QZDataFloat::Type, 0x2081000);
}

TEST(TypedValue, CopyOfABufferKeepsItsSize)
{
    QZData source("\x07\x00\x00\x00\x01\x02", 6);
    QZDataInt32 copy(&source);
    EXPECT_EQ(copy.GetSize(), 6);
    EXPECT_EQ(copy.GetValue(), 7);
}

TEST(DatetimeValue, NewValueIsSevenAndZeros)
{
    QZDataDatetime time;
    EXPECT_BYTES(time.GetPointer(), time.GetSize(),
                 "07000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000");
    EXPECT_EQ(time.GetType(), QZDataType::DATETIME);
}

TEST(DatetimeValue, WordsOfADateAndTime)
{
    QZDateTime source(2024, 3, 5, 1, 2, 3, 7);
    QZDataDatetime time;
    time.NewSize(3);
    time.SetValue(&source);
    const char* const kWords = "07000000 E8070000 03000000 05000000 01000000 02000000 03000000 07000000";
    EXPECT_BYTES(time.GetPointer(), time.GetSize(), kWords);
    QZDataDatetime other;
    other.SetValue(source.ToTimestamp());
    EXPECT_BYTES(other.GetPointer(), other.GetSize(), kWords);
    EXPECT_EQ(QZDateTime(&other).ToTimestamp(), source.ToTimestamp());
}

TEST(DatetimeValue, Text)
{
    QZDataDatetime time;
    time.SetValue(QZDateTime(2024, 3, 5, 1, 2, 3, 7).ToTimestamp());
    EXPECT_EQ(Shown(&time), "2024-03-05 01:02:03.007");
    time.SetValue(QZDateTime(2024, 3, 5, 1, 2, 3, 0).ToTimestamp());
    EXPECT_EQ(Shown(&time), "2024-03-05 01:02:03");
    time.SetValue(0);
    EXPECT_EQ(Shown(&time), "0001-01-01 00:00:00");
    time.SetValueInt32(7, 5);
    time.NewSize(28);
    EXPECT_EQ(Shown(&time), "0001-01-01 00:00:00") << "28 bytes hold no milliseconds";
    time.NewSize(27);
    EXPECT_QZ_THROW(time.ToString(), 1024);
}

TEST(DatetimeValue, ToStringIntoAStringAppends)
{
    QZDataDatetime time;
    time.SetValue(QZDateTime(12345, 12, 31, 23, 59, 59, 999).ToTimestamp());
    QZString* text = QZStringFactory::CreateString(QZ_W("at "));
    time.ToString(text);
    EXPECT_QZ_TEXT(text, "at 12345-12-31 23:59:59.999");
    QZStringFactory::Recycle(&text);
}

TEST(DatetimeValue, GetValueReadsSixBytesAndNotTheStoredTime)
{
    QZDataDatetime time;
    // 07 00 00 00 E8 07: year 7, month 0, day 0, hour 0, minute 232 (invalid), second 7.
    time.SetValue(QZDateTime(2024, 3, 5, 1, 2, 3, 7).ToTimestamp());
    EXPECT_EQ(time.GetValue(), 2190 * kDay + 7000);
    // The year 2053 is 05 08: minute 5, second 8.
    time.SetValue(QZDateTime(2053, 3, 5, 1, 2, 3, 7).ToTimestamp());
    EXPECT_EQ(time.GetValue(), 2190 * kDay + 5 * 60000 + 8000);
    // Six valid bytes: 2 January of year 1, 03:04:05.
    for (int i = 0; i < 6; ++i) time.SetValueByte(i, static_cast<QZByte>("\x01\x01\x02\x03\x04\x05"[i]));
    EXPECT_EQ(time.GetValue(), kDay + 3 * 3600000 + 4 * 60000 + 5000);
    time.NewSize(5);
    EXPECT_QZ_THROW(time.GetValue(), 1024);
}

TEST(DataFactory, DateTimesByObjectAndByTimestamp)
{
    QZDateTime source(2000, 2, 29, 0, 0, 0, 0);
    QZDataDatetime* byObject = QZDataFactory::CreateDateTime(&source);
    QZDataDatetime* byTimestamp = QZDataFactory::CreateDateTime(source.ToTimestamp());
    QZDataDatetime* first = QZDataFactory::CreateDateTime(0);
    EXPECT_EQ(Shown(byObject), "2000-02-29 00:00:00");
    EXPECT_EQ(byObject->Equals(byTimestamp), 1);
    EXPECT_EQ(Shown(first), "0001-01-01 00:00:00");
    QZDataFactory::Recycle(&byObject);
    QZDataFactory::Recycle(&byTimestamp);
    QZDataFactory::Recycle(&first);
    EXPECT_EQ(first, nullptr);
}

TEST(DataFactory, CreateDataReturnsTheClassOfTheType)
{
    QZData source("\x01\x02\x03", 3);
    const QZInt64 kOwnClass[] = {QZDataType::BOOL,     QZDataType::INT8,      QZDataType::INT16,
                                 QZDataType::INT32,    QZDataType::INT64,     QZDataType::DOUBLE,
                                 QZDataType::DATETIME, QZDataType::TIMESTAMP, QZDataType::BYTE,
                                 QZDataType::FLOAT};
    for (QZInt64 type : kOwnClass)
    {
        QZData* data = QZDataFactory::CreateData(type, &source);
        EXPECT_EQ(data->GetType(), type);
        EXPECT_BYTES(data->GetPointer(), data->GetSize(), "01 02 03");
        QZDataFactory::Recycle(&data);
        EXPECT_EQ(data, nullptr);
    }
}

TEST(DataFactory, CreateDataOfATypeWithoutClassIsPlain)
{
    QZData source("text", 4);
    for (QZInt64 type : {QZDataType::TEXTUTF8, QZDataType::ARRAYINT32, QZDataType::ANY, QZInt64{12345}})
    {
        QZData* data = QZDataFactory::CreateData(type, &source);
        EXPECT_EQ(data->GetType(), QZData::Type);
        EXPECT_EQ(data->Equals("text", 4), 1);
        QZDataFactory::Recycle(&data);
    }
    EXPECT_QZ_THROW(QZDataFactory::CreateData(QZDataType::INT32, nullptr), 256);
}

TEST(DataFactory, RecycledValuesAreReused)
{
    QZDataInt32* value = QZDataFactory::CreateInt32(7);
    QZDataInt32* const same = value;
    QZData* base = value;
    QZDataFactory::Recycle(&base);
    EXPECT_EQ(base, nullptr);
    value = QZDataFactory::CreateInt32(8);
    EXPECT_EQ(value, same);
    EXPECT_EQ(value->GetSize(), 4);
    EXPECT_EQ(value->GetValue(), 8);
    QZDataFactory::Recycle(&value);
}

TEST(DataFactory, RecycleReturnsTheObjectToTheCacheOfItsClass)
{
    QZCollection* collection = QZDataFactory::CreateCollection();
    collection->Push(5);
    QZCollection* const sameCollection = collection;
    QZData* data = collection;
    QZDataFactory::Recycle(&data);
    collection = QZDataFactory::CreateCollection();
    EXPECT_EQ(collection, sameCollection);
    EXPECT_EQ(collection->Count(), 0);
    QZDataFactory::Recycle(&collection);
    EXPECT_EQ(collection, nullptr);
}

TEST(DataFactory, RecycleOfAClassWithoutCacheThrowsWithoutACode)
{
    QZStack stack;
    QZData* data = &stack;
    EXPECT_QZ_THROW(QZDataFactory::Recycle(&data), 0);
    EXPECT_EQ(data, &stack);
}

TEST(DataFactory, LockedValuesAreRefused)
{
    QZDataBool* value = QZDataFactory::CreateBool(1);
    value->SetDisposable(5, 0);
    EXPECT_QZ_THROW(QZDataFactory::Recycle(&value), 1280);
    ASSERT_NE(value, nullptr);
    value->SetDisposable(5, 1);
    QZDataFactory::Recycle(&value);
}

TEST(DataFactory, RecycleOfNullValuesFailsAnAssertion)
{
    qztest::AssertWatch watch;
    QZData* data = nullptr;
    QZDataInt16* value = nullptr;
    QZDataDatetime* time = nullptr;
    QZCollection* collection = nullptr;
    QZDataFactory::Recycle(&data);
    EXPECT_EQ(watch.Count(), 1);
    QZDataFactory::Recycle(&value);
    QZDataFactory::Recycle(&time);
    QZDataFactory::Recycle(&collection);
    EXPECT_EQ(watch.Count(), 4);
}

TEST(DataFactory, MemorySizeCountsIdleValues)
{
    QZDataFactory::Collect(0);
    const QZInt64 kEmpty = 13 * 8;
    EXPECT_EQ(QZDataFactory::GetMemorySize(), kEmpty);
    QZDataFloat* value = QZDataFactory::CreateFloat(1);
    const QZInt64 size = value->GetMemorySize();
    EXPECT_EQ(QZDataFactory::GetMemorySize(), kEmpty);
    QZDataFactory::Recycle(&value);
    EXPECT_EQ(QZDataFactory::GetMemorySize(), kEmpty + size);
    QZDataFactory::Collect(0);
    EXPECT_EQ(QZDataFactory::GetMemorySize(), kEmpty);
}

}  // namespace
