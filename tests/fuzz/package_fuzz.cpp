// Any bytes as a package of either width and as typed data: an accepted package can be read element by
// element and written again, a rejected one throws code 512, and conversions either return or throw.

#include <cstdint>
#include <cstdlib>

#include "fw/fw_convert.h"
#include "fw/fw_data.h"
#include "fw/fw_data_type.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_library.h"
#include "fw/fw_package.h"
#include "fw/fw_string.h"
#include "qzlib.h"
#include "sys/sys_bytes.h"

namespace
{
void Require(bool condition)
{
    if (!condition) std::abort();
}

/// Runs the call and returns the code of the exception that it throws, or 0.
template <typename Call>
QZInt64 CodeOf(Call call)
{
    try
    {
        call();
    }
    catch (QZException* e)
    {
        const QZInt64 code = e->GetCode();
        QZExceptionFactory::Recycle(&e);
        return code;
    }
    return 0;
}

template <typename Package>
void Rewrite(Package* package)
{
    QZData wire;
    // Duplicate ids make the package inconsistent.
    const QZInt64 code = CodeOf([&] { Package::Serialize(package, &wire); });
    Require(code == 0 || code == 1024);
    if (code != 0) return;
    Package* again = nullptr;
    Require(CodeOf([&] { again = Package::Deserialize(&wire); }) == 0);
    Require(again->Count() == package->Count());
    for (QZInt64 i = 0; i < again->Count(); ++i)
    {
        QZData* left = package->GetElement(i);
        QZData* right = again->GetElement(i);
        Require(left->Equals(right->GetPointer(), right->GetSize()));
        Package::Recycle(&left);
        Package::Recycle(&right);
    }
    Package::Recycle(&again);
}

template <typename Package>
void Read(QZData* data)
{
    Package* package = nullptr;
    const QZInt64 code = CodeOf([&] { package = Package::Deserialize(data); });
    Require((code == 0) == (package != nullptr));
    Require(code == 0 || code == 512);
    if (package == nullptr) return;
    for (QZUInt64 id = 0; id < 4; ++id)
    {
        // With duplicate ids, an id may point past the last element; the result is then null.
        QZData* element = package->GetElementByID(id);
        if (element != nullptr) Package::Recycle(&element);
        package->GetElementTypeByID(id);
    }
    Rewrite(package);
    Package::Recycle(&package);
}

constexpr QZInt64 kTypes[] = {
    QZDataType::BOOL,        QZDataType::INT8,        QZDataType::INT16,      QZDataType::INT32,
    QZDataType::INT64,       QZDataType::DOUBLE,      QZDataType::TIMESTAMP,  QZDataType::DATETIME,
    QZDataType::BYTE,        QZDataType::FLOAT,       QZDataType::ARRAYINT32, QZDataType::ARRAYINT64,
    QZDataType::ARRAYDOUBLE, QZDataType::TEXTUTF16LE, QZDataType::TEXTUTF8,   QZDataType::BINARY};

void Convert(QZData* data)
{
    QZString bytes(static_cast<const QZWChar*>(data->GetPointer()), data->GetSize() / 2 * 2);
    for (QZInt64 type : kTypes)
    {
        CodeOf([&] {
            QZString* text = QZConvert::DataToText(data, type);
            CodeOf([&] {
                QZData* back = QZConvert::TextToData(text, type);
                QZConvert::Recycle(&back);
            });
            QZConvert::Recycle(&text);
        });
        CodeOf([&] {
            QZData* value = QZConvert::TextToData(&bytes, type);
            QZConvert::Recycle(&value);
        });
    }
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static const QZBool started = QZLibInit();
    Require(started != 0);
    QZData data(bytes, static_cast<QZInt64>(size));
    Read<QZPackage>(&data);
    Read<QZPackage32>(&data);
    Convert(&data);
    return 0;
}
