// Any bytes as JSON by RFC 8259, in UTF-8 and in UTF-16: reading refuses them with a position inside the text
// or gives a tree, and a tree that is written can be read back and is then written the same. The first byte
// selects options.

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "net/net_json.h"
#include "net/net_json_strict.h"
#include "qzlib.h"

namespace
{
void Require(bool condition)
{
    if (!condition) std::abort();
}

void CheckTree(QZJsonValue* value, const QZJsonReadOptions& read, const QZJsonWriteOptions& write)
{
    QZJsonReadOptions again = read;
    // The written text may be longer, indented for instance.
    again.MaxLength = -1;
    QZString* text = QZJson::Write(value, write);
    Require(text->Check());
    QZJsonValue* copy = nullptr;
    Require(QZJson::TryParse(text, &copy, nullptr, again) != 0);
    QZString* copied = QZJson::Write(copy, write);
    Require(copied->Equals(text));
    QZData* utf8 = QZJson::WriteUtf8(copy, write);
    QZJsonFactory::Recycle(&copy);
    Require(QZJson::TryParse(utf8, &copy, nullptr, again) != 0);
    QZJsonFactory::Recycle(&copy);
    QZDataFactory::Recycle(&utf8);
    QZStringFactory::Recycle(&copied);
    QZStringFactory::Recycle(&text);
}

template <typename Unit>
void Read(const Unit* text, QZInt64 length, const QZJsonReadOptions& read, const QZJsonWriteOptions& write)
{
    QZJsonValue* value = nullptr;
    QZJsonError error;
    if (QZJson::TryParse(text, length, &value, &error, read))
    {
        CheckTree(value, read, write);
        QZJsonFactory::Recycle(&value);
        return;
    }
    Require(value == nullptr && error.Code != QZJsonErrorCode::None && error.Reason[0] != 0);
    Require(error.Offset >= 0 && error.Offset <= length && error.Line >= 1 && error.Column >= 1);
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool started = [] {
        QZLibInit();
        QZLibSetFunctionAssert([](QZBool condition) { Require(condition != 0); });
        return true;
    }();
    Require(started);
    if (size == 0) return 0;
    const unsigned choice = data[0];
    QZJsonReadOptions read;
    read.Duplicates = static_cast<QZJsonDuplicates>(choice % 3);
    read.ByteOrderMark = (choice & 4) != 0;
    read.MaxDepth = (choice & 8) != 0 ? -1 : 16;
    QZJsonWriteOptions write;
    write.Indent = (choice & 16) != 0 ? 1 : 0;
    write.HtmlSafe = (choice & 32) != 0;
    ++data;
    --size;
    // A buffer of its own ends where the text ends.
    const std::vector<char> bytes(data, data + size);
    Read(bytes.data(), static_cast<QZInt64>(bytes.size()), read, write);
    std::vector<QZWChar> units;
    for (std::size_t i = 0; i + 1 < size; i += 2)
        units.push_back(static_cast<QZWChar>(data[i] | data[i + 1] << 8));
    Read(units.data(), static_cast<QZInt64>(units.size()), read, write);
    units.assign(data, data + size);
    Read(units.data(), static_cast<QZInt64>(units.size()), read, write);
    QZLibCollect(1);
    return 0;
}
