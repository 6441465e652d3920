#include "net/net_http_header.h"

#include "fw/fw_string_factory.h"
#include "fw/internal/fw_scoped.h"
#include "net/internal/net_http_elements.h"
#include "net/internal/net_http_guard.h"
#include "net/internal/net_http_text.h"

const QZInt64 QZHttpHeader::Type;
const QZInt64 QZHttpHeaderCollection::Type;

QZHttpHeader::QZHttpHeader()
{
    for (QZString* text : {&m_name, &m_value}) http::Own(text, QZObject::GetObjectID());
}

QZHttpHeader::~QZHttpHeader()
{
    for (QZString* text : {&m_name, &m_value}) http::Disown(text, QZObject::GetObjectID());
}

QZInt64 QZHttpHeader::GetType() { return Type; }

QZString* QZHttpHeader::GetName() { return &m_name; }
QZString* QZHttpHeader::GetValue() { return &m_value; }

void QZHttpHeader::Set(QZString* line)
{
    http::RequireOneLine(QZ_W("QZHttpHeader"), QZ_W("Set"), line);
    if (line != &m_name && line != &m_value) return http::ReadHeader(&m_name, &m_value, line);
    const QZScopedString copy(QZStringFactory::CreateString(line));
    http::ReadHeader(&m_name, &m_value, copy.Get());
}

void QZHttpHeader::Clear()
{
    m_name.Clear();
    m_value.Clear();
}

void QZHttpHeader::Recycle(QZString** text)
{
    http::RecycleForeign(text, *text == &m_name || *text == &m_value,
                         [](QZString** foreign) { QZStringFactory::Recycle(foreign); });
}

QZObject* QZHttpHeader::NewObject() { return new QZHttpHeader(); }
void QZHttpHeader::DeleteObject(QZObject* header) { delete header; }

QZHttpHeaderCollection::QZHttpHeaderCollection() = default;
QZHttpHeaderCollection::~QZHttpHeaderCollection() = default;

QZInt64 QZHttpHeaderCollection::GetType() { return Type; }

QZHttpHeader* QZHttpHeaderCollection::GetElement(QZInt64 index)
{
    return static_cast<QZHttpHeader*>(QZObjectCollection::GetElement(index));
}

QZHttpHeader* QZHttpHeaderCollection::Pop()
{
    return http::Unlocked(static_cast<QZHttpHeader*>(QZObjectCollection::Pop()), GetObjectID());
}

QZBool QZHttpHeaderCollection::RemoveElement(QZInt64 index)
{
    http::Unlocked(GetElement(index), GetObjectID());
    return QZObjectCollection::RemoveElement(index);
}

QZBool QZHttpHeaderCollection::Push(QZHttpHeader* header) { return QZObjectCollection::Push(header); }

QZInt64 QZHttpHeaderCollection::GetHeadersSize() { return http::SizeOfTexts(this); }

QZObject* QZHttpHeaderCollection::NewObject() { return new QZHttpHeaderCollection(); }
void QZHttpHeaderCollection::DeleteObject(QZObject* collection) { delete collection; }
