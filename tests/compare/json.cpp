// JSON: values from valid, random and damaged text, their texts, format, and tables.

#include "compare.h"

namespace compare
{
namespace
{
std::string Quoted(Random& r)
{
    std::string text = "\"";
    for (QZInt64 i = r.Below(8); i > 0; --i)
    {
        if (r.Chance(25))
            text +=
                r.Pick({"\\n", "\\\"", "\\\\", "\\u0041", "\\uD83D\\uDE00", "\\/", "\\t", "\\x", "\\u12"});
        else if (r.Chance(15))
            text += r.Pick({"\xC3\xA9", "\xE4\xB8\xAD", "\xF0\x9F\x98\x80"});
        else
            text += static_cast<char>(r.Range('a', 'z'));
    }
    return text + "\"";
}

std::string Space(Random& r) { return r.Chance(80) ? "" : r.Pick({" ", "\n", "\t", "\r\n", "  "}); }

std::string Value(Random& r, int depth)
{
    const QZInt64 kind = r.Below(depth > 0 ? 9 : 6);
    switch (kind)
    {
        case 0: return r.Pick({"true", "false", "null", "True", "nul"});
        case 1: return std::to_string(r.Number() >> 12);
        case 2: return std::to_string(r.Real());
        case 3:
            return r.Pick(
                {"0", "-0", "1e5", "1E-3", "-1.5e+2", "0x10", ".5", "5.", "-", "12345678901234567890"});
        case 4:
        case 5: return Quoted(r);
        default: break;
    }
    const bool object = kind != 8;
    std::string text = object ? "{" : "[";
    for (QZInt64 i = r.Below(5), first = 1; i > 0; --i, first = 0)
    {
        text += (first != 0 ? "" : ",") + Space(r);
        if (object) text += Quoted(r) + Space(r) + ":" + Space(r);
        text += Value(r, depth - 1) + Space(r);
    }
    return text + (object ? "}" : "]");
}

std::string Source(Random& r)
{
    if (r.Chance(8)) return Utf8(r.Text(20));
    std::string text = Space(r) + Value(r, r.Int(1, 4)) + Space(r);
    if (r.Chance(25) && !text.empty())
    {
        const auto at = static_cast<std::size_t>(r.Below(static_cast<QZInt64>(text.size())));
        if (r.Chance(50))
            text.erase(at, 1);
        else
            text.insert(at, 1, "{}[],:\"\\ 1t"[r.Below(11)]);
    }
    return text;
}

void Walk(Case& c, QZJsonValue* value, int depth)
{
    const std::string indent(static_cast<std::size_t>(2 * depth), ' ');
    if (value == nullptr) return c.Line(indent + "<null>");
    c.Line(indent + std::to_string(value->GetType()) + " " + c.Show(value->Val()));
    if (auto* object = dynamic_cast<QZJsonObject*>(value))
    {
        for (QZInt64 i = 0; i < object->AttrCount(); ++i)
        {
            c.Line(indent + c.Show(object->GetAttrName(i)));
            Walk(c, object->GetAttrValue(i), depth + 1);
        }
    }
    if (auto* list = dynamic_cast<QZJsonValueCollection*>(value))
        for (QZInt64 i = 0; i < list->Count(); ++i) Walk(c, list->GetElement(i), depth + 1);
}

void Tables(Case& c, QZJsonValueCollection* list)
{
    static const QZInt64 types[] = {QZDataType::INT32, QZDataType::TEXTUTF16LE, QZDataType::DOUBLE,
                                    QZDataType::BOOL, QZDataType::TEXTUTF8};
    const auto show = [&](QZDataTable* table) {
        for (QZInt64 i = 0; i < table->Columns->Count(); ++i)
            c.Line(c.Show(table->Columns->GetColumn(i)) + std::to_string(table->Columns->GetElementType(i)));
        for (QZInt64 row = 0; row < table->Rows->Count(); ++row)
            for (QZInt64 i = 0; i < table->Columns->Count(); ++i)
                c.Line("  " + c.Show(table->Rows->GetRow(row)->GetElement(i)));
        c.Do("DataTable2Json", [&] {
            QZJsonValueCollection* back = QZJsonFactory::DataTable2Json(table);
            QZString* text = back->ToString();
            QZJsonFactory::Recycle(&back);
            return Own(text);
        });
    };
    QZDataTable table;
    for (QZInt64 i = c.random.Below(3); i > 0; --i)
    {
        QZString name(c.random.Name(2).c_str());
        c.Do("Add", [&] { return table.Columns->Add(&name, c.random.Pick(types)); });
    }
    c.Do("Json2DataTable into", [&] { QZJsonFactory::Json2DataTable(&table, list); });
    show(&table);
    QZDataTable* made = nullptr;
    c.Do("Json2DataTable", [&] { made = QZJsonFactory::Json2DataTable(list); });
    if (made == nullptr) return;
    show(made);
    QZJsonFactory::Recycle(&made);
}

void Change(Case& c, QZJsonValue* value)
{
    Random& r = c.random;
    if (auto* object = dynamic_cast<QZJsonObject*>(value); object != nullptr && object->AttrCount() > 0)
    {
        QZJsonValue* taken = nullptr;
        const QZInt64 index = r.Range(-1, object->AttrCount());
        QZString* name = object->GetAttrName(r.Below(object->AttrCount()));
        const Wide key(name->GetPointer(), static_cast<std::size_t>(name->GetLength()));
        if (r.Chance(50))
            c.Do("RemoveAttr at", [&] {
                taken = object->RemoveAttr(index);
                return taken != nullptr;
            });
        else
            c.Do("RemoveAttr", [&] {
                taken = InAnyFormOrNull(c, key, [&](auto* k) { return object->RemoveAttr(k); });
                return taken != nullptr;
            });
        if (taken != nullptr) QZJsonFactory::Recycle(&taken);
    }
    if (auto* list = dynamic_cast<QZJsonValueCollection*>(value))
    {
        QZJsonValue* given = QZJsonFactory::CreateDecimal(r.Real());
        switch (r.Below(4))
        {
            case 0: list->Push(given); break;
            case 1: list->EnQueue(given); break;
            case 2: list->AddFirst(given); break;
            default: list->AddLast(given); break;
        }
        c.Value("first is last", list->GetFirst() == list->GetLast());
        QZJsonValue* taken = r.Chance(50) ? list->Pop() : list->DeQueue();
        if (taken != nullptr) QZJsonFactory::Recycle(&taken);
    }
    if (value->GetType() == QZJsonString::Type || value->GetType() == QZJsonDecimal::Type)
    {
        QZString text(r.Text(5).c_str());
        value->Val(&text);
    }
}

template <typename T>
void Made(Case& c, const char* name, T* value)
{
    c.Line(std::string(name) + c.Show(Own(value->ToString())) +
           c.Show(Own(QZJsonFactory::SerializeObject(value))));
    QZJsonFactory::Recycle(&value);
}
}  // namespace

void RunJson(Case& c)
{
    Random& r = c.random;
    QZException::IsStackTrace = static_cast<QZBool>(r.Chance(80));
    const std::string source = Source(r);
    QZString* text =
        QZEncoding::GetString(QZEncodingType::UTF8, source.data(), static_cast<QZInt64>(source.size()));
    c.Value("text", text);
    c.Do("Format", [&] { return Own(QZJsonFactory::Format(text)); });
    c.Do("Minify", [&] { return Own(QZJsonFactory::Minify(text)); });
    QZJsonValue* value = nullptr;
    c.Do("DeserializeObject", [&] { value = QZJsonFactory::DeserializeObject(text); });
    QZStringFactory::Recycle(&text);
    Made(c, "decimal", QZJsonFactory::CreateDecimal(r.Real()));
    Made(c, "bool", QZJsonFactory::CreateBool(static_cast<QZBool>(r.Below(3))));
    Made(c, "string", InAnyFormOrNull(c, r.Text(6), [](auto* t) { return QZJsonFactory::CreateString(t); }));
    Made(c, "null", QZJsonFactory::CreateNull());
    if (value == nullptr) return;
    Walk(c, value, 0);
    c.Do("ToString", [&] { return Own(value->ToString()); });
    c.Do("SerializeObject", [&] { return Own(QZJsonFactory::SerializeObject(value)); });
    if (auto* list = dynamic_cast<QZJsonValueCollection*>(value)) Tables(c, list);
    QZJsonValue* copy = QZJsonFactory::Clone(value);
    c.Do("change", [&] { Change(c, value); });
    c.Do("ToString", [&] { return Own(value->ToString()); });
    c.Do("Clone", [&] { return Own(copy->ToString()); });
    QZJsonFactory::Recycle(&copy);
    QZJsonFactory::Recycle(&value);
}

}  // namespace compare
