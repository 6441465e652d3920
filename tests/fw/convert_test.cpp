#include "fw/fw_convert.h"

#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_data_type.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/fw_time.h"
#include "fw/fw_value.h"
#include "support/qz_test.h"

namespace
{

/// Returns the text of a string and recycles the string.
std::string Take(QZString* text)
{
    std::string shown = qztest::Utf8(text);
    QZConvert::Recycle(&text);
    EXPECT_EQ(text, nullptr);
    return shown;
}

/// Returns the bytes of a buffer as hex and recycles the buffer.
std::string TakeHex(QZData* data)
{
    std::string shown = qztest::Hex(data->GetPointer(), static_cast<std::size_t>(data->GetSize()));
    QZConvert::Recycle(&data);
    EXPECT_EQ(data, nullptr);
    return shown;
}

std::string TakeTime(QZDateTime* time)
{
    std::string shown = Take(time->ToString());
    QZConvert::Recycle(&time);
    EXPECT_EQ(time, nullptr);
    return shown;
}

QZString Text(std::string_view utf8) { return QZString(qztest::Wide(utf8).c_str()); }

/// Expects that the bytes convert to the text, and the text back to the bytes.
void ExpectRoundTrip(QZInt64 type, std::string_view hex, std::string_view text)
{
    const std::string bytes = qztest::Bytes(hex);
    QZData data(bytes.data(), static_cast<QZInt64>(bytes.size()));
    EXPECT_EQ(Take(QZConvert::DataToText(&data, type)), text);
    QZString written = Text(text);
    EXPECT_EQ(TakeHex(QZConvert::TextToData(&written, type)), qztest::Hex(bytes));
}

TEST(Convert, PointersAreBitCopies)
{
    int place = 0;
    const auto address = static_cast<QZUInt64>(reinterpret_cast<std::uintptr_t>(&place));
    EXPECT_EQ(QZConvert::PVoidToUInt64(&place), address);
    EXPECT_EQ(QZConvert::UInt64ToPVoid(address), &place);
    EXPECT_EQ(QZConvert::PVoidToIntPtr(&place), static_cast<QZInt64>(address));
    EXPECT_EQ(QZConvert::IntPtrToPVoid(static_cast<QZInt64>(address)), &place);
    EXPECT_EQ(QZConvert::IntPtrToUInt64(-1), 0xFFFFFFFFFFFFFFFFull);
    EXPECT_EQ(QZConvert::UInt64ToIntPtr(0xFFFFFFFFFFFFFFFEull), -2);
}

TEST(Convert, NumbersToText)
{
    EXPECT_EQ(Take(QZConvert::UInt32ToString(4294967295u)), "4294967295");
    EXPECT_EQ(Take(QZConvert::Int32ToString(-2147483647 - 1)), "-2147483648");
    EXPECT_EQ(Take(QZConvert::UInt32ToStringHex(0xDEADBEEF)), "DEADBEEF");
    EXPECT_EQ(Take(QZConvert::UInt32ToStringHex(0)), "0");
    EXPECT_EQ(Take(QZConvert::UInt64ToString(18446744073709551615ull)), "18446744073709551615");
    EXPECT_EQ(Take(QZConvert::Int64ToString(-9223372036854775807ll - 1)), "-9223372036854775808");
    EXPECT_EQ(Take(QZConvert::Int64ToString(0)), "0");
    EXPECT_EQ(Take(QZConvert::Int64ToStringHex(-31)), "-1F");
    EXPECT_EQ(Take(QZConvert::Int64ToStringHex(0xABC)), "ABC");
}

TEST(Convert, RealNumbersToText)
{
    EXPECT_EQ(Take(QZConvert::DoubleToString(0.5)), "0.5");
    EXPECT_EQ(Take(QZConvert::DoubleToString(3)), "3");
    EXPECT_EQ(Take(QZConvert::DoubleToString(-2.25)), "-2.25");
    EXPECT_EQ(Take(QZConvert::DoubleToString(2.5, 0)), "3");
    EXPECT_EQ(Take(QZConvert::DoubleToString(2.5, 3)), "2.500");
    EXPECT_EQ(Take(QZConvert::DoubleToString(0.999, 2)), "1.00");
    EXPECT_EQ(Take(QZConvert::DoubleToString(0.25, -1)), "0.25");
    EXPECT_EQ(Take(QZConvert::FloatToString(0.25f)), "0.25");
    EXPECT_EQ(Take(QZConvert::FloatToString(-1.5f, 2)), "-1.50");
}

TEST(Convert, HexDigitsIntoABufferKeepTheRest)
{
    QZWChar buffer[4] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(QZConvert::UInt64ToStringHex(0x2F, buffer), 4);
    EXPECT_EQ(QZConvert::UInt64ToStringHex(0x9, buffer), 2);
    EXPECT_EQ(std::u16string(buffer, buffer + 4), u"9Fcd") << "no leading zero and no terminator";
    EXPECT_EQ(QZConvert::UInt64ToStringHex(0xFFFFFFFFFFFFFFFFull, nullptr), 32);
}

TEST(Convert, TextToIntegers)
{
    QZString text = Text("-12");
    EXPECT_EQ(QZConvert::StringToInt64(&text), -12);
    EXPECT_EQ(QZConvert::StringToInt64("-12"), -12);
    EXPECT_EQ(QZConvert::StringToInt64(QZ_W("0x1f")), 31);
    EXPECT_EQ(QZConvert::StringToInt64("12345", 3), 123);
    EXPECT_EQ(QZConvert::StringToInt64(QZ_W("12345"), 2), 12);
    EXPECT_EQ(QZConvert::StringToUInt32(&text), 4294967284u);
    EXPECT_EQ(QZConvert::StringToUInt32("4294967297"), 1u) << "cut to 32 bits";
    EXPECT_EQ(QZConvert::StringToUInt32(QZ_W("8")), 8u);
    EXPECT_EQ(QZConvert::StringToInt32(&text), -12);
    EXPECT_EQ(QZConvert::StringToInt32("2147483648"), -2147483647 - 1);
    EXPECT_EQ(QZConvert::StringToInt32(QZ_W("7")), 7);
}

TEST(Convert, NonDigitsCountByTheirDistanceFromZero)
{
    EXPECT_EQ(QZConvert::StringToInt64("1a"), 10 + ('a' - '0'));
    EXPECT_EQ(QZConvert::StringToInt64(" 1"), (' ' - '0') * 10 + 1);
}

TEST(Convert, HexTextToIntegers)
{
    QZString text = Text("fF");
    EXPECT_EQ(QZConvert::StringToInt64Hex(&text), 255);
    EXPECT_EQ(QZConvert::StringToInt64Hex("FFFFFFFFFFFFFFFF"), -1);
    EXPECT_EQ(QZConvert::StringToInt64Hex(QZ_W("-1F")), 31) << "the sign is skipped";
    EXPECT_EQ(QZConvert::StringToUInt64Hex(&text), 255u);
    EXPECT_EQ(QZConvert::StringToUInt64Hex("0x1 0g"), 16u) << "non-digits are skipped";
    EXPECT_EQ(QZConvert::StringToUInt64Hex(QZ_W("10")), 16u);
    EXPECT_EQ(QZConvert::StringToUInt64Hex("1234", 2), 18u);
    EXPECT_EQ(QZConvert::StringToUInt64Hex(QZ_W("1234"), 3), 0x123u);
}

TEST(Convert, TextToRealNumbers)
{
    QZString text = Text("2.5");
    EXPECT_EQ(QZConvert::StringToDouble(&text), 2.5);
    EXPECT_EQ(QZConvert::StringToDouble("-3.25"), -3.25);
    EXPECT_EQ(QZConvert::StringToDouble(QZ_W("7")), 7.0);
    EXPECT_EQ(QZConvert::StringToDouble("-0.5"), 0.5) << "the integer part has no sign";
    EXPECT_EQ(QZConvert::StringToFloat(&text), 2.5f);
    EXPECT_EQ(QZConvert::StringToFloat("0.5"), 0.5f);
    EXPECT_EQ(QZConvert::StringToFloat(QZ_W("-1.5")), -1.5f);
}

TEST(Convert, NullAndEmptyTextThrow)
{
    QZString empty;
    EXPECT_QZ_THROW_MESSAGE(QZConvert::StringToInt64(&empty), 256, " ArgumentOutOfRange");
    EXPECT_QZ_THROW(QZConvert::StringToInt64(""), 256);
    EXPECT_QZ_THROW(QZConvert::StringToInt64(static_cast<QZString*>(nullptr)), 256);
    EXPECT_QZ_THROW(QZConvert::StringToInt64("1", 0), 256);
    EXPECT_QZ_THROW(QZConvert::StringToInt64(QZ_W("1"), -1), 256);
    EXPECT_QZ_THROW(QZConvert::StringToInt64Hex(QZ_W("")), 256);
    EXPECT_QZ_THROW(QZConvert::StringToUInt64Hex(static_cast<const char*>(nullptr)), 256);
    EXPECT_QZ_THROW(QZConvert::StringToUInt64Hex(static_cast<const char*>(nullptr), 3), 256);
    EXPECT_QZ_THROW(QZConvert::StringToUInt32(""), 256);
    EXPECT_QZ_THROW(QZConvert::StringToInt32(""), 256);
    EXPECT_QZ_THROW(QZConvert::StringToDouble(""), 256);
    EXPECT_QZ_THROW(QZConvert::StringToFloat(static_cast<const QZWChar*>(nullptr)), 256);
}

TEST(Convert, TextToBool)
{
    QZString text = Text("True");
    EXPECT_EQ(QZConvert::StringToBool("TRUE"), 1);
    EXPECT_EQ(QZConvert::StringToBool(&text), 1);
    EXPECT_EQ(QZConvert::StringToBool(QZ_W("fAlSe")), 0);
    for (const char* other : {"", "1", "true ", "yes"}) EXPECT_QZ_THROW(QZConvert::StringToBool(other), 256);
    EXPECT_QZ_THROW(QZConvert::StringToBool(static_cast<QZString*>(nullptr)), 256);
    const qztest::Thrown thrown = QZ_TEST_CATCH(QZConvert::StringToBool("no"));
    EXPECT_EQ(thrown.stackTrace, "QZConvert::StringToBool(QZChar*)");
    EXPECT_EQ(thrown.argumentTrace, "QZConvert::StringToBool(no)");
}

TEST(Convert, TryFormsReturnFalseAndKeepTheValue)
{
    QZInt64 wide = 5;
    QZUInt64 unsignedWide = 5;
    QZInt32 narrow = 5;
    QZUInt32 unsignedNarrow = 5;
    double real = 5;
    QZBool truth = 5;
    QZString empty;
    EXPECT_EQ(QZConvert::TryStringToInt64(&empty, &wide), 0);
    EXPECT_EQ(QZConvert::TryStringToInt64Hex("", &wide), 0);
    EXPECT_EQ(QZConvert::TryStringToUInt64Hex(static_cast<const QZWChar*>(nullptr), &unsignedWide), 0);
    EXPECT_EQ(QZConvert::TryStringToInt32("", &narrow), 0);
    EXPECT_EQ(QZConvert::TryStringToUInt32("", &unsignedNarrow), 0);
    EXPECT_EQ(QZConvert::TryStringToUInt32Hex(static_cast<QZString*>(nullptr), &unsignedNarrow), 0);
    EXPECT_EQ(QZConvert::TryStringToDouble("", &real), 0);
    EXPECT_EQ(QZConvert::TryStringToBool("maybe", &truth), 0);
    EXPECT_EQ(QZConvert::TryStringToBool(static_cast<QZString*>(nullptr), &truth), 0);
    EXPECT_EQ(wide, 5);
    EXPECT_EQ(unsignedWide, 5u);
    EXPECT_EQ(narrow, 5);
    EXPECT_EQ(unsignedNarrow, 5u);
    EXPECT_EQ(real, 5.0);
    EXPECT_EQ(truth, 5);
}

TEST(Convert, TryFormsReadLikeThePlainOnes)
{
    QZInt64 wide = 0;
    QZUInt64 unsignedWide = 0;
    QZInt32 narrow = 0;
    QZUInt32 unsignedNarrow = 0;
    double real = 0;
    QZBool truth = 0;
    QZString text = Text("-17");
    EXPECT_EQ(QZConvert::TryStringToInt64(&text, &wide), 1);
    EXPECT_EQ(wide, -17);
    EXPECT_EQ(QZConvert::TryStringToInt64("18", &wide), 1);
    EXPECT_EQ(wide, 18);
    EXPECT_EQ(QZConvert::TryStringToInt64(QZ_W("x"), &wide), 1) << "non-digits are no failure";
    EXPECT_EQ(wide, 'x' - '0');
    EXPECT_EQ(QZConvert::TryStringToInt64Hex(QZ_W("1F"), &wide), 1);
    EXPECT_EQ(wide, 31);
    EXPECT_EQ(QZConvert::TryStringToUInt64Hex("FFFFFFFFFFFFFFFF", &unsignedWide), 1);
    EXPECT_EQ(unsignedWide, 0xFFFFFFFFFFFFFFFFull);
    EXPECT_EQ(QZConvert::TryStringToInt32(&text, &narrow), 1);
    EXPECT_EQ(narrow, -17);
    EXPECT_EQ(QZConvert::TryStringToUInt32(QZ_W("4294967295"), &unsignedNarrow), 1);
    EXPECT_EQ(unsignedNarrow, 4294967295u);
    EXPECT_EQ(QZConvert::TryStringToUInt32Hex("ABCDEF", &unsignedNarrow), 1);
    EXPECT_EQ(unsignedNarrow, 0xABCDEFu);
    EXPECT_EQ(QZConvert::TryStringToDouble("1.25", &real), 1);
    EXPECT_EQ(real, 1.25);
    EXPECT_EQ(QZConvert::TryStringToBool(QZ_W("TRUE"), &truth), 1);
    EXPECT_EQ(truth, 1);
    EXPECT_EQ(QZConvert::TryStringToBool("false", &truth), 1);
    EXPECT_EQ(truth, 0);
}

TEST(Convert, DatesToDataAndText)
{
    QZDateTime time(2024, 3, 5, 6, 7, 8, 9);
    EXPECT_EQ(TakeHex(QZConvert::DateTimeToData(&time)),
              qztest::Hex(qztest::Bytes("07000000 E8070000 03000000 05000000 06000000 07000000 08000000 "
                                        "09000000")));
    EXPECT_EQ(Take(QZConvert::DateTimeToString(&time)), "2024-03-05 06:07:08.009");
    EXPECT_EQ(Take(QZConvert::DateTimeToStringYMD(&time)), "2024-03-05");
    time.Set(-44, 3, 15, 0, 0, 0, 0);
    EXPECT_EQ(Take(QZConvert::DateTimeToString(&time)).substr(0, 8), "BC. 0044");
    EXPECT_EQ(Take(QZConvert::DateTimeToStringYMD(&time)).substr(0, 8), "BC. 0044");
}

TEST(Convert, TextToDates)
{
    QZString text = Text("2024-03-05");
    EXPECT_EQ(TakeTime(QZConvert::StringToDateTime(&text)), "2024-03-05 00:00:00");
    EXPECT_EQ(TakeTime(QZConvert::StringToDateTime("2024-3-5 6:7:8")), "2024-03-05 06:07:08");
    EXPECT_EQ(TakeTime(QZConvert::StringToDateTime(QZ_W("2024-03-05 23:59:59.999"))),
              "2024-03-05 23:59:59.999");
    EXPECT_EQ(TakeTime(QZConvert::StringToDateTime("2024-03-05 00:00:01.5")), "2024-03-05 00:00:01.005")
        << "milliseconds are a number, not a fraction";
}

TEST(Convert, MalformedDateThrowsInvalidDatetime)
{
    const char* const kWrong[] = {"",
                                  "2024-03",
                                  "2024",
                                  "2024-03-05-06",
                                  "2024--05",
                                  "2024-03-05 ",
                                  " 2024-03-05",
                                  "2024-03-05 01:02",
                                  "2024-03-05 01:02:03:04",
                                  "2024-03-05 01::03",
                                  "2024-03-05 01:02:03.4.5",
                                  "2024-03-05 01:02:.5",
                                  "2024-03-05 01:02:03 x",
                                  "-5-06-07"};
    for (const char* wrong : kWrong)
    {
        const qztest::Thrown thrown = QZ_TEST_CATCH(QZConvert::StringToDateTime(wrong));
        EXPECT_EQ(thrown.code, 256) << wrong;
        EXPECT_EQ(thrown.message, "Invalid datetime  ArgumentOutOfRange") << wrong;
    }
    QZString text = Text("2024-03");
    const qztest::Thrown thrown = QZ_TEST_CATCH(QZConvert::StringToDateTime(&text));
    EXPECT_EQ(thrown.stackTrace, "QZConvert::StringToDateTime(QZString*)");
    EXPECT_EQ(thrown.argumentTrace, "QZConvert::StringToDateTime(2024-03)");
    EXPECT_QZ_THROW(QZConvert::StringToDateTime(static_cast<QZString*>(nullptr)), 256);
    EXPECT_QZ_THROW(QZConvert::StringToDateTime(static_cast<const char*>(nullptr)), 256);
}

TEST(Convert, MalformedDateRecyclesItsParts)
{
    QZStringFactory::Collect(0);
    EXPECT_QZ_THROW(QZConvert::StringToDateTime("2024-03-05 01:02:03.4.5"), 256);
    const QZInt64 idle = QZStringFactory::GetMemorySize();
    for (int i = 0; i < 20; ++i) EXPECT_QZ_THROW(QZConvert::StringToDateTime("2024-03-05 01:02:03.4.5"), 256);
    EXPECT_EQ(QZStringFactory::GetMemorySize(), idle);
}

TEST(HexText, Layouts)
{
    unsigned char bytes[17];
    for (int i = 0; i < 17; ++i) bytes[i] = static_cast<unsigned char>(i * 15);
    EXPECT_EQ(Take(QZConvert::DataToText(0, bytes, 17, 16, 1, 1)),
              "[0x0]  00 0F 1E 2D 3C 4B 5A 69 78 87 96 A5 B4 C3 D2 E1 \r\n[0x10]  F0 ");
    EXPECT_EQ(Take(QZConvert::DataToText(0, bytes, 3, 2, 0, 0)), "000F\r\n1E");
    EXPECT_EQ(Take(QZConvert::DataToText(0xABC, bytes, 2, 1, 1, 0)), "[0xABC]  00\r\n[0xABD]  0F");
    EXPECT_EQ(Take(QZConvert::DataToText(5, bytes, 2, 0, 1, 1)), "00 0F ") << "one line has no label";
    EXPECT_EQ(Take(QZConvert::DataToText(5, bytes, 2, -3, 1, 0)), "000F");
    EXPECT_EQ(Take(QZConvert::DataToText(0, bytes, 0, 16, 1, 1)), "");
    EXPECT_EQ(Take(QZConvert::DataToText(0, nullptr, 0, 16, 1, 1)), "");
    QZData data(bytes, 3);
    EXPECT_EQ(Take(QZConvert::DataToText(&data)), "000F1E");
    EXPECT_EQ(Take(QZConvert::DataToText(7, &data)), "000F1E");
    EXPECT_EQ(Take(QZConvert::DataToText(7, &data, 2, 1, 1)), "[0x7]  00 0F \r\n[0x9]  1E ");
    EXPECT_QZ_THROW(QZConvert::DataToText(static_cast<QZData*>(nullptr)), 256);
    EXPECT_QZ_THROW(QZConvert::DataToText(0, nullptr, 1, 0, 0, 0), 256);
}

TEST(HexText, HexTextIsReadInEveryLayout)
{
    QZString text = Text("[0x10]  00 0f \r\n[0x12]  F0 1");
    EXPECT_EQ(TakeHex(QZConvert::TextToData(&text)), "00 0F F0") << "an odd last digit is ignored";
    EXPECT_EQ(TakeHex(QZConvert::TextToData(QZ_W("zz1-2"))), "12");
    EXPECT_EQ(TakeHex(QZConvert::TextToData(QZ_W("12[34"))), "12") << "an unclosed label is skipped";
    EXPECT_EQ(TakeHex(QZConvert::TextToData(QZ_W(""))), "");
    EXPECT_QZ_THROW(QZConvert::TextToData(static_cast<QZString*>(nullptr)), 256);
    EXPECT_QZ_THROW(QZConvert::TextToData(static_cast<const QZWChar*>(nullptr)), 256);
}

TEST(TypedText, ScalarsThereAndBack)
{
    ExpectRoundTrip(QZDataType::BOOL, "01", "True");
    ExpectRoundTrip(QZDataType::BOOL, "00", "False");
    ExpectRoundTrip(QZDataType::INT8, "80", "-128");
    ExpectRoundTrip(QZDataType::BYTE, "FF", "255");
    ExpectRoundTrip(QZDataType::INT16, "00 80", "-32768");
    ExpectRoundTrip(QZDataType::INT32, "FF FF FF 7F", "2147483647");
    ExpectRoundTrip(QZDataType::INT64, "00 00 00 00 00 00 00 80", "-9223372036854775808");
    ExpectRoundTrip(QZDataType::TIMESTAMP, "E8 03 00 00 00 00 00 00", "1000");
    ExpectRoundTrip(QZDataType::DOUBLE, "00 00 00 00 00 00 04 40", "2.5");
    ExpectRoundTrip(QZDataType::FLOAT, "00 00 20 40", "2.5");
    ExpectRoundTrip(QZDataType::DATETIME,
                    "07000000 E8070000 03000000 05000000 06000000 07000000 08000000 09000000",
                    "2024-03-05 06:07:08.009");
}

TEST(TypedText, ValuesHaveTheClassOfTheirType)
{
    QZString text = Text("1");
    QZData* data = QZConvert::TextToData(&text, QZDataType::INT16);
    EXPECT_EQ(data->GetType(), QZDataInt16::Type);
    QZConvert::Recycle(&data);
    data = QZConvert::TextToData(&text, QZDataType::BOOL);
    EXPECT_EQ(TakeHex(data), "00") << "only \"true\" is true";
}

TEST(TypedText, TooFewBytesThrow)
{
    QZData data("\x01\x02\x03", 3);
    EXPECT_QZ_THROW(QZConvert::DataToText(&data, QZDataType::INT32), 1024);
    EXPECT_QZ_THROW(QZConvert::DataToText(&data, QZDataType::FLOAT), 1024);
    EXPECT_QZ_THROW(QZConvert::DataToText(&data, QZDataType::INT64), 1024);
    EXPECT_QZ_THROW(QZConvert::DataToText(&data, QZDataType::DOUBLE), 1024);
    EXPECT_QZ_THROW(QZConvert::DataToText(&data, QZDataType::DATETIME), 1024);
    EXPECT_QZ_THROW(QZConvert::DataToText(&data, QZDataType::ARRAYINT32), 1024);
    EXPECT_QZ_THROW(QZConvert::DataToText(nullptr, QZDataType::INT32), 256);
    data.NewSize(0);
    EXPECT_QZ_THROW(QZConvert::DataToText(&data, QZDataType::BOOL), 1024);
}

TEST(TypedText, BytesAfterAValueAreIgnored)
{
    QZData data("\x07\x00\x00\x00\x01\x02\x00\x00\x09", 9);
    EXPECT_EQ(Take(QZConvert::DataToText(&data, QZDataType::BOOL)), "True");
    EXPECT_EQ(Take(QZConvert::DataToText(&data, QZDataType::INT16)), "7");
    EXPECT_EQ(Take(QZConvert::DataToText(&data, QZDataType::INT32)), "7");
    EXPECT_EQ(Take(QZConvert::DataToText(&data, QZDataType::INT64)), "2203318222855");
    EXPECT_EQ(data.GetSize(), 9);
}

TEST(TypedText, TextsInTheirEncodings)
{
    ExpectRoundTrip(QZDataType::TEXTGB2312, "61 62", "ab");
    ExpectRoundTrip(QZDataType::TEXTUTF16LE, "61 00 E9 00", "a\xC3\xA9");
    ExpectRoundTrip(QZDataType::TEXTUTF8, "61 C3 A9", "a\xC3\xA9");
    ExpectRoundTrip(QZDataType::TEXTUTF16LE, "", "");
}

TEST(TypedText, OtherTypesUseHexText)
{
    ExpectRoundTrip(QZDataType::BINARY, "00 FF", "00FF");
    ExpectRoundTrip(QZDataType::FILEPNG, "89 50", "8950");
    ExpectRoundTrip(77, "01", "01");
}

TEST(TypedText, ArraysThereAndBack)
{
    ExpectRoundTrip(QZDataType::ARRAYINT32, "03000000 01000000 FEFFFFFF 00000000", "1,-2,0");
    ExpectRoundTrip(QZDataType::ARRAYINT32, "00000000", "");
    ExpectRoundTrip(QZDataType::ARRAYINT64, "0100000000000000 0000000000000080", "-9223372036854775808");
    ExpectRoundTrip(QZDataType::ARRAYDOUBLE, "0000000000000040 000000000000E0BF 0000000000000840", "-0.5,3");
}

TEST(TypedText, ArraysNeedTheBytesOfAllElements)
{
    QZData data;
    data.NewSize(8);
    data.SetValueInt32(0, 2);
    data.SetValueInt32(1, 7);
    EXPECT_QZ_THROW(QZConvert::DataToText(&data, QZDataType::ARRAYINT32), 1024);
    data.SetValueInt32(0, 2147483647);
    EXPECT_QZ_THROW(QZConvert::DataToText(&data, QZDataType::ARRAYINT32), 1024);
    data.SetValueInt32(0, -1);
    EXPECT_EQ(Take(QZConvert::DataToText(&data, QZDataType::ARRAYINT32)), "");
    data.NewSize(16);
    data.SetValueInt32(0, 1);
    EXPECT_EQ(Take(QZConvert::DataToText(&data, QZDataType::ARRAYINT32)), "7")
        << "bytes after the last element are ignored";
}

TEST(TypedText, ArrayTextIsReadLeniently)
{
    QZString text = Text("1 2, 3-,x,");
    EXPECT_EQ(TakeHex(QZConvert::TextToData(&text, QZDataType::ARRAYINT32)),
              qztest::Hex(qztest::Bytes("04000000 0C000000 FDFFFFFF 00000000 00000000")));
    text.Set(QZ_W("1.5-,.25"));
    EXPECT_EQ(TakeHex(QZConvert::TextToData(&text, QZDataType::ARRAYDOUBLE)),
              qztest::Hex(qztest::Bytes("0000000000000040 000000000000F8BF 000000000000D03F")));
}

TEST(TypedText, ArraySeparatorA3SkipsTheNextCharacter)
{
    // U+00A3, half of a wrongly decoded full-width comma, separates elements; the digit after it is its other
    // half.
    QZString text = Text(
        "1\xC2\xA3"
        "92");
    EXPECT_EQ(TakeHex(QZConvert::TextToData(&text, QZDataType::ARRAYINT32)),
              qztest::Hex(qztest::Bytes("02000000 01000000 02000000")));
    text = Text("1\xC2\xA3");
    EXPECT_EQ(TakeHex(QZConvert::TextToData(&text, QZDataType::ARRAYINT32)),
              qztest::Hex(qztest::Bytes("02000000 01000000 00000000")));
}

TEST(TypedText, EmptyTextIsRefusedForNumbersAndDates)
{
    QZString empty;
    EXPECT_QZ_THROW(QZConvert::TextToData(&empty, QZDataType::INT32), 256);
    EXPECT_QZ_THROW(QZConvert::TextToData(&empty, QZDataType::DOUBLE), 256);
    EXPECT_QZ_THROW_MESSAGE(QZConvert::TextToData(&empty, QZDataType::DATETIME), 256,
                            "Invalid datetime  ArgumentOutOfRange");
    EXPECT_QZ_THROW(QZConvert::TextToData(nullptr, QZDataType::BOOL), 256);
    EXPECT_EQ(TakeHex(QZConvert::TextToData(&empty, QZDataType::BOOL)), "00");
}

}  // namespace
