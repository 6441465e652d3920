// Any text as JSON: parsing throws a QZException or returns a tree with valid text, a tree can be cloned if
// its text can be parsed again, and Format and Minify accept everything.

#include <cstdint>
#include <cstdlib>

#include "fw/fw_encoding.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/fw_table.h"
#include "net/net_json.h"
#include "qzlib.h"

namespace
{
void Require(bool condition)
{
    if (!condition) std::abort();
}

template <typename Call>
void Try(Call call)
{
    try
    {
        call();
    }
    catch (QZException* exception)
    {
        Require(exception->GetCode() != 0);
        QZExceptionFactory::Recycle(&exception);
    }
}

void Tables(QZJsonValue* value)
{
    if (value->GetType() != QZJsonValueCollection::Type) return;
    Try([&] {
        QZDataTable* table = QZJsonFactory::Json2DataTable(static_cast<QZJsonValueCollection*>(value));
        Try([&] {
            QZJsonValueCollection* back = QZJsonFactory::DataTable2Json(table);
            Require(back->Count() == table->Rows->Count());
            QZJsonFactory::Recycle(&back);
        });
        QZJsonFactory::Recycle(&table);
    });
}

void Read(QZString* text)
{
    QZJsonValue* value = nullptr;
    Try([&] { value = QZJsonFactory::DeserializeObject(text); });
    if (value == nullptr) return;
    Require(value->GetType() == QZJsonObject::Type || value->GetType() == QZJsonValueCollection::Type);
    QZString* written = QZJsonFactory::SerializeObject(value);
    Require(written->Check() && written->GetLength() >= 2);
    QZString* again = value->ToString();
    Require(again->Equals(written));
    Require(value->GetMemorySize() > 0);
    Try([&] {
        QZJsonValue* copy = QZJsonFactory::Clone(value);
        if (copy != nullptr) QZJsonFactory::Recycle(&copy);
    });
    Tables(value);
    QZStringFactory::Recycle(&again);
    QZStringFactory::Recycle(&written);
    QZJsonFactory::Recycle(&value);
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool started = [] {
        QZLibInit();
        QZLibSetFunctionAssert([](QZBool condition) { Require(condition != 0); });
        return true;
    }();
    Require(started);
    Try([&] {
        QZString* text = QZEncoding::GetString(QZEncodingType::UTF8, data, static_cast<QZInt64>(size));
        Read(text);
        for (QZString* shaped : {QZJsonFactory::Format(text), QZJsonFactory::Minify(text)})
        {
            Require(shaped->Check());
            Read(shaped);
            QZStringFactory::Recycle(&shaped);
        }
        QZStringFactory::Recycle(&text);
    });
    QZLibCollect(1);
    return 0;
}
