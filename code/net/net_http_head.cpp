#include "net/internal/net_http_head.h"

#include "net/internal/net_http_guard.h"

namespace http
{
void HeadBuilder::AppendHeaders(QZHttpHeaderCollection* headers)
{
    const QZInt64 count = headers->Count();
    for (QZInt64 i = 0; i < count; ++i)
    {
        QZHttpHeader* header = headers->GetElement(i);
        for (QZString* text : {header->GetName(), header->GetValue()})
            RequireOneLine(QZ_W("QZHttpHeader"), QZ_W("ToData"), text);
        Append(header->GetName());
        Append(QZ_W(": "));
        Append(header->GetValue());
        Append(QZ_W("\r\n"));
    }
}

QZData* ToBytes(const TextBuilder& head, QZData* content)
{
    const QZInt64 headSize = head.Utf8Size();
    QZScopedData data(QZDataFactory::CreateData());
    data->NewSize(headSize + content->GetSize());
    auto* bytes = static_cast<unsigned char*>(data->GetPointer());
    head.WriteUtf8(bytes, headSize);
    QZMemCopy(bytes + headSize, content->GetPointer(), content->GetSize());
    return data.Release();
}
}  // namespace http
