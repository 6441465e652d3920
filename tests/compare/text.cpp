// QZString with all forms of its overloads, QZStringFactory, QZEncoding.

#include "compare.h"

namespace compare
{
namespace
{
/// A piece of the string's own text, or any other one.
Wide Needle(Case& c, QZString& text)
{
    const QZInt64 length = text.GetLength();
    if (length > 0 && c.random.Chance(70))
    {
        const QZInt64 start = c.random.Below(length);
        Wide piece(text.GetPointer() + start,
                   static_cast<std::size_t>(1 + c.random.Below(std::min<QZInt64>(length - start, 4))));
        if (c.random.Chance(20))
            for (QZWChar& unit : piece)
                if (unit >= 'a' && unit <= 'z') unit = static_cast<QZWChar>(unit - 32);
        // Pieces are handed over as ended text, so a 0 within ends them.
        return piece.c_str();
    }
    return c.random.Text(3);
}

QZInt64 Place(Case& c, QZString& text) { return c.random.Range(0, text.GetLength()); }

/// The text or one of its ends, with letters in the other case: what comparisons that ignore the case look
/// at.
Wide Turned(Case& c, QZString& text)
{
    const auto length = static_cast<std::size_t>(text.GetLength());
    const auto count = static_cast<std::size_t>(c.random.Range(1, 4));
    Wide piece(text.GetPointer(), length);
    if (length > count && c.random.Chance(60))
        piece = c.random.Chance(50) ? piece.substr(0, count) : piece.substr(length - count);
    for (QZWChar& unit : piece)
        if ((unit | 32) >= 'a' && (unit | 32) <= 'z' && unit < 128 && c.random.Chance(50))
            unit = static_cast<QZWChar>(unit ^ 32);
    return piece.c_str();
}

void Search(Case& c, QZString& text)
{
    const Wide needle = c.random.Chance(30) ? Turned(c, text) : Needle(c, text);
    const QZBool ignore = static_cast<QZBool>(c.random.Below(2));
    const QZInt64 start = c.random.Range(-1, text.GetLength() + 1);
    const QZWChar unit = needle.empty() ? 0 : needle[0];
    const char narrow = static_cast<char>(unit & 0x7F);
    const auto any = [&](const char* name, auto call) {
        c.Do(name, [&] { return InAnyFormOrNull(c, needle, call); });
    };
    switch (c.random.Below(16))
    {
        case 0: any("Equals", [&](auto* t) { return text.Equals(t); }); break;
        case 1: any("Equals ignoring", [&](auto* t) { return text.Equals(t, ignore); }); break;
        case 2: any("IndexOf", [&](auto* t) { return text.IndexOf(t); }); break;
        case 3: any("IndexOf from", [&](auto* t) { return text.IndexOf(start, t); }); break;
        case 4: c.Do("IndexOf unit", [&] { return text.IndexOf(unit); }); break;
        case 5: c.Do("IndexOf char", [&] { return text.IndexOf(narrow); }); break;
        case 6: c.Do("IndexOf unit from", [&] { return text.IndexOf(start, unit); }); break;
        case 7: c.Do("IndexOf char from", [&] { return text.IndexOf(start, narrow); }); break;
        case 8: any("Contains", [&](auto* t) { return text.Contains(t); }); break;
        case 9: c.Do("Contains unit", [&] { return text.Contains(unit); }); break;
        case 10: c.Do("Contains char", [&] { return text.Contains(narrow); }); break;
        case 11: any("StartsWith", [&](auto* t) { return text.StartsWith(t); }); break;
        case 12: any("StartsWith ignoring", [&](auto* t) { return text.StartsWith(t, ignore); }); break;
        case 13: any("EndWith", [&](auto* t) { return text.EndWith(t); }); break;
        case 14: any("EndWith ignoring", [&](auto* t) { return text.EndWith(t, ignore); }); break;
        default: c.Do("CharAt", [&] { return text.CharAt(c.random.Range(-2, text.GetLength() + 3)); }); break;
    }
}

void AddNumber(Case& c, QZString& text)
{
    const QZInt64 number = c.random.Number();
    const double real = c.random.Real();
    c.Do("add number", [&] {
        switch (c.random.Below(12))
        {
            case 0: text.Append(static_cast<int>(number)); break;
            case 1: text.Append(static_cast<unsigned int>(number)); break;
            case 2: text.Append(number); break;
            case 3: text.Append(static_cast<QZUInt64>(number)); break;
            case 4: text.Append(static_cast<float>(real)); break;
            case 5: text.Append(real); break;
            case 6: text.Prepend(static_cast<int>(number)); break;
            case 7: text.Prepend(static_cast<unsigned int>(number)); break;
            case 8: text.Prepend(number); break;
            case 9: text.Prepend(static_cast<QZUInt64>(number)); break;
            case 10: text.Prepend(static_cast<float>(real)); break;
            default: text.Prepend(real); break;
        }
    });
}

void Put(Case& c, QZString& text)
{
    const Wide more = c.random.Text(c.random.Chance(5) ? 700 : 6);
    const std::string narrow = Utf8(more);
    const QZInt64 place = Place(c, text);
    // The sized forms take bytes; an odd count of a wide text is left to the library.
    QZInt64 size = c.random.Chance(10) ? c.random.Range(-1, 1) : static_cast<QZInt64>(more.size()) * 2;
    const QZInt64 narrowSize =
        c.random.Chance(10) ? c.random.Range(-1, 0) : static_cast<QZInt64>(narrow.size());
    if (size > static_cast<QZInt64>(more.size()) * 2) size = 0;
    const auto any = [&](const char* name, auto call) {
        c.Do(name, [&] { InAnyFormOrNull(c, more, call); });
    };
    switch (c.random.Below(14))
    {
        case 0: any("Set", [&](auto* t) { text.Set(t); }); break;
        case 1: c.Do("Set narrow size", [&] { text.Set(narrow.c_str(), narrowSize); }); break;
        case 2: c.Do("Set wide size", [&] { text.Set(more.c_str(), size); }); break;
        case 3:
            c.Do("Set block", [&] {
                QZString other(more.c_str());
                text.Set(other.GetStructPointer());
            });
            break;
        case 4: any("Append", [&](auto* t) { text.Append(t); }); break;
        case 5: c.Do("Append narrow size", [&] { text.Append(narrow.c_str(), narrowSize); }); break;
        case 6: c.Do("Append wide size", [&] { text.Append(more.c_str(), size); }); break;
        case 7: any("Prepend", [&](auto* t) { text.Prepend(t); }); break;
        case 8: c.Do("Prepend narrow size", [&] { text.Prepend(narrow.c_str(), narrowSize); }); break;
        case 9: c.Do("Prepend wide size", [&] { text.Prepend(more.c_str(), size); }); break;
        case 10: any("Insert", [&](auto* t) { text.Insert(place, t); }); break;
        case 11:
            c.Do("Insert unit", [&] { text.Insert(place, static_cast<QZWChar>(c.random.Range(1, 0x2FF))); });
            break;
        case 12:
            if (text.GetLength() < 2000) c.Do("Append itself", [&] { text.Append(&text); });
            break;
        default: AddNumber(c, text); break;
    }
}

/// Both texts of a replacement in one of the forms.
template <typename Call>
auto Pair(Case& c, const Wide& find, const Wide& with, Call call)
{
    const bool without = c.random.Chance(4);
    switch (c.random.Below(3))
    {
        case 0: return call(Utf8(find).c_str(), without ? nullptr : Utf8(with).c_str());
        case 1: return call(find.c_str(), without ? nullptr : with.c_str());
        default:
        {
            QZString findObject(find.c_str());
            QZString withObject(with.c_str());
            return call(&findObject, without ? nullptr : &withObject);
        }
    }
}

void Change(Case& c, QZString& text)
{
    const Wide find = Needle(c, text);
    const Wide with = c.random.Text(3);
    const QZInt64 start = c.random.Range(-1, text.GetLength() + 1);
    const QZInt64 length = c.random.Range(-1, text.GetLength() + 1 - start);
    switch (c.random.Below(16))
    {
        case 0:
            c.Do("Replace", [&] {
                return Pair(c, find, with, [&](auto* f, auto* w) { return Own(text.Replace(f, w)); });
            });
            break;
        case 1:
            c.Do("ReplaceThis",
                 [&] { Pair(c, find, with, [&](auto* f, auto* w) { text.ReplaceThis(f, w); }); });
            break;
        case 2: c.Do("SubString", [&] { return Own(text.SubString(start, length)); }); break;
        case 3: c.Do("SubStringThis", [&] { text.SubStringThis(start, length); }); break;
        case 4: c.Do("ToUpper", [&] { return Own(text.ToUpper()); }); break;
        case 5: c.Do("ToLower", [&] { return Own(text.ToLower()); }); break;
        case 6: c.Do("ToUpperThis", [&] { text.ToUpperThis(); }); break;
        case 7: c.Do("ToLowerThis", [&] { text.ToLowerThis(); }); break;
        case 8: c.Do("Trim", [&] { return Own(text.Trim()); }); break;
        case 9: c.Do("TrimThis", [&] { text.TrimThis(); }); break;
        case 10:
            c.Do("Split unit", [&] { return Own(text.Split(find.empty() ? QZWChar{0} : find[0])); });
            break;
        case 11:
            c.Do("Split",
                 [&] { return InAnyFormOrNull(c, find, [&](auto* t) { return Own(text.Split(t)); }); });
            break;
        case 12: c.Do("IsNumberic", [&] { return QZString::IsNumberic(&text); }); break;
        case 13:
            c.Do("IsNullOrEmpty",
                 [&] { return QZString::IsNullOrEmpty(c.random.Chance(20) ? nullptr : &text); });
            break;
        case 14:
            c.Do("IsNullOrWhiteSpace",
                 [&] { return QZString::IsNullOrWhiteSpace(c.random.Chance(20) ? nullptr : &text); });
            break;
        default:
            if (c.random.Chance(20)) c.Do("Clear", [&] { text.Clear(); });
            break;
    }
}

void Make(Case& c)
{
    const Wide words = c.random.Text(8);
    const std::string narrow = Utf8(words);
    const auto wideSize = static_cast<QZInt64>(words.size()) * 2;
    const auto narrowSize = static_cast<QZInt64>(narrow.size());
    switch (c.random.Below(7))
    {
        case 0:
            c.Do("QZString", [&] {
                return InAnyFormOrNull(c, words, [&](auto* t) {
                    QZString made(t);
                    return c.Show(&made);
                });
            });
            break;
        case 1:
            c.Do("QZString narrow size", [&] {
                QZString made(narrow.c_str(), narrowSize - 1);
                return c.Show(&made);
            });
            break;
        case 2:
            c.Do("QZString wide size", [&] {
                QZString made(words.c_str(), wideSize - 2);
                return c.Show(&made);
            });
            break;
        case 3:
            c.Do("copies", [&] {
                QZString first(words.c_str());
                QZString second(first);
                QZString third(first.GetStructPointer());
                second.Append("x");
                third = second;
                first.Clear();
                return c.Show(&second) + c.Show(&third) + c.Show(&first);
            });
            break;
        case 4:
            c.Do("CreateString", [&] {
                return InAnyFormOrNull(c, words,
                                       [&](auto* t) { return Own(QZStringFactory::CreateString(t)); });
            });
            break;
        case 5:
            c.Do("CreateString narrow size",
                 [&] { return Own(QZStringFactory::CreateString(narrow.c_str(), narrowSize)); });
            break;
        default:
            c.Do("CreateString wide size",
                 [&] { return Own(QZStringFactory::CreateString(words.c_str(), wideSize)); });
            break;
    }
}

const QZInt64 kEncodings[] = {QZEncodingType::ANSI,
                              QZEncodingType::UTF16LE,
                              QZEncodingType::UTF16BE,
                              QZEncodingType::UTF8,
                              QZEncodingType::UTF32LE,
                              QZEncodingType::UTF32BE,
                              0x2000000};

/// Bytes that are text in some encoding, and sometimes damaged.
std::string Encoded(Case& c)
{
    if (c.random.Chance(15)) return c.random.Bytes(c.random.Below(20));
    const Wide text = c.random.Text(12);
    std::string bytes = c.random.Chance(50)
                            ? Utf8(text)
                            : std::string(reinterpret_cast<const char*>(text.data()), text.size() * 2);
    if (c.random.Chance(10)) bytes = "\xEF\xBB\xBF" + bytes;
    if (!bytes.empty() && c.random.Chance(30))
        bytes[static_cast<std::size_t>(c.random.Below(static_cast<QZInt64>(bytes.size())))] =
            static_cast<char>(c.random.Next());
    if (!bytes.empty() && c.random.Chance(20)) bytes.pop_back();
    return bytes;
}

void Convert(Case& c)
{
    const std::string bytes = Encoded(c);
    const auto size = static_cast<QZInt64>(bytes.size());
    const QZInt64 from = c.random.Pick(kEncodings);
    const QZInt64 to = c.random.Pick(kEncodings);
    const QZInt64 room = c.random.Below(64);
    std::string target(64, '.');
    QZData data(bytes.data(), size);
    QZString text(c.random.Text(10).c_str());
    QZData into;
    const auto filled = [&](QZInt64 result) {
        return std::to_string(result) + " " + c.Bytes(target.data(), 64);
    };
    switch (c.random.Below(12))
    {
        case 0:
            c.Do("Convert needs",
                 [&] { return QZEncoding::Convert(from, bytes.data(), size, to, nullptr, 0); });
            break;
        case 1:
            c.Do("Convert", [&] {
                return filled(QZEncoding::Convert(from, bytes.data(), size, to, target.data(), room));
            });
            break;
        case 2:
            c.Do("Convert bad", [&] {
                return QZEncoding::Convert(from, c.random.Chance(50) ? nullptr : bytes.data(),
                                           c.random.Range(-2, 0), to, nullptr, 0);
            });
            break;
        case 3:
            c.Do("GetString", [&] { return Own(QZEncoding::GetString(from, bytes.data(), size)); });
            break;
        case 4:
            c.Do("GetString into", [&] {
                QZEncoding::GetString(from, bytes.data(), size, &text);
                return &text;
            });
            break;
        case 5: c.Do("GetString of data", [&] { return Own(QZEncoding::GetString(from, &data)); }); break;
        case 6:
            c.Do("GetString of data into", [&] {
                QZEncoding::GetString(from, &data, &text);
                return &text;
            });
            break;
        case 7:
            c.Do("GetData",
                 [&] { return Own(QZEncoding::GetData(to, c.random.Chance(5) ? nullptr : &text)); });
            break;
        case 8:
            c.Do("GetData into", [&] {
                QZEncoding::GetData(to, &text, &into);
                return &into;
            });
            break;
        case 9:
            c.Do("GetData of block", [&] { return Own(QZEncoding::GetData(to, text.GetStructPointer())); });
            break;
        case 10:
            c.Do("GetBytes", [&] { return filled(QZEncoding::GetBytes(to, &text, target.data(), room)); });
            break;
        default: c.Do("IsLegalUTF8", [&] { return QZEncoding::IsLegalUTF8(bytes.data(), size); }); break;
    }
}
}  // namespace

void RunText(Case& c)
{
    QZException::IsStackTrace = static_cast<QZBool>(c.random.Chance(80));
    QZString text(c.random.Text(c.random.Chance(10) ? 400 : 20).c_str());
    c.Value("text", &text);
    for (QZInt64 steps = c.random.Range(4, 30); steps > 0; --steps)
    {
        const QZInt64 kind = c.random.Below(10);
        if (kind < 3)
        {
            Search(c, text);
            continue;
        }
        if (kind < 4)
        {
            Make(c);
            continue;
        }
        if (kind < 6)
        {
            Convert(c);
            continue;
        }
        if (kind < 8)
            Put(c, text);
        else
            Change(c, text);
        c.Line("text = " + c.Show(&text) + " size " + std::to_string(text.GetSize()) + " check " +
               std::to_string(text.Check()));
    }
}

}  // namespace compare
