#include "json_writer.h"

#include "common/owned.h"

namespace qzmon
{

void JsonWriter::Put(const char* name, QZJsonValue* value)
{
    qzapp::OwnedJson owned(value);
    if (m_open.empty())
    {
        m_root = std::move(owned);
        return;
    }
    QZJsonValue* into = m_open.back();
    if (into->GetType() == QZJsonObject::Type)
        static_cast<QZJsonObject*>(into)->Set(name, value);
    else
        static_cast<QZJsonValueCollection*>(into)->Add(value);
    // The object or list owns it now.
    static_cast<void>(owned.release());
}

JsonWriter& JsonWriter::Begin(const char* name, QZJsonValue* container)
{
    Put(name, container);
    m_open.push_back(container);
    return *this;
}

JsonWriter& JsonWriter::Open(const char* name) { return Begin(name, QZJsonFactory::CreateObject()); }

JsonWriter& JsonWriter::OpenList(const char* name)
{
    return Begin(name, QZJsonFactory::CreateValueCollection());
}

JsonWriter& JsonWriter::End()
{
    m_open.pop_back();
    return *this;
}

JsonWriter& JsonWriter::Add(const char* name, std::string_view text)
{
    QZString wide = Text(WellFormed(text));
    Put(name, QZJsonFactory::CreateString(&wide));
    return *this;
}

JsonWriter& JsonWriter::Add(const char* name, QZInt64 value)
{
    Put(name, QZJson::CreateInt64(value));
    return *this;
}

JsonWriter& JsonWriter::Add(const char* name, double value)
{
    Put(name, QZJson::CreateNumber(value));
    return *this;
}

JsonWriter& JsonWriter::Add(const char* name, bool value)
{
    Put(name, QZJsonFactory::CreateBool(value ? 1 : 0));
    return *this;
}

std::string JsonWriter::Str() const
{
    QZJsonWriteOptions options;
    options.HtmlSafe = 1;
    options.NotFiniteAsNull = 1;
    const qzapp::OwnedData text(QZJson::WriteUtf8(m_root.get(), options));
    return qzapp::BytesOf(text.get());
}

}  // namespace qzmon
