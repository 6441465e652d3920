#include "json_reader.h"

#include "common/owned.h"

namespace qzmon
{

namespace
{

[[noreturn]] void Refuse(const std::string& what)
{
    throw Failure{400, "The body of the request is no JSON object of plain values: " + what + "."};
}

}  // namespace

Fields ReadJsonObject(std::string_view text)
{
    QZJsonValue* value = nullptr;
    QZJsonError error;
    if (!QZJson::TryParse(text.data(), static_cast<QZInt64>(text.size()), &value, &error))
    {
        QZString reason(error.Reason);
        Refuse("at byte " + std::to_string(error.Offset) + ", " + Utf8(&reason));
    }
    const qzapp::OwnedJson owned(value);
    if (value->GetType() != QZJsonObject::Type) Refuse("it is another value");
    QZJsonObject* object = static_cast<QZJsonObject*>(value);
    Fields fields;
    for (QZInt64 i = 0; i < object->AttrCount(); ++i)
    {
        QZJsonValue* field = object->GetAttrValue(i);
        const QZInt64 type = field->GetType();
        const std::string name = Utf8(object->GetAttrName(i));
        if (type == QZJsonNull::Type) continue;
        if (type == QZJsonObject::Type || type == QZJsonValueCollection::Type)
            Refuse("\"" + Visible(name) + "\" is an object or a list");
        fields[name] = Utf8(field->Val());
    }
    return fields;
}

}  // namespace qzmon
