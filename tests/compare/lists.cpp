// Stacks, collections, keyed collections, containers, queues and data tables.

#include <memory>

#include "compare.h"

namespace compare
{
namespace
{
class Unique : public QZCollection
{
public:
    Unique() { m_duplicatesAllowed = 0; }
};

void Words(Case& c)
{
    Random& r = c.random;
    QZCollection plain;
    Unique unique;
    QZCollection& list = r.Chance(75) ? plain : unique;
    QZCollection other;
    for (QZInt64 i = r.Below(6); i > 0; --i) other.Push(static_cast<QZUInt64>(r.Range(-2, 5)));
    const auto word = [&] { return static_cast<QZUInt64>(r.Chance(85) ? r.Range(-2, 6) : r.Number()); };
    for (QZInt64 steps = r.Range(5, 30); steps > 0; --steps)
    {
        const QZInt64 count = list.Count();
        const QZInt64 index = r.Range(-1, count);
        switch (r.Below(20))
        {
            case 0:
            case 1:
            case 2:
            case 3: c.Do("Push", [&] { return list.Push(word()); }); break;
            case 4: c.Do("Pop", [&] { return list.Pop(); }); break;
            case 5:
                c.Do("Append",
                     [&] { return count < 300 ? list.Append(r.Chance(10) ? &list : &other) : QZBool{0}; });
                break;
            case 6: c.Do("Append words", [&] { return list.Append(other.GetPointer()); }); break;
            case 7: c.Do("RemoveElement", [&] { return list.RemoveElement(index); }); break;
            case 8: c.Do("RemoveByValue", [&] { return list.RemoveByValue(word()); }); break;
            case 9: c.Do("GetElement", [&] { return list.GetElement(index); }); break;
            case 10: c.Do("SetElement", [&] { return list.SetElement(index, word()); }); break;
            case 11: c.Do("FindElement", [&] { return list.FindElement(word()); }); break;
            case 12: c.Do("FindNextElement", [&] { return list.FindNextElement(word()); }); break;
            case 13: c.Do("MaxToMin", [&] { list.MaxToMin(); }); break;
            case 14: c.Do("MinToMax", [&] { list.MinToMax(); }); break;
            case 15:
                c.Do("sort with", [&] {
                    r.Chance(50) ? list.MaxToMin(&other) : list.MinToMax(&other);
                    return &other;
                });
                break;
            case 16:
                c.Do("GetMax", [&] { return list.GetMax(); });
                c.Do("GetMin", [&] { return list.GetMin(); });
                break;
            case 17: c.Do("MoveElement", [&] { list.MoveElement(index, r.Range(-1, count)); }); break;
            case 18:
                c.Do("NewLength", [&] {
                    r.Chance(50) ? list.NewLength(r.Below(12)) : list.NewLength(r.Below(12), word());
                });
                break;
            default:
                if (r.Chance(20)) c.Do("Clear", [&] { list.Clear(); });
                if (r.Chance(20)) c.Do("Set", [&] { list.Set(&other); });
                c.Do("Equals", [&] {
                    QZCollection copy(&list);
                    if (r.Chance(50)) copy.Push(1);
                    return list.Equals(&copy);
                });
                break;
        }
        c.Value("words", &list);
    }
}

void Queue(Case& c)
{
    Random& r = c.random;
    std::unique_ptr<QZQueue> queue;
    c.Do("QZQueue", [&] { queue = std::make_unique<QZQueue>(r.Int(-1, 9)); });
    for (QZInt64 steps = 20; queue != nullptr && steps > 0; --steps)
    {
        QZUInt64 value = 99;
        if (r.Chance(55))
            c.Do("EnQueue", [&] { return queue->EnQueue(static_cast<QZUInt64>(r.Number())); });
        else
            c.Do("DeQueue", [&] {
                const QZBool done = queue->DeQueue(&value);
                return std::to_string(done) + " " + std::to_string(value);
            });
        c.Value("count", queue->Count() * 2 + queue->IsQueueFull());
    }
    QZStack stack;
    for (int i = 0; i < 12; ++i)
    {
        if (r.Chance(60))
            c.Do("Push", [&] { return stack.Push(static_cast<QZUInt64>(r.Number())); });
        else
            c.Do("Pop", [&] { return stack.Pop(); });
        QZStack copy(&stack);
        c.Value("count", copy.Count());
    }
}

/// Objects with an index of their own: nothing else of an object may be printed.
struct Objects
{
    std::vector<std::unique_ptr<QZString>> all;

