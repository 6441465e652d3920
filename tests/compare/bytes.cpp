// QZData, QZDataFactory, QZMemory and the typed values.

#include <algorithm>

#include "compare.h"

namespace compare
{
namespace
{
/// Bytes for searches: a piece of the data or any others.
std::string Pattern(Case& c, QZData& data)
{
    const QZInt64 size = data.GetSize();
    if (size == 0 || c.random.Chance(20)) return c.random.FewBytes(c.random.Range(0, 3));
    const QZInt64 start = c.random.Below(size);
    return {static_cast<const char*>(data.GetPointer()) + start,
            static_cast<std::size_t>(std::min(size - start, c.random.Range(1, 4)))};
}

void Search(Case& c, QZData& data)
{
    const std::string bytes = Pattern(c, data);
    const std::string with = c.random.FewBytes(c.random.Below(4));
    const auto size = static_cast<QZInt64>(bytes.size());
    QZData pattern(bytes.data(), size);
    QZData replacement(with.data(), static_cast<QZInt64>(with.size()));
    switch (c.random.Below(8))
    {
        case 0: c.Do("Find", [&] { return data.Find(c.random.Chance(4) ? nullptr : &pattern); }); break;
        case 1: c.Do("Find bytes", [&] { return data.Find(bytes.data(), size); }); break;
        case 2:
        case 3: c.Do("FindNext", [&] { return data.FindNext(&pattern); }); break;
        case 4: c.Do("Replace", [&] { return Own(data.Replace(&pattern, &replacement)); }); break;
        case 5:
            c.Do("Replace bytes", [&] {
                return Own(data.Replace(bytes.data(), size, with.data(), static_cast<QZInt64>(with.size())));
            });
            break;
        case 6: c.Do("Split", [&] { return Own(data.Split(&pattern)); }); break;
        default:
            c.Do("Equals", [&] {
                QZData copy(data);
                if (c.random.Chance(50)) copy.Append(bytes.data(), size);
                return data.Equals(&copy) + 2 * data.Equals(bytes.data(), size);
            });
            break;
    }
}

void Change(Case& c, QZData& data)
{
    const std::string bytes =
        c.random.FewBytes(c.random.Chance(8) ? c.random.Below(1500) : c.random.Below(12));
    const auto size = static_cast<QZInt64>(bytes.size());
    QZData other(bytes.data(), size);
    switch (c.random.Below(14))
    {
        case 0: c.Do("Append", [&] { data.Append(&other); }); break;
        case 1: c.Do("Append copy", [&] { data.Append(QZData(other)); }); break;
        case 2:
            c.Do("Append bytes", [&] { data.Append(bytes.data(), c.random.Chance(3) ? -1 : size); });
            break;
        case 3: c.Do("Prepend", [&] { data.Prepend(&other); }); break;
        case 4: c.Do("Prepend copy", [&] { data.Prepend(QZData(other)); }); break;
        case 5:
            c.Do("Prepend bytes", [&] { data.Prepend(bytes.data(), c.random.Chance(3) ? -1 : size); });
            break;
        case 6: c.Do("Set", [&] { data.Set(&other); }); break;
        case 7: c.Do("Set block", [&] { data.Set(other.GetStructPointer()); }); break;
        case 8: c.Do("Set bytes", [&] { data.Set(bytes.data(), size); }); break;
        case 9: c.Do("SetOffset", [&] { data.SetOffset(c.random.Range(-2, 120)); }); break;
        case 10: c.Do("NewSize", [&] { data.NewSize(c.random.Chance(4) ? -1 : c.random.Below(200)); }); break;
        case 11:
            c.Do("NewSize fill",
                 [&] { data.NewSize(c.random.Below(900), static_cast<QZByte>(c.random.Below(256))); });
            break;
        case 12:
            if (c.random.Chance(50))
                c.Do("Fill", [&] { data.Fill(static_cast<int>(c.random.Next())); });
            else
                c.Do("Fill byte", [&] { data.Fill(static_cast<QZByte>(c.random.Next())); });
            break;
        default:
            if (data.GetSize() < 4000 && c.random.Chance(40))
                c.Do("Append itself", [&] { data.Append(&data); });
            if (c.random.Chance(15)) c.Do("Clear", [&] { data.Clear(); });
            break;
    }
}

void Elements(Case& c, QZData& data)
{
    const QZInt64 index = c.random.Range(-2, data.GetSize() / 2 + 2);
    const QZInt64 value = c.random.Number();
    switch (c.random.Below(16))
    {
        case 0: c.Do("GetValueInt64", [&] { return data.GetValueInt64(index); }); break;
        case 1: c.Do("GetValueUInt64", [&] { return data.GetValueUInt64(index); }); break;
        case 2: c.Do("GetValueDouble", [&] { return data.GetValueDouble(index); }); break;
        case 3: c.Do("GetValueInt32", [&] { return data.GetValueInt32(index); }); break;
        case 4: c.Do("GetValueUInt32", [&] { return data.GetValueUInt32(index); }); break;
        case 5: c.Do("GetValueInt16", [&] { return data.GetValueInt16(index); }); break;
        case 6: c.Do("GetValueUInt16", [&] { return data.GetValueUInt16(index); }); break;
        case 7: c.Do("GetValueByte", [&] { return data.GetValueByte(index); }); break;
        case 8: c.Do("SetValueInt64", [&] { data.SetValueInt64(index, value); }); break;
        case 9:
            c.Do("SetValueUInt64", [&] { data.SetValueUInt64(index, static_cast<QZUInt64>(value)); });
            break;
        case 10: c.Do("SetValueDouble", [&] { data.SetValueDouble(index, c.random.Real()); }); break;
        case 11:
            c.Do("SetValueInt32", [&] { data.SetValueInt32(index, static_cast<QZInt32>(value)); });
            break;
        case 12:
            c.Do("SetValueUInt32", [&] { data.SetValueUInt32(index, static_cast<QZUInt32>(value)); });
            break;
        case 13:
            c.Do("SetValueInt16", [&] { data.SetValueInt16(index, static_cast<QZInt16>(value)); });
            break;
        case 14:
            c.Do("SetValueUInt16", [&] { data.SetValueUInt16(index, static_cast<QZUInt16>(value)); });
            break;
        default: c.Do("SetValueByte", [&] { data.SetValueByte(index, static_cast<QZByte>(value)); }); break;
    }
}

template <typename T>
std::string ShowValue(Case& c, T* value)
{
    std::string text = std::to_string(value->GetType()) + " " +
                       c.Bytes(value->GetPointer(), value->GetSize()) + " " + c.Show(value->GetValue());
    QZDataFactory::Recycle(&value);
    return text;
}

void Values(Case& c)
{
    const QZInt64 number = c.random.Number();
    const QZInt64 time = c.random.Below(100000000000000);
    switch (c.random.Below(12))
    {
        case 0: c.Do("CreateInt64", [&] { return ShowValue(c, QZDataFactory::CreateInt64(number)); }); break;
        case 1:
            c.Do("CreateInt32",
                 [&] { return ShowValue(c, QZDataFactory::CreateInt32(static_cast<QZInt32>(number))); });
            break;
        case 2:
            c.Do("CreateInt16",
                 [&] { return ShowValue(c, QZDataFactory::CreateInt16(static_cast<QZInt16>(number))); });
            break;
        case 3:
            c.Do("CreateInt8",
                 [&] { return ShowValue(c, QZDataFactory::CreateInt8(static_cast<char>(number))); });
            break;
        case 4:
            c.Do("CreateByte",
                 [&] { return ShowValue(c, QZDataFactory::CreateByte(static_cast<QZByte>(number))); });
            break;
        case 5:
            c.Do("CreateBool",
                 [&] { return ShowValue(c, QZDataFactory::CreateBool(static_cast<QZBool>(number))); });
            break;
        case 6:
            c.Do("CreateDouble", [&] { return ShowValue(c, QZDataFactory::CreateDouble(c.random.Real())); });
            break;
        case 7:
            c.Do("CreateFloat", [&] {
                return ShowValue(c, QZDataFactory::CreateFloat(static_cast<float>(c.random.Real())));
            });
            break;
        case 8:
            c.Do("CreateTimestamp", [&] { return ShowValue(c, QZDataFactory::CreateTimestamp(number)); });
            break;
        case 9:
            c.Do("CreateDateTime", [&] {
                QZDataDatetime* value = QZDataFactory::CreateDateTime(time);
                QZString text("at ");
                value->ToString(&text);
                c.Line(c.Show(&text) + " " + c.Show(Own(value->ToString())));
                return ShowValue(c, value);
            });
            break;
        case 10:
            c.Do("CreateDateTime object", [&] {
                QZDateTime moment(time);
                return ShowValue(c, QZDataFactory::CreateDateTime(&moment));
            });
            break;
        default:
            c.Do("CreateData", [&] {
                static const QZInt64 types[] = {QZDataType::ANY,
                                                QZDataType::BOOL,
                                                QZDataType::INT8,
                                                QZDataType::INT16,
                                                QZDataType::INT32,
                                                QZDataType::INT64,
                                                QZDataType::DOUBLE,
                                                QZDataType::TIMESTAMP,
                                                QZDataType::DATETIME,
                                                QZDataType::BYTE,
                                                QZDataType::FLOAT,
                                                QZDataType::TEXTUTF16LE,
                                                5};
                const std::string bytes = c.random.Bytes(c.random.Below(40));
                QZData source(bytes.data(), static_cast<QZInt64>(bytes.size()));
                QZData* made =
                    QZDataFactory::CreateData(c.random.Pick(types), c.random.Chance(4) ? nullptr : &source);
                const std::string text = std::to_string(made->GetType()) + " " + c.Show(made);
                QZDataFactory::Recycle(&made);
                return text;
            });
            break;
    }
}

void Memory(Case& c)
{
    const std::string a = c.random.Bytes(c.random.Range(1, 40));
    std::string b(a.size(), '.');
    const auto size = static_cast<QZInt64>(a.size());
    c.Do("BigendianToLittleendian", [&] {
        const QZInt64 done = QZMemory::BigendianToLittleendian(b.data(), a.data(), size);
        return std::to_string(done) + c.Bytes(b.data(), size);
    });
    c.Do("Equals", [&] {
        return QZMemory::Equals(a.data(), c.random.Chance(10) ? nullptr : b.data(), c.random.Range(-1, size));
    });
    c.Do("CreateBuffer", [&] {
        void* buffer = QZMemory::CreateBuffer(c.random.Chance(10) ? -1 : size);
        if (buffer == nullptr) return std::string("<null>");
        std::string text = c.Bytes(buffer, size);
        QZMemory::Copy(buffer, a.data(), size);
        QZMemory::Clean(buffer, size / 2);
        text += c.Bytes(buffer, size);
        QZMemory::RecycleBuffer(buffer);
        return text;
    });
    c.Do("Protect", [&] { QZMemory::Protect(c.random.Range(4, 9), b.data(), size); });
    c.Do("IsDataType",
         [&] { return QZDataType::IsDataType(static_cast<int>(c.random.Range(0x1FFFFF0, 0x2000010))); });
}
}  // namespace

void RunBytes(Case& c)
{
    QZException::IsStackTrace = static_cast<QZBool>(c.random.Chance(80));
    const std::string bytes = c.random.FewBytes(c.random.Below(60));
    QZData data(bytes.data(), static_cast<QZInt64>(bytes.size()));
    for (QZInt64 steps = c.random.Range(4, 30); steps > 0; --steps)
    {
        const QZInt64 kind = c.random.Below(10);
        if (kind < 3)
        {
            Search(c, data);
            continue;
        }
        if (kind == 3)
        {
            c.random.Chance(80) ? Values(c) : Memory(c);
            continue;
        }
        if (kind < 7)
            Change(c, data);
        else
            Elements(c, data);
        c.Line(c.Show(&data) + " offset " + std::to_string(data.GetOffset()) + " whole " +
               std::to_string(data.GetStructSize()) + " check " + std::to_string(data.Check()));
    }
    c.Do("copies", [&] {
        QZData copy(data);
        QZData other(static_cast<const void*>(data.GetStructPointer()));
        QZData third(c.random.Range(-1, 40));
        third = other;
        return c.Show(&copy) + c.Show(&other) + std::to_string(third.GetOffset()) + " " +
               std::to_string(third.GetMemorySize());
    });
}

}  // namespace compare
