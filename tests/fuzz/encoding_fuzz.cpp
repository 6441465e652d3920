// Every conversion of any bytes: the size query matches the result, a short target holds the start of the
// complete result, legal UTF-8 round-trips through UTF-16 and UTF-32, and strings of any text can be split.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "fw/fw_encoding.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_keyed.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "qzlib.h"

namespace
{
constexpr QZInt64 kTypes[] = {QZEncodingType::ANSI, QZEncodingType::UTF16LE, QZEncodingType::UTF16BE,
                              QZEncodingType::UTF8, QZEncodingType::UTF32LE, QZEncodingType::UTF32BE};

using Bytes = std::vector<unsigned char>;

void Require(bool condition)
{
    if (!condition) std::abort();
}

Bytes Convert(QZInt64 from, const Bytes& source, QZInt64 to)
{
    QZInt64 size = static_cast<QZInt64>(source.size());
    QZInt64 needed = QZEncoding::Convert(from, source.data(), size, to, nullptr, 0);
    if (from == QZEncodingType::UTF32BE || to == QZEncodingType::UTF32BE)
    {
        Require(needed == -1);
        return {};
    }
    Require(needed >= 0);
    Bytes target(static_cast<std::size_t>(needed));
    // The data of an empty vector may be null, and a null target queries the size.
    unsigned char nothing;
    void* to_ = target.empty() ? &nothing : target.data();
    Require(QZEncoding::Convert(from, source.data(), size, to, to_, needed) == needed);
    return target;
}

void CheckLimited(QZInt64 from, const Bytes& source, QZInt64 to, const Bytes& whole, std::size_t room)
{
    Bytes target(room + 1);
    QZInt64 written = QZEncoding::Convert(from, source.data(), static_cast<QZInt64>(source.size()), to,
                                          target.data(), static_cast<QZInt64>(room));
    if (written < 0) return;
    Require(static_cast<std::size_t>(written) <= std::min(room, whole.size()));
    Require(std::equal(target.begin(), target.begin() + written, whole.begin()));
    Require(room < whole.size() || static_cast<std::size_t>(written) == whole.size());
}

void CheckLegal(const Bytes& source)
{
    if (!QZEncoding::IsLegalUTF8(source.data(), static_cast<QZInt64>(source.size()))) return;
    Bytes utf32 = Convert(QZEncodingType::UTF8, source, QZEncodingType::UTF32LE);
    Require(Convert(QZEncodingType::UTF32LE, utf32, QZEncodingType::UTF8) == source);
    Bytes utf16 = Convert(QZEncodingType::UTF8, source, QZEncodingType::UTF16LE);
    Require(Convert(QZEncodingType::UTF16LE, utf16, QZEncodingType::UTF32LE) == utf32);
}

void CheckString(QZInt64 type, const Bytes& source)
{
    try
    {
        QZString* text = QZEncoding::GetString(type, source.data(), static_cast<QZInt64>(source.size()));
        Require(text->Check() && text->CharAt(text->GetLength()) == 0);
        QZStringCollection* pieces = text->Split(static_cast<QZWChar>('a'));
        QZInt64 units = pieces->Count() - 1;
        for (QZInt64 i = 0; i < pieces->Count(); ++i) units += pieces->GetElement(i)->GetLength();
        Require(units == text->GetLength());
        QZString::Recycle(&pieces);
        text->TrimThis();
        text->Prepend(text);
        text->ReplaceThis(QZ_W("aa"), QZ_W("b"));
        QZString::IsNumberic(text);
        Require(text->Check());
        QZString::Recycle(&text);
    }
    catch (QZException* exception)
    {
        // Input without a complete character is rejected.
        QZExceptionFactory::Recycle(&exception);
    }
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool started = QZLibInit() != 0;
    Require(started);
    if (size < 1) return 0;
    std::size_t room = data[0];
    Bytes source(data + 1, data + size);
    for (QZInt64 from : kTypes)
    {
        for (QZInt64 to : kTypes)
        {
            Bytes whole = Convert(from, source, to);
            // A conversion to the same encoding may split a character at the end of the target.
            CheckLimited(from, source, to, whole, room);
        }
        CheckString(from, source);
    }
    CheckLegal(source);
    return 0;
}
