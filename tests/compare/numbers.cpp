// QZConvert both ways, QZTime, QZDate, QZDateTime.

#include "compare.h"

namespace compare
{
namespace
{
/// Text that is a number, or nearly one.
Wide NumberText(Case& c)
{
    Random& r = c.random;
    switch (r.Below(7))
    {
        case 0: return ToWide(std::to_string(r.Number()));
        case 1: return ToWide(std::to_string(r.Real()));
        case 2:
            return ToWide(r.Pick({"", "-", "0x", "0x1F", "0xfffffffffffffffff", "-0x10", ".", "-0.5", "1.2.3",
                                  "+5", " 7", "1e5", "true", "FALSE", "True", "nan"}));
        case 3: return r.Ascii(6);
        case 4: return ToWide("0x") + r.Name(9);
        default:
        {
            Wide text;
            for (QZInt64 i = r.Below(24); i > 0; --i)
                text += static_cast<QZWChar>("0123456789-.xXaF "[r.Below(r.Chance(70) ? 10 : 17)]);
            return text;
        }
    }
}

void ToNumber(Case& c)
{
    const Wide text = NumberText(c);
    const std::string narrow = Utf8(text);
    const auto length = static_cast<QZInt64>(c.random.Below(static_cast<QZInt64>(narrow.size()) + 1));
    const auto any = [&](const char* name, auto call) {
        c.Do(std::string(name) + " " + c.Text(text), [&] { return InAnyFormOrNull(c, text, call); });
    };
    switch (c.random.Below(13))
    {
        case 0: any("StringToInt64", [](auto* t) { return QZConvert::StringToInt64(t); }); break;
        case 1: any("StringToInt64Hex", [](auto* t) { return QZConvert::StringToInt64Hex(t); }); break;
        case 2: any("StringToUInt64Hex", [](auto* t) { return QZConvert::StringToUInt64Hex(t); }); break;
        case 3: any("StringToUInt32", [](auto* t) { return QZConvert::StringToUInt32(t); }); break;
        case 4: any("StringToInt32", [](auto* t) { return QZConvert::StringToInt32(t); }); break;
        case 5: any("StringToDouble", [](auto* t) { return QZConvert::StringToDouble(t); }); break;
        case 6: any("StringToFloat", [](auto* t) { return QZConvert::StringToFloat(t); }); break;
        case 7: any("StringToBool", [](auto* t) { return QZConvert::StringToBool(t); }); break;
        case 8:
            c.Do("StringToInt64 length", [&] { return QZConvert::StringToInt64(narrow.c_str(), length); });
            break;
        case 9:
            c.Do("StringToInt64 wide length",
                 [&] { return QZConvert::StringToInt64(text.c_str(), static_cast<QZInt64>(text.size())); });
            break;
        case 10:
            c.Do("StringToUInt64Hex length",
                 [&] { return QZConvert::StringToUInt64Hex(narrow.c_str(), length); });
            break;
        case 11:
            c.Do("StringToUInt64Hex wide length", [&] {
                return QZConvert::StringToUInt64Hex(text.c_str(), static_cast<QZInt64>(text.size()));
            });
            break;
        default: any("StringToDateTime", [](auto* t) { return Own(QZConvert::StringToDateTime(t)); }); break;
    }
}

void TryNumber(Case& c)
{
    const Wide text = NumberText(c);
    const auto any = [&](const char* name, auto before, auto call) {
        c.Do(std::string(name) + " " + c.Text(text), [&] {
            auto value = before;
            const QZBool done = InAnyFormOrNull(c, text, [&](auto* t) { return call(t, &value); });
            return std::to_string(done) + " " + c.Show(value);
        });
    };
    switch (c.random.Below(8))
    {
        case 0:
            any("TryStringToInt64", QZInt64{-7},
                [](auto* t, auto* v) { return QZConvert::TryStringToInt64(t, v); });
            break;
        case 1:
            any("TryStringToInt64Hex", QZInt64{-7},
                [](auto* t, auto* v) { return QZConvert::TryStringToInt64Hex(t, v); });
            break;
        case 2:
            any("TryStringToUInt32", QZUInt32{7},
                [](auto* t, auto* v) { return QZConvert::TryStringToUInt32(t, v); });
            break;
        case 3:
            any("TryStringToUInt32Hex", QZUInt32{7},
                [](auto* t, auto* v) { return QZConvert::TryStringToUInt32Hex(t, v); });
            break;
        case 4:
            any("TryStringToInt32", QZInt32{-7},
                [](auto* t, auto* v) { return QZConvert::TryStringToInt32(t, v); });
            break;
        case 5:
            any("TryStringToDouble", -7.0,
                [](auto* t, auto* v) { return QZConvert::TryStringToDouble(t, v); });
            break;
        case 6:
            any("TryStringToBool", QZBool{7},
                [](auto* t, auto* v) { return QZConvert::TryStringToBool(t, v); });
            break;
        default:
            any("TryStringToUInt64Hex", QZUInt64{7},
                [](auto* t, auto* v) { return QZConvert::TryStringToUInt64Hex(t, v); });
            break;
    }
}

void ToText(Case& c)
{
    const QZInt64 number = c.random.Number();
    const double real = c.random.Real();
    const QZInt64 digits = c.random.Range(-1, 14);
    c.Line("number " + std::to_string(number) + " real " + c.Show(real));
    switch (c.random.Below(12))
    {
        case 0:
            c.Do("UInt32ToString",
                 [&] { return Own(QZConvert::UInt32ToString(static_cast<QZUInt32>(number))); });
            break;
        case 1:
            c.Do("Int32ToString",
                 [&] { return Own(QZConvert::Int32ToString(static_cast<QZInt32>(number))); });
            break;
        case 2:
            c.Do("UInt32ToStringHex",
                 [&] { return Own(QZConvert::UInt32ToStringHex(static_cast<QZUInt32>(number))); });
            break;
        case 3:
            c.Do("UInt64ToString",
                 [&] { return Own(QZConvert::UInt64ToString(static_cast<QZUInt64>(number))); });
            break;
        case 4: c.Do("Int64ToString", [&] { return Own(QZConvert::Int64ToString(number)); }); break;
        case 5: c.Do("Int64ToStringHex", [&] { return Own(QZConvert::Int64ToStringHex(number)); }); break;
        case 6:
            c.Do("UInt64ToStringHex", [&] {
                Wide room(18, '.');
                const QZInt64 size = QZConvert::UInt64ToStringHex(static_cast<QZUInt64>(number), room.data());
                return std::to_string(size) + c.Text(room) +
                       std::to_string(QZConvert::UInt64ToStringHex(static_cast<QZUInt64>(number), nullptr));
            });
            break;
        case 7: c.Do("DoubleToString", [&] { return Own(QZConvert::DoubleToString(real)); }); break;
        case 8:
            c.Do("DoubleToString digits", [&] { return Own(QZConvert::DoubleToString(real, digits)); });
            break;
        case 9:
            c.Do("FloatToString", [&] { return Own(QZConvert::FloatToString(static_cast<float>(real))); });
            break;
        case 10:
            c.Do("FloatToString digits",
                 [&] { return Own(QZConvert::FloatToString(static_cast<float>(real), digits)); });
            break;
        default:
            c.Do("bit copies", [&] {
                return QZConvert::PVoidToIntPtr(QZConvert::IntPtrToPVoid(number)) +
                       static_cast<QZInt64>(QZConvert::PVoidToUInt64(
                           QZConvert::UInt64ToPVoid(static_cast<QZUInt64>(number)))) +
                       static_cast<QZInt64>(QZConvert::IntPtrToUInt64(number)) +
                       QZConvert::UInt64ToIntPtr(static_cast<QZUInt64>(number));
            });
            break;
    }
}

const QZInt64 kTypes[] = {QZDataType::ANY,
                          QZDataType::TEXTGB2312,
                          QZDataType::TEXTUTF16LE,
                          QZDataType::TEXTUTF8,
                          QZDataType::ARRAYINT32,
                          QZDataType::ARRAYINT64,
                          QZDataType::ARRAYDOUBLE,
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
                          QZDataType::FILEBIN,
                          9};

/// Bytes of a type: an array with a count that fits, or any others. Few, since a count is believed.
std::string Typed(Case& c, QZInt64 type)
{
    std::string bytes = c.random.Bytes(c.random.Below(40));
    if (type == QZDataType::ARRAYINT32 || type == QZDataType::ARRAYINT64 || type == QZDataType::ARRAYDOUBLE)
    {
        const std::size_t width = type == QZDataType::ARRAYINT32 ? 4 : 8;
        const std::size_t count = static_cast<std::size_t>(c.random.Below(5));
        bytes = c.random.Bytes(static_cast<QZInt64>(width * (count + 1)));
        for (std::size_t i = 0; i < width; ++i) bytes[i] = static_cast<char>(i == 0 ? count : 0);
        if (type == QZDataType::ARRAYDOUBLE)
        {
            QZData data(bytes.data(), static_cast<QZInt64>(bytes.size()));
            data.SetValueDouble(0, static_cast<double>(count));
            for (std::size_t i = 1; i <= count; ++i)
                data.SetValueDouble(static_cast<QZInt64>(i), c.random.Real());
            bytes.assign(static_cast<const char*>(data.GetPointer()), bytes.size());
        }
    }
    if (type == QZDataType::DOUBLE)
    {
        QZData data(8);
        data.SetValueDouble(0, c.random.Real());
        bytes.assign(static_cast<const char*>(data.GetPointer()), 8);
    }
    return bytes;
}

void Typed(Case& c)
{
    const QZInt64 type = c.random.Pick(kTypes);
    const std::string bytes = Typed(c, type);
    QZData data(bytes.data(), static_cast<QZInt64>(bytes.size()));
    QZString text(c.random.Chance(60) ? NumberText(c).c_str() : c.random.Text(12).c_str());
    const QZInt64 offset = c.random.Below(1 << 20);
    const QZInt64 width = c.random.Range(-1, 9);
    const auto flag = [&] { return static_cast<QZBool>(c.random.Below(2)); };
    c.Line("type " + std::to_string(type) + " data " + c.Show(&data) + " text " + c.Show(&text));
    switch (c.random.Below(8))
    {
        case 0:
        case 1:
            c.Do("DataToText type",
                 [&] { return Own(QZConvert::DataToText(c.random.Chance(3) ? nullptr : &data, type)); });
            break;
        case 2: c.Do("DataToText", [&] { return Own(QZConvert::DataToText(&data)); }); break;
        case 3: c.Do("DataToText offset", [&] { return Own(QZConvert::DataToText(offset, &data)); }); break;
        case 4:
            c.Do("DataToText lines",
                 [&] { return Own(QZConvert::DataToText(offset, &data, width, flag(), flag())); });
            break;
        case 5:
            c.Do("DataToText bytes", [&] {
                return Own(QZConvert::DataToText(offset, bytes.data(), static_cast<QZInt64>(bytes.size()),
                                                 width, flag(), flag()));
            });
            break;
        case 6:
            c.Do("TextToData type",
                 [&] { return Own(QZConvert::TextToData(c.random.Chance(3) ? nullptr : &text, type)); });
            break;
        default:
            c.Do("TextToData", [&] { return Own(QZConvert::TextToData(&text)); });
            c.Do("TextToData wide", [&] { return Own(QZConvert::TextToData(text.GetPointer())); });
            break;
    }
}

std::string Parts(const QZDateTime& t)
{
    return std::to_string(t.ToTimestamp()) + " = " + std::to_string(t.GetYear()) + "-" +
           std::to_string(t.GetMonth()) + "-" + std::to_string(t.GetDay()) + " " +
           std::to_string(t.GetHours()) + ":" + std::to_string(t.GetMinutes()) + ":" +
           std::to_string(t.GetSeconds()) + "." + std::to_string(t.GetMilliSeconds()) + " week " +
           std::to_string(t.DayOfWeek()) + " days " + std::to_string(t.TotalDay()) + " leap " +
           std::to_string(t.IsLeapYear()) + " jdn " + std::to_string(t.GetJDN());
}

void Moment(Case& c)
{
    Random& r = c.random;
    QZDateTime time(r.Chance(80) ? r.Below(100000000000000) : r.Range(-100000000000000, 400000000000000));
    if (r.Chance(40))
        time.Set(r.Range(r.Chance(80) ? 1 : -5, 4000), r.Range(1, 12), r.Range(1, 31), r.Range(0, 23),
                 r.Range(0, 59), r.Range(0, 59), r.Range(0, 999));
    c.Line(Parts(time));
    for (int i = 0; i < 4; ++i)
    {
        const QZInt64 n = r.Range(-40, 60);
        switch (r.Below(8))
        {
            case 0: c.Do("AddYears", [&] { time.AddYears(n); }); break;
            case 1: c.Do("AddMonths", [&] { time.AddMonths(n); }); break;
            case 2: c.Do("AddDays", [&] { time.AddDays(n * 20); }); break;
            case 3: c.Do("AddHours", [&] { time.AddHours(n); }); break;
            case 4: c.Do("AddMinutes", [&] { time.AddMinutes(n); }); break;
            case 5: c.Do("AddSeconds", [&] { time.AddSeconds(n * 1000); }); break;
            case 6: c.Do("AddMilliSeconds", [&] { time.AddMilliSeconds(n * 100); }); break;
            default:
                c.Do("statics", [&] {
                    const QZInt64 t = time.ToTimestamp();
                    return QZDateTime::AddYears(t, n) ^ QZDateTime::AddMonths(t, n) * 3 ^
                           QZDateTime::AddDays(t, n) * 5 ^ QZDateTime::GetDay(t) ^
                           QZDateTime::GetMonth(t) << 8 ^ QZDateTime::GetYear(t) << 16;
                });
                break;
        }
        c.Line(Parts(time));
    }
    QZDateTime other(time.ToTimestamp() + r.Range(-1, 1));
    c.Value("order", (time > other) + 2 * (time >= other) + 4 * (time < other) + 8 * (time <= other) +
                         16 * (time == other));
    c.Do("ToString", [&] { return Own(time.ToString()); });
    c.Do("DateTimeToString", [&] { return Own(QZConvert::DateTimeToString(&time)); });
    c.Do("DateTimeToStringYMD", [&] { return Own(QZConvert::DateTimeToStringYMD(&time)); });
    c.Do("ToData", [&] { return Own(time.ToData()); });
    c.Do("DateTimeToData", [&] { return Own(QZConvert::DateTimeToData(&time)); });
    c.Do("of data", [&] {
        QZData* data = time.ToData();
        if (r.Chance(30)) data->NewSize(r.Below(33));
        QZDateTime again(data);
        QZDataFactory::Recycle(&data);
        return again.ToTimestamp();
    });
    c.Do("of text", [&] {
        QZString* text = time.ToString();
        QZDateTime* read = QZConvert::StringToDateTime(text);
        QZStringFactory::Recycle(&text);
        return Own(read);
    });
    c.Do("Add", [&] {
        time.Add(&other);
        return time.ToTimestamp();
    });
}

void TimeAndDate(Case& c)
{
    Random& r = c.random;
    QZTime time(r.Range(-30, 30), r.Range(-70, 70), r.Range(-70, 70), r.Range(-2000, 2000));
    QZTime second(r.Range(-100000000, 100000000));
    time.Add(&second);
    time.AddHours(r.Range(-5, 5));
    time.AddMinutes(r.Range(-90, 90));
    time.AddSeconds(r.Range(-90, 90));
    time.AddMilliSeconds(r.Range(-900, 900));
    c.Do("QZTime", [&] { return Own(time.ToString()); });
    c.Value("parts", time.GetHours() * 10000000 + time.GetMinutes() * 100000 + time.GetSeconds() * 1000 +
                         time.GetMilliSeconds());
    QZTime sum = time + second;
    c.Value("order", time.GreaterThan(&second) + 2 * time.LessThan(&second) +
                         4 * time.GreaterThanOrEqual(&sum) + 8 * time.LessThanOrEqual(&sum) +
                         16 * (time < sum) + 32 * (time >= sum) + 64 * (time == sum));
    QZDate date(r.Range(r.Chance(90) ? 1 : -4, 3000), r.Range(1, 12), r.Range(1, 31));
    date.AddYears(r.Range(-3, 9));
    date.AddMonths(r.Range(-30, 30));
    date.AddDays(r.Range(-400, 400));
    c.Line("QZDate " + std::to_string(date.ToTimestamp()) + " " + std::to_string(date.GetYear()) + "-" +
           std::to_string(date.GetMonth()) + "-" + std::to_string(date.GetDay()));
    const QZInt64 year = r.Range(-10, 4000);
    c.Line(std::to_string(QZDate::IsLeapYear(year)) + " " + std::to_string(QZDate::YearToDay(year)) + " " +
           std::to_string(QZDate::DateToMilliseconds(year, r.Range(1, 12), r.Range(1, 28))));
}
}  // namespace

void RunNumbers(Case& c)
{
    QZException::IsStackTrace = static_cast<QZBool>(c.random.Chance(80));
    for (int i = 0; i < 12; ++i)
    {
        switch (c.random.Below(7))
        {
            case 0:
            case 1: ToNumber(c); break;
            case 2: TryNumber(c); break;
            case 3: ToText(c); break;
            case 4: Typed(c); break;
            case 5: Moment(c); break;
            default: TimeAndDate(c); break;
        }
    }
}

}  // namespace compare