    explicit Objects(Case& c)
    {
        for (int i = 0; i < 6; ++i) all.push_back(std::make_unique<QZString>(c.random.Name(3).c_str()));
    }
    QZString* Any(Case& c) { return all[static_cast<std::size_t>(c.random.Below(6))].get(); }
    std::string Index(QZObject* object) const
    {
        for (std::size_t i = 0; i < all.size(); ++i)
            if (all[i].get() == object) return "#" + std::to_string(i);
        return object == nullptr ? "<null>" : "<other>";
    }
};

void Keyed(Case& c)
{
    Random& r = c.random;
    Objects objects(c);
    QZKeyValueCollection list;
    static const char* const keys[] = {"a", "B", "b", "key", "KEY", "", "Z9", "m"};
    for (QZInt64 steps = r.Range(6, 30); steps > 0; --steps)
    {
        const Wide key = ToWide(r.Pick(keys));
        const QZInt64 index = r.Range(-1, list.Count());
        QZString* object = objects.Any(c);
        QZString text(key.c_str());
        const auto any = [&](const char* name, auto call) {
            c.Do(name, [&] { return InAnyFormOrNull(c, key, call); });
        };
        switch (r.Below(17))
        {
            case 0:
            case 1:
            case 2: any("Add", [&](auto* k) { return list.Add(k, object); }); break;
            case 3: any("GetIndex", [&](auto* k) { return list.GetIndex(k); }); break;
            case 4: c.Do("IsExists", [&] { return list.IsExists(&text); }); break;
            case 5: any("GetElement", [&](auto* k) { return objects.Index(list.GetElement(k)); }); break;
            case 6: c.Do("GetElement at", [&] { return objects.Index(list.GetElement(index)); }); break;
            case 7: c.Do("ToKey", [&] { return list.ToKey(index); }); break;
            case 8: c.Do("ToKey of", [&] { return list.ToKey(static_cast<QZObject*>(object)); }); break;
            case 9:
                c.Do("GetElementType",
                     [&] { return r.Chance(50) ? list.GetElementType(&text) : list.GetElementType(index); });
                break;
            case 10:
                c.Do("SetElementKey", [&] {
                    QZString* old = list.ToKey(index);
                    const QZBool done = list.SetElementKey(index, &text);
                    if (done && old != nullptr && old->IsDisposable()) QZStringFactory::Recycle(&old);
                    return done;
                });
                break;
            case 11: any("RemoveElement", [&](auto* k) { return list.RemoveElement(k); }); break;
            case 12: c.Do("RemoveElement at", [&] { return list.RemoveElement(index); }); break;
            case 13:
                c.Do("RemoveElement of", [&] { return list.RemoveElement(static_cast<QZObject*>(object)); });
                break;
            case 14:
                c.Do("MoveElement", [&] {
                    return r.Chance(50) ? list.MoveElement(&text, r.Range(-3, 3))
                                        : list.MoveElement(index, r.Range(-3, 3));
                });
                break;
            case 15:
                c.Do("ChangeElementIndex",
                     [&] { return list.ChangeElementIndex(index, r.Range(-1, list.Count())); });
                break;
            default:
                // The new object is not locked and the list unlocks it at its end: one that stands nowhere
                // else.
                if (object->IsDisposable())
                    any("SetElement", [&](auto* k) { return list.SetElement(k, object); });
                break;
        }
        std::string all;
        for (QZInt64 i = 0; i < list.GetLength(); ++i)
            all += c.Show(list.ToKey(i)) + objects.Index(list.GetElement(i)) + " ";
        c.Line(all + std::to_string(list.GetKeyCollection()->Count()) +
               std::to_string(list.GetObjectCollection()->Count()));
    }
    QZKeyValueCollection copy(list);
    c.Do("KeyComparer", [&] { return list.KeyComparer(&copy); });
    list.Clear();
}

/// The trace of a bad index has the object's place in memory as a plain number, so it is left out.
void SetPosition(Case& c, QZStringCollection& list, QZInt64 index, QZString* object)
{
    const QZBool tracing = std::exchange(QZException::IsStackTrace, QZBool{0});
    c.Do("SetElement", [&] { return list.SetElement(index, object); });
    QZException::IsStackTrace = tracing;
}

void ByPosition(Case& c)
{
    Random& r = c.random;
    Objects objects(c);
    QZStringCollection list;
    for (QZInt64 steps = r.Range(6, 25); steps > 0; --steps)
    {
        const QZInt64 index = r.Range(-1, list.Count());
        switch (r.Below(9))
        {
            case 0:
            case 1:
            case 2: c.Do("Push", [&] { return list.Push(objects.Any(c)); }); break;
            case 3: c.Do("Pop", [&] { return objects.Index(list.Pop()); }); break;
            case 4: c.Do("GetElement", [&] { return objects.Index(list.GetElement(index)); }); break;
            case 5: SetPosition(c, list, index, objects.Any(c)); break;
            case 6: c.Do("RemoveElement", [&] { return list.RemoveElement(index); }); break;
            case 7:
                c.Do("RemoveElement of",
                     [&] { return list.RemoveElement(static_cast<QZObject*>(objects.Any(c))); });
                break;
            default:
                if (list.Count() < 60)
                    c.Do("Append", [&] {
                        QZStringCollection other(&list);
                        return list.Append(r.Chance(50) ? &other : &list);
                    });
                break;
        }
        c.Line(c.Show(&list) + " " + std::to_string(list.GetMemorySize() > 8));
    }
    list.Clear();
}

void Chained(Case& c)
{
    Random& r = c.random;
    Objects objects(c);
    QZList<QZString> list;
    for (QZInt64 steps = r.Range(6, 25); steps > 0; --steps)
    {
        QZString* object = objects.Any(c);
        const QZInt64 index = r.Range(-1, list.Count());
        switch (r.Below(9))
        {
            case 0: c.Do("Push", [&] { return list.Push(object); }); break;
            case 1: c.Do("AddFirst", [&] { return list.AddFirst(r.Chance(4) ? nullptr : object); }); break;
            case 2: c.Do("AddLast", [&] { return list.AddLast(object); }); break;
            case 3: c.Do("EnQueue", [&] { return list.EnQueue(object); }); break;
            case 4: c.Do("DeQueue", [&] { return objects.Index(list.DeQueue()); }); break;
            case 5: c.Do("Pop", [&] { return objects.Index(list.Pop()); }); break;
            case 6: c.Do("RemoveElement", [&] { return list.RemoveElement(object); }); break;
            case 7: c.Do("RemoveElement at", [&] { return list.RemoveElement(index); }); break;
            default:
                c.Do("GetElement", [&] {
                    return objects.Index(list.GetElement(index)) +
                           std::to_string(list.GetElementIndex(object));
                });
                break;
        }
        std::string all;
        for (QZObject* at = list.GetFirst(); at != nullptr; at = at->LinkNext()) all += objects.Index(at);
        c.Line(all + " " + std::to_string(list.Count()) + objects.Index(list.GetLast()));
    }
    while (list.Pop() != nullptr)
    {}
}

void ShowTable(Case& c, QZDataTable& table)
{
    for (QZInt64 row = 0; row < table.Rows->Count(); ++row)
    {
        std::string all;
        for (QZInt64 column = 0; column < table.Columns->Count(); ++column)
            all += c.Show(table.Rows->GetRow(row)->GetElement(column)) + " | ";
        c.Line(all);
    }
}

void Table(Case& c)
{
    Random& r = c.random;
    static const QZInt64 types[] = {QZDataType::BOOL,     QZDataType::INT8,       QZDataType::INT32,
                                    QZDataType::INT64,    QZDataType::DOUBLE,     QZDataType::TEXTUTF16LE,
                                    QZDataType::TEXTUTF8, QZDataType::ARRAYINT32, QZDataType::DATETIME,
                                    QZDataType::ANY,      QZDataType::FLOAT};
    static const char* const names[] = {"a", "A", "name", "x", "", "y"};
    QZDataTable table;
    c.Do("SetName", [&] {
        InAnyForm(c, r.Text(6), [&](auto* t) { table.SetName(t); });
        return table.GetName();
    });
    for (QZInt64 i = r.Range(1, 6); i > 0; --i)
    {
        const Wide name = ToWide(r.Pick(names));
        c.Do("Add", [&] {
            return InAnyForm(c, name, [&](auto* n) { return table.Columns->Add(n, r.Pick(types)); });
        });
    }
    for (QZInt64 steps = r.Range(4, 20); steps > 0; --steps)
    {
        const Wide name = ToWide(r.Pick(names));
        const std::string bytes = r.Bytes(r.Below(20));
        QZData data(bytes.data(), static_cast<QZInt64>(bytes.size()));
        QZString text(r.Chance(60) ? ToWide(std::to_string(r.Number())).c_str() : r.Text(5).c_str());
        const QZInt64 column = r.Range(-1, table.Columns->Count());
        if (table.Rows->Count() == 0 || r.Chance(20)) table.Rows->NewRow();
        QZDataRow* row = table.Rows->GetRow(r.Below(table.Rows->Count()));
        switch (r.Below(10))
        {
            case 0:
                c.Do("SetElement", [&] { return row->SetElement(column, r.Chance(3) ? nullptr : &data); });
                break;
            case 1: c.Do("SetElement text", [&] { return row->SetElement(column, &text); }); break;
            case 2:
                c.Do("SetElement name",
                     [&] { return InAnyForm(c, name, [&](auto* n) { return row->SetElement(n, &data); }); });
                break;
            case 3:
                c.Do("SetElement name text", [&] {
                    QZString key(name.c_str());
                    return row->SetElement(&key, &text);
                });
                break;
            case 4: c.Do("GetElement", [&] { return row->GetElement(column); }); break;
            case 5:
                c.Do("GetElement name",
                     [&] { return InAnyForm(c, name, [&](auto* n) { return row->GetElement(n); }); });
                break;
            case 6: c.Do("GetColumn", [&] { return table.Columns->GetColumn(column); }); break;
            case 7:
                c.Do("GetIndex", [&] {
                    return InAnyFormOrNull(c, name, [&](auto* n) { return table.Columns->GetIndex(n); });
                });
                break;
            case 8: c.Do("GetElementType", [&] { return table.Columns->GetElementType(column); }); break;
            default: c.Do("GetRow", [&] { return table.Rows->GetRow(r.Range(-1, 9))->Handle; }); break;
        }
    }
    ShowTable(c, table);
}

void Pair(Case& c)
{
    QZKeyValue pair;
    InAnyForm(c, c.random.Text(6), [&](auto* t) { pair.SetKey(t); });
    InAnyForm(c, c.random.Text(6), [&](auto* t) { pair.SetValue(t); });
    c.Line(c.Show(pair.GetKey()) + c.Show(pair.GetValue()));
    if (c.random.Chance(30)) pair.SetKey(pair.GetKey());
    QZKeyValue copy(pair);
    c.Line(c.Show(copy.GetKey()) + c.Show(copy.GetValue()));
}
}  // namespace

void RunLists(Case& c)
{
    QZException::IsStackTrace = static_cast<QZBool>(c.random.Chance(80));
    switch (c.random.Below(8))
    {
        case 0: Queue(c); break;
        case 1:
        case 2: Keyed(c); break;
        case 3: ByPosition(c); break;
        case 4: Chained(c); break;
        case 5: Table(c); break;
        case 6: Pair(c); break;
        default: Words(c); break;
    }
}

}  // namespace compare
