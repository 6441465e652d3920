#include "fw/fw_package.h"

#include "fw/assert_watch.h"
#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "support/qz_test.h"
#include "sys/sys_bytes.h"

namespace
{

QZData DataOf(std::string_view hex)
{
    const std::string bytes = qztest::Bytes(hex);
    return QZData(bytes.data(), static_cast<QZInt64>(bytes.size()));
}

/// Returns the bytes of a buffer as hex, "null" for no buffer, and recycles the buffer.
std::string Take(QZData* data)
{
    if (data == nullptr) return "null";
    std::string shown = qztest::Hex(data->GetPointer(), static_cast<std::size_t>(data->GetSize()));
    QZPackage::Recycle(&data);
    EXPECT_EQ(data, nullptr);
    return shown;
}

template <typename Package>
void Add(Package* package, QZUInt64 id, std::string_view hex, QZUInt64 type)
{
    QZData data = DataOf(hex);
    EXPECT_EQ(package->Add(id, &data, type), 1);
}

template <typename Package>
std::string Wire(Package* package)
{
    QZData target;
    Package::Serialize(package, &target);
    return qztest::Hex(target.GetPointer(), static_cast<std::size_t>(target.GetSize()));
}

std::string Plain(std::string_view hex) { return qztest::Hex(qztest::Bytes(hex)); }

/// Tests that hold for both widths of packages.
template <typename Package>
class PackageOf : public ::testing::Test
{};
using Packages = ::testing::Types<QZPackage, QZPackage32>;
TYPED_TEST_SUITE(PackageOf, Packages);

TYPED_TEST(PackageOf, ElementsByIdAndByIndex)
{
    TypeParam package;
    EXPECT_EQ(package.Count(), 0);
    EXPECT_EQ(package.GetType(), 0x81FF100);
    EXPECT_EQ(TypeParam::Type, QZPackage::Type);
    Add(&package, 7, "01 02 03", 0x2000000);
    Add(&package, 5, "", 9);
    EXPECT_EQ(package.Count(), 2);
    EXPECT_EQ(Take(package.GetElementByID(7)), "01 02 03");
    EXPECT_EQ(Take(package.GetElementByID(5)), "");
    EXPECT_EQ(Take(package.GetElementByID(6)), "null");
    EXPECT_EQ(Take(package.GetElement(0)), "01 02 03");
    EXPECT_EQ(Take(package.GetElement(1)), "");
    EXPECT_EQ(package.GetElementTypeByID(7), 0x2000000u);
    EXPECT_EQ(package.GetElementTypeByID(5), 9u);
    EXPECT_EQ(package.GetElementTypeByID(6), 0u);
    EXPECT_QZ_THROW(package.GetElement(2), 1024);
    EXPECT_QZ_THROW(package.GetElement(-1), 1024);
}

TYPED_TEST(PackageOf, DuplicateIdIsRefused)
{
    TypeParam package;
    Add(&package, 7, "01", 1);
    QZData other = DataOf("02");
    EXPECT_EQ(package.Add(7, &other, 2), 0);
    EXPECT_EQ(package.Count(), 1);
    EXPECT_EQ(Take(package.GetElementByID(7)), "01");
    EXPECT_EQ(package.GetElementTypeByID(7), 1u);
    EXPECT_QZ_THROW(package.Add(8, nullptr, 2), 256);
    EXPECT_EQ(package.Count(), 1);
}

TYPED_TEST(PackageOf, ElementsArePrivateCopies)
{
    TypeParam package;
    QZData data = DataOf("01");
    package.Add(1, &data, 0);
    data.SetValueByte(0, 9);
    QZData* out = package.GetElementByID(1);
    out->SetValueByte(0, 8);
    TypeParam::Recycle(&out);
    EXPECT_EQ(Take(package.GetElementByID(1)), "01");
}

TYPED_TEST(PackageOf, SetElementKeepsTheType)
{
    TypeParam package;
    Add(&package, 1, "01", 11);
    Add(&package, 2, "02", 22);
    QZData data = DataOf("0A 0B");
    package.SetElementByID(2, &data);
    package.SetElement(0, &data);
    EXPECT_EQ(Take(package.GetElementByID(1)), "0A 0B");
    EXPECT_EQ(Take(package.GetElementByID(2)), "0A 0B");
    EXPECT_EQ(package.GetElementTypeByID(1), 11u);
    EXPECT_EQ(package.GetElementTypeByID(2), 22u);
    EXPECT_QZ_THROW(package.SetElementByID(3, &data), 256);
    EXPECT_QZ_THROW(package.SetElement(2, &data), 1024);
    EXPECT_QZ_THROW(package.SetElement(0, nullptr), 256);
    EXPECT_EQ(Take(package.GetElement(0)), "0A 0B");
}

TYPED_TEST(PackageOf, ConstructorTakesAPositiveCapacity)
{
    EXPECT_QZ_THROW(TypeParam(0), 256);
    EXPECT_QZ_THROW(TypeParam(-1), 256);
    TypeParam package(3);
    EXPECT_EQ(package.Count(), 0);
    for (QZUInt64 id = 0; id < 5; ++id) Add(&package, id, "01", id);
    EXPECT_EQ(package.Count(), 5);
}

TEST(Package, TraceNamesTheWidthOfTheCapacity)
{
    EXPECT_EQ(QZ_TEST_CATCH(QZPackage(0)).stackTrace, "QZPackage::QZPackage(QZInt64)");
    EXPECT_EQ(QZ_TEST_CATCH(QZPackage32(-4)).stackTrace, "QZPackage32::QZPackage32(QZInt32)");
    EXPECT_EQ(QZ_TEST_CATCH(QZPackage32(-4)).argumentTrace, "QZPackage32::QZPackage32(-4)");
}

TYPED_TEST(PackageOf, RoundTrip)
{
    TypeParam package;
    Add(&package, 7, "01 02 03", 0x2000000);
    Add(&package, 0, "", 5);
    Add(&package, 9, "FF", 6);
    QZData wire;
    TypeParam::Serialize(&package, &wire);
    TypeParam* back = TypeParam::Deserialize(&wire);
    EXPECT_EQ(back->Count(), 3);
    EXPECT_EQ(Take(back->GetElementByID(7)), "01 02 03");
    EXPECT_EQ(Take(back->GetElementByID(0)), "");
    EXPECT_EQ(Take(back->GetElement(2)), "FF");
    EXPECT_EQ(back->GetElementTypeByID(9), 6u);
    EXPECT_EQ(Wire(back), Wire(&package));
    TypeParam::Recycle(&back);
    EXPECT_EQ(back, nullptr);
}

TYPED_TEST(PackageOf, CopySharesTheElements)
{
    TypeParam copy;
    {
        TypeParam package;
        Add(&package, 1, "01", 1);
        copy = package;
        Add(&package, 2, "02", 2);
    }
    EXPECT_EQ(copy.Count(), 2);
    EXPECT_EQ(Take(copy.GetElementByID(2)), "02");
}

TYPED_TEST(PackageOf, RecycleOfALockedBufferOnlyClearsTheVariable)
{
    QZData data;
    data.SetDisposable(3, 0);
    QZData* variable = &data;
    TypeParam::Recycle(&variable);
    EXPECT_EQ(variable, nullptr);
    EXPECT_EQ(data.IsDisposable(), 0);
    data.SetDisposable(3, 1);
}

TYPED_TEST(PackageOf, RecycleOfNullFailsAnAssertion)
{
    qztest::AssertWatch watch;
    TypeParam* package = nullptr;
    TypeParam::Recycle(&package);
    QZData* data = nullptr;
    TypeParam::Recycle(&data);
    EXPECT_EQ(watch.Count(), 2);
}

TYPED_TEST(PackageOf, ManyElementsWithTheSameIdAreReadQuickly)
{
    TypeParam package;
    Add(&package, 1, "", 0);
    QZData one;
    TypeParam::Serialize(&package, &one);
    const QZInt64 word = one.GetSize() == 8 + 64 + 1 ? 8 : 4;
    const QZInt64 entry = one.GetSize() - 1 - word;
    const QZInt64 count = 2000;
    QZData many(word + entry * count);
    QZStore(many.GetPointer(), static_cast<QZUInt32>(count));
    for (QZInt64 i = 0; i < count; ++i)
    {
        unsigned char* end = QZAt(many.GetPointer(), word + entry * (i + 1));
        QZStore(end - word, static_cast<QZUInt32>(many.GetSize()));
        QZStore(end - 2 * word, static_cast<QZUInt32>(many.GetSize()));
    }
    TypeParam* back = TypeParam::Deserialize(&many);
    EXPECT_EQ(back->Count(), count);
    EXPECT_EQ(Take(back->GetElementByID(0)), "");
    TypeParam::Recycle(&back);
}

// ---- The wire format with 64-bit fields

TEST(Package, EmptyIsEightBytes)
{
    QZPackage package;
    EXPECT_EQ(Wire(&package), Plain("00 00 00 00 00 00 00 00"));
    QZData wire = DataOf("00 00 00 00 00 00 00 00");
    QZPackage* back = QZPackage::Deserialize(&wire);
    EXPECT_EQ(back->Count(), 0);
    QZPackage::Recycle(&back);
}

const char* const kOneElement =
    "0100000000000000"
    "0000000000000000 0000000000000000 0000000000000000 0000000000000000"
    "0000000200000000 0700000000000000 4900000000000000 4C00000000000000"
    "00 010203";

TEST(Package, OneElementByteByByte)
{
    QZPackage package;
    Add(&package, 7, "01 02 03", 0x2000000);
    EXPECT_EQ(Wire(&package), Plain(kOneElement));
    EXPECT_EQ(qztest::Bytes(kOneElement).size(), 76u);
}

TEST(Package, TwoElementsByteByByte)
{
    QZPackage package;
    Add(&package, 0xFFFFFFFFFFFFFFFFull, "AA", 0x8000000000000001ull);
    Add(&package, 2, "BB CC", 3);
    EXPECT_EQ(Wire(&package), Plain("0200000000000000"
                                    "0000000000000000 0000000000000000 0000000000000000 0000000000000000"
                                    "0100000000000080 FFFFFFFFFFFFFFFF 8900000000000000 8A00000000000000"
                                    "0000000000000000 0000000000000000 0000000000000000 0000000000000000"
                                    "0300000000000000 0200000000000000 8B00000000000000 8D00000000000000"
                                    "00 AA 00 BBCC"));
}

TEST(Package, ReservedAndFillerBytesKeepTheTargetsBytes)
{
    QZPackage package;
    Add(&package, 7, "01 02 03", 0x2000000);
    QZData target;
    target.NewSize(100, 0xEE);
    QZPackage::Serialize(&package, &target);
    EXPECT_BYTES(target.GetPointer(), target.GetSize(),
                 "0100000000000000"
                 "EEEEEEEEEEEEEEEE EEEEEEEEEEEEEEEE EEEEEEEEEEEEEEEE EEEEEEEEEEEEEEEE"
                 "0000000200000000 0700000000000000 4900000000000000 4C00000000000000"
                 "EE 010203");
    QZPackage* back = QZPackage::Deserialize(&target);
    EXPECT_EQ(Take(back->GetElementByID(7)), "01 02 03");
    QZPackage::Recycle(&back);
}

/// Returns the 76 bytes of one element with one word changed.
QZData Changed(QZInt64 word, QZUInt64 value)
{
    QZData data = DataOf(kOneElement);
    data.SetValueUInt64(word, value);
    return data;
}

TEST(Package, MalformedBytesAreRefused)
{
    QZData wrong[] = {
        DataOf(""),
        DataOf("00 00 00 00"),
        DataOf("00 00 00 00 00 00 00"),
        DataOf("01 00 00 00 00 00 00 00"),
        Changed(0, 2),
        Changed(0, 0x8000000000000000ull),
        Changed(0, 0x0400000000000001ull),
        Changed(0, 0x0800000000000000ull),
        Changed(0, 0xFFFFFFFFFFFFFFFFull),
        Changed(7, 31),
        Changed(7, 77),
        Changed(7, 0xFFFFFFFFFFFFFFFFull),
        Changed(8, 72),
        Changed(8, 77),
        Changed(8, 0x8000000000000000ull),
    };
    for (QZData& data : wrong)
        EXPECT_QZ_THROW_MESSAGE(QZPackage::Deserialize(&data), 512, " StructuralFailure");
    EXPECT_QZ_THROW(QZPackage::Deserialize(nullptr), 256);
}

TEST(Package, TraceShowsTheRefusedBytes)
{
    QZData data = DataOf("01 02");
    const qztest::Thrown thrown = QZ_TEST_CATCH(QZPackage::Deserialize(&data));
    EXPECT_EQ(thrown.stackTrace, "QZPackage::Deserialize(QZData*)");
    EXPECT_EQ(thrown.argumentTrace, "QZPackage::Deserialize(<HEX>0102)");
    const qztest::Thrown other = QZ_TEST_CATCH(QZPackage32::Deserialize(&data));
    EXPECT_EQ(other.stackTrace, "QZPackage32::Deserialize(QZData*)");
}

TEST(Package, ElementMayBeginInsideTheDirectory)
{
    QZData data = Changed(7, 32);
    data.SetValueUInt64(8, 40);
    QZPackage* package = QZPackage::Deserialize(&data);
    EXPECT_EQ(Take(package->GetElement(0)), Plain("0000000000000000"));
    QZPackage::Recycle(&package);
}

TEST(Package, ElementsMustBeInOrderAndDisjoint)
{
    QZPackage package;
    Add(&package, 1, "AA", 1);
    Add(&package, 2, "BB", 1);
    QZData data;
    QZPackage::Serialize(&package, &data);
    ASSERT_EQ(data.GetSize(), 140);
    QZData touching(data);
    touching.SetValueUInt64(15, 138);
    QZPackage* back = QZPackage::Deserialize(&touching);
    EXPECT_EQ(Take(back->GetElement(1)), "00 BB") << "the filler byte is optional";
    QZPackage::Recycle(&back);
    data.SetValueUInt64(15, 137);
    EXPECT_QZ_THROW(QZPackage::Deserialize(&data), 512);
}

TEST(Package, DuplicateIdShiftsTheFollowingIds)
{
    QZPackage package;
    Add(&package, 1, "AA", 11);
    Add(&package, 2, "BB", 22);
    Add(&package, 3, "CC", 33);
    QZData data;
    QZPackage::Serialize(&package, &data);
    data.SetValueUInt64(14, 1);
    QZPackage* back = QZPackage::Deserialize(&data);
    EXPECT_EQ(back->Count(), 3);
    EXPECT_EQ(Take(back->GetElementByID(1)), "AA");
    EXPECT_EQ(Take(back->GetElementByID(3)), "BB");
    EXPECT_EQ(back->GetElementTypeByID(3), 22u);
    EXPECT_EQ(Take(back->GetElement(2)), "CC");
    EXPECT_QZ_THROW(Wire(back), 1024);
    QZPackage::Recycle(&back);
}

// ---- The wire format with 32-bit fields

TEST(Package32, EmptyIsFourBytes)
{
    QZPackage32 package;
    EXPECT_EQ(Wire(&package), Plain("00 00 00 00"));
    QZData wire = DataOf("00 00 00 00");
    QZPackage32* back = QZPackage32::Deserialize(&wire);
    EXPECT_EQ(back->Count(), 0);
    QZPackage32::Recycle(&back);
}

TEST(Package32, TwoElementsByteByByte)
{
    QZPackage32 package;
    Add(&package, 7, "01 02 03", 0x2000000);
    Add(&package, 8, "04", 5);
    EXPECT_EQ(Wire(&package), Plain("02000000"
                                    "00000002 07000000 25000000 28000000"
                                    "05000000 08000000 29000000 2A000000"
                                    "00 010203 00 04"));
}

TEST(Package32, WideIdsAreTruncatedWhenWritten)
{
    QZPackage32 package;
    Add(&package, 0x100000001ull, "01", 0x200000003ull);
    EXPECT_EQ(package.GetElementTypeByID(0x100000001ull), 0x200000003ull);
    EXPECT_EQ(Take(package.GetElementByID(1)), "null");
    QZData wire;
    QZPackage32::Serialize(&package, &wire);
    QZPackage32* back = QZPackage32::Deserialize(&wire);
    EXPECT_EQ(Take(back->GetElementByID(1)), "01");
    EXPECT_EQ(back->GetElementTypeByID(1), 3u);
    QZPackage32::Recycle(&back);
}

TEST(Package32, MalformedBytesAreRefused)
{
    const char* const kWrong[] = {
        "",
        "00 00 00",
        "01000000",
        "01000000 00000000 00000000 15000000",
        "10000000 00000000 00000000 15000000 15000000 00",
        "FFFFFFFF 00000000 00000000 15000000 15000000 00",
        "01000000 00000000 00000000 0F000000 15000000 00",
        "01000000 00000000 00000000 16000000 16000000 00",
        "01000000 00000000 00000000 15000000 16000000 00",
        "01000000 00000000 00000000 15000000 14000000 00",
        "01000000 00000000 00000000 15000000 FFFFFFFF 00",
    };
    for (const char* wrong : kWrong)
    {
        QZData data = DataOf(wrong);
        EXPECT_QZ_THROW(QZPackage32::Deserialize(&data), 512);
    }
    QZData right = DataOf("01000000 00000000 00000000 15000000 15000000 00");
    QZPackage32* package = QZPackage32::Deserialize(&right);
    EXPECT_EQ(package->Count(), 1);
    QZPackage32::Recycle(&package);
}

TEST(Package32, EmptyPackageOf32BitsIsTooShortFor64Bits)
{
    // Four zero bytes are an empty package with 32-bit fields, but too short for one with 64-bit fields.
    QZData data = DataOf("00 00 00 00");
    EXPECT_QZ_THROW(QZPackage::Deserialize(&data), 512);
}

}  // namespace
