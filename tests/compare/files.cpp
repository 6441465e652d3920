// Settings, streams, paged buffers in memory and over real files, files, paths, addresses.

#include <algorithm>
#include <memory>

#include "compare.h"

namespace compare
{
namespace
{
const char* const kFile = "case.bin";

class Settings : public QZSettingsAdapter
{
public:
    using QZSettingsAdapter::GetLength;
    using QZSettingsAdapter::GetValue;
    using QZSettingsAdapter::IsKeyExists;
    using QZSettingsAdapter::m_encoding;
    using QZSettingsAdapter::m_saveOnChange;
    using QZSettingsAdapter::QZSettingsAdapter;
    using QZSettingsAdapter::SetValue;
};

void SettingsCase(Case& c)
{
    Random& r = c.random;
    static const char* const keys[] = {"a=", "name=", "b =", "x", "longer key=", "="};
    std::string source;
    for (QZInt64 i = r.Below(6); i > 0; --i)
        source +=
            std::string(r.Pick(keys)) + Utf8(r.Ascii(6)) + r.Pick({"\r\n", "\r\n", ";comment\r\n", "\n", ""});
    WriteFile(kFile, source);
    Settings settings;
    if (r.Chance(60))
        c.Do("Load", [&] {
            InAnyForm(c, ToWide(r.Chance(95) ? kFile : "missing.txt"),
                      [&](auto* path) { settings.Load(path); });
        });
    else
        c.Do("Load text",
             [&] { settings.Load(source.data(), r.Chance(4) ? -1 : static_cast<QZInt64>(source.size())); });
    settings.m_saveOnChange = static_cast<QZByte>(r.Below(2));
    if (r.Chance(15)) settings.m_encoding = r.Pick({QZEncodingType::UTF8, QZEncodingType::UTF16LE});
    for (QZInt64 steps = r.Range(2, 10); steps > 0; --steps)
    {
        QZString key(r.Pick(keys));
        QZString value(r.Text(7).c_str());
        switch (r.Below(5))
        {
            case 0:
            case 1: c.Do("SetValue", [&] { settings.SetValue(&key, &value); }); break;
            case 2: c.Do("GetValue", [&] { return Own(settings.GetValue(&key)); }); break;
            case 3:
                c.Do("GetLength",
                     [&] { return settings.GetLength(&key) + 1000 * settings.IsKeyExists(&key); });
                break;
            default: c.Do("Save", [&] { settings.Save(); }); break;
        }
        std::string all(static_cast<std::size_t>(settings.GetSettingsSize()), 0);
        settings.CopySettingsToBuf(all.data());
        c.Line("all " + c.Bytes(all.data(), static_cast<QZInt64>(all.size())));
        c.File("file", kFile);
    }
}

/// Offsets near each other, around the ends of pages and blocks, and far away.
QZInt64 Offset(Random& r)
{
    switch (r.Below(6))
    {
        case 0: return r.Range(-2, 20);
        case 1: return 4096 * r.Below(6) + r.Range(-3, 3);
        case 2: return QZBuffer::BlockSize512K * r.Below(4) + r.Range(-3, 3);
        case 3: return r.Below(2000000);
        default: return r.Below(9000);
    }
}

template <typename Buffer>
void Buffered(Case& c, Buffer& buffer)
{
    Random& r = c.random;
    for (QZInt64 steps = r.Range(5, 30); steps > 0; --steps)
    {
        const QZInt64 offset = Offset(r);
        const QZInt64 size =
            r.Chance(10) ? r.Below(20000) : r.Pick({QZInt64{1}, QZInt64{4}, QZInt64{8}, r.Range(-1, 40)});
        std::string bytes = r.Bytes(std::max<QZInt64>(size, 0));
        const std::string at = " " + std::to_string(offset) + " " + std::to_string(size);
        QZData data(bytes.data(), static_cast<QZInt64>(bytes.size()));
        switch (r.Below(9))
        {
            case 0:
            case 1:
            case 2:
                c.Do("Write" + at, [&] { return buffer.QZBuffer::Write(offset, bytes.data(), size); });
                break;
            case 3: c.Do("Write data" + at, [&] { return buffer.QZBuffer::Write(offset, &data); }); break;
            case 4:
            case 5:
                c.Do("Read" + at, [&] {
                    const QZInt64 done = buffer.QZBuffer::Read(offset, bytes.data(), size);
                    return std::to_string(done) + " " +
                           c.Bytes(bytes.data(), static_cast<QZInt64>(bytes.size()));
                });
                break;
            case 6: c.Do("Read data" + at, [&] { return Own(buffer.QZBuffer::Read(offset, size)); }); break;
            case 7:
                c.Do("block" + at, [&] {
                    QZBlock* block = buffer.GetBlockByOffset(std::max<QZInt64>(offset, 0));
                    return block->GetOffset() * 8 + block->IsChanged() * 4 + block->IsReleasable() * 2 +
                           block->GetSize();
                });
                break;
            default:
                if (r.Chance(50))
                    c.Do("Sync", [&] { return buffer.Sync(); });
                else
                    c.Do("Collect", [&] { return buffer.Collect(); });
                break;
        }
        c.Value("used", buffer.GetMemorySizeUsed());
    }
    c.Value("limit", buffer.GetMemorySizeUseMax());
}

void FileBuffer(Case& c)
{
    Random& r = c.random;
    WriteFile(kFile, r.Bytes(r.Chance(40) ? 0 : r.Below(30000)));
    const bool whole = r.Chance(30);
    QZFileBuffer::AtomicSync = static_cast<QZByte>(whole);
    QZString path(r.Chance(97) ? kFile : "missing.bin");
    QZFileBuffer* buffer = nullptr;
    c.Do("Open", [&] {
        buffer = QZFileBuffer::Open(&path, r.Pick({QZInt64{0}, QZInt64{1} << 20, QZInt64{1} << 24}),
                                    r.Pick({QZInt64{-1}, QZInt64{4096}, QZBuffer::BlockSize1M}));
    });
    QZFileBuffer::AtomicSync = 0;
    if (buffer == nullptr) return;
    c.Value("path", buffer->GetPath());
    Buffered(c, *buffer);
    c.Value("size", buffer->GetFileSize());
    if (buffer->GetFileSize() < 100000) c.Do("ReadAll", [&] { return Own(buffer->ReadAll()); });
    // The layout of the files beside a file with whole syncs may change, and with it the place where a write
    // of them meets the limit.
    const bool refused = r.Chance(10) && !whole && LimitFileSize(r.Below(5000));
    c.Do("Close", [&] { QZFileBuffer::Close(&buffer); });
    if (refused) LimitFileSize(-1);
    c.File("file", kFile);
    c.File("sync file", std::string(kFile) + ".sync");
    DeleteFile(std::string(kFile) + ".sync");
}

void Stream(Case& c)
{
    Random& r = c.random;
    QZStream stream(r.Pick({QZInt64{0}, QZInt64{1} << 20}));
    for (int i = 0; i < 20; ++i)
    {
        std::string bytes = r.Bytes(r.Below(r.Chance(10) ? 6000 : 30));
        const auto size = static_cast<QZInt64>(bytes.size());
        unsigned char one = 'x';
        switch (r.Below(6))
        {
            case 0: c.Do("Write", [&] { return stream.Write(bytes.data(), size); }); break;
            case 1:
                c.Do("WriteByte", [&] { return stream.WriteByte(static_cast<unsigned char>(r.Next())); });
                break;
            case 2:
                c.Do("Read", [&] {
                    const QZInt64 n = stream.Read(bytes.data(), size);
                    return std::to_string(n) + c.Bytes(bytes.data(), size);
                });
                break;
            case 3: c.Do("ReadByte", [&] { return stream.ReadByte(&one) * 256 + one; }); break;
            case 4: c.Do("Seek", [&] { stream.Seek(r.Below(stream.GetEnd() + 3)); }); break;
            default: c.Value("ends", stream.GetPosition() * 1000000 + stream.GetEnd()); break;
        }
    }
}

void FileStream(Case& c)
{
    Random& r = c.random;
    std::string source;
    for (QZInt64 i = r.Below(8); i > 0; --i)
        source += Utf8(r.Text(r.Chance(10) ? 300 : 20)) + r.Pick({"\r\n", "\r\n", "\n", ""});
    if (r.Chance(10)) source = "\xEF\xBB\xBF" + source;
    WriteFile(kFile, source);
    QZString path(kFile);
    QZFileStream* stream = nullptr;
    c.Do("Open", [&] {
        stream =
            r.Chance(60)
                ? QZFileStream::Open(&path)
                : QZFileStream::Open(
                      &path, r.Pick({QZEncodingType::UTF8, QZEncodingType::UTF16LE, QZEncodingType::ANSI}));
    });
    if (stream == nullptr) return;
    c.Value("encoding", stream->GetEncoding());
    for (int i = 0; i < 14; ++i)
    {
        QZString text(r.Text(10).c_str());
        switch (r.Below(7))
        {
            case 0:
            case 1:
                c.Do("ReadLine", [&] {
                    const QZInt64 size = stream->ReadLine(&text);
                    return std::to_string(size) + c.Show(&text);
                });
                break;
            case 2: c.Do("WriteLine", [&] { return stream->WriteLine(&text); }); break;
            case 3: c.Do("Write", [&] { return stream->Write(&text); }); break;
            case 4: c.Do("ReadByte", [&] { return stream->ReadByte(); }); break;
            case 5:
                c.Do("Seek", [&] { stream->Seek(r.Below(static_cast<QZInt64>(source.size()) + 1)); });
                break;
            default:
                if (r.Chance(30)) c.Do("ReadToEnd", [&] { return Own(stream->ReadToEnd()); });
                break;
        }
    }
    c.Do("Close", [&] { QZFileStream::Close(&stream); });
    c.File("file", kFile);
}

void FileCase(Case& c)
{
    Random& r = c.random;
    std::string source = r.Chance(50) ? r.Bytes(r.Below(200)) : Utf8(r.Text(60));
    if (r.Chance(20)) source = r.Pick({"\xFF\xFE", "\xFE\xFF", "\xEF\xBB\xBF"}) + source;
    WriteFile(kFile, source);
    QZFile* file = nullptr;
    c.Do("Open", [&] { file = InAnyForm(c, ToWide(kFile), [](auto* path) { return QZFile::Open(path); }); });
    if (file == nullptr) return;
    for (int i = 0; i < 10; ++i)
    {
        std::string bytes = r.Bytes(r.Below(40));
        const auto size = static_cast<QZInt64>(bytes.size());
        const QZInt64 offset = r.Below(300);
        QZData data(bytes.data(), size);
        switch (r.Below(11))
        {
            case 0: c.Do("Write", [&] { return file->Write(offset, bytes.data(), size); }); break;
            case 1:
                c.Do("Write data", [&] { return file->Write(offset, r.Chance(5) ? nullptr : &data); });
                break;
            case 2:
                c.Do("Read", [&] {
                    const QZInt64 n = file->Read(offset, bytes.data(), size);
                    return std::to_string(n) + c.Bytes(bytes.data(), n);
                });
                break;
            case 3: c.Do("Read data", [&] { return Own(file->Read(offset, r.Below(60))); }); break;
            case 4: c.Do("NewSize", [&] { file->NewSize(r.Below(300)); }); break;
            case 5: c.Do("Append", [&] { return file->Append(bytes.data(), size); }); break;
            case 6: c.Do("LineCount", [&] { return file->LineCount(); }); break;
            case 7: c.Do("GetTextFileEncodingType", [&] { return file->GetTextFileEncodingType(); }); break;
            case 8: c.Do("ReadToEnd", [&] { return Own(file->ReadToEnd()); }); break;
            case 9:
                c.Do("Copy", [&] {
                    return QZFile::Copy(file, offset, file, offset + 400, r.Below(50), r.Range(1, 9),
                                        nullptr);
                });
                break;
            default: c.Do("Equals", [&] { return file->Equals(r.Chance(20) ? nullptr : file); }); break;
        }
        c.Value("size", file->GetSize());
    }
    QZFile::Close(&file);
    c.File("file", kFile);
    const auto any = [&](const char* name, const char* path, auto call) {
        c.Do(name, [&] { return InAnyForm(c, ToWide(path), call); });
    };
    any("Create there", kFile, [](auto* p) {
        QZFile::Create(p);
        return 0;
    });
    any("Exists", kFile, [](auto* p) { return QZFile::Exists(p); });
    c.Do("Rename", [&] { QZFile::Rename(kFile, "renamed.bin"); });
    any("Open missing", kFile, [](auto* p) {
        QZFile* opened = QZFile::Open(p);
        QZFile::Close(&opened);
        return 0;
    });
    any("Delete", "renamed.bin", [](auto* p) {
        QZFile::Delete(p);
        return 0;
    });
    any("Delete missing", "renamed.bin", [](auto* p) {
        QZFile::Delete(p);
        return 0;
    });
    any("directory", "folder/below", [](auto* p) {
        QZFileDirectory::Create(p);
        return QZFileDirectory::Exists(p) + 2 * QZFile::Exists(p);
    });
    WriteFile("folder/b.txt", "x");
    WriteFile("folder/below/a.txt", "y");
    QZString folder("folder");
    const auto flag = [&] { return static_cast<unsigned char>(r.Below(2)); };
    c.Do("GetFiles", [&] { return Own(QZFileDirectory::GetFiles(&folder, flag(), flag())); });
    c.Do("GetFilesAll", [&] { return Own(QZFileDirectory::GetFilesAll(&folder, flag(), flag())); });
    any("Delete full", "folder", [](auto* p) {
        QZFileDirectory::Delete(p);
        return 0;
    });
    for (const char* name : {"folder/below/a.txt", "folder/b.txt", "folder/below", "folder"})
        DeleteFile(name);
}

void Paths(Case& c)
{
    Random& r = c.random;
    const auto path = [&] {
        std::string text = r.Pick({"", "/", "C:\\", "c:", "\\\\", "..", "."});
        for (QZInt64 i = r.Below(5); i > 0; --i)
            text += std::string(r.Pick({"a", "b.txt", ".c", "d.e.f", "", "name"})) +
                    r.Pick({"/", "\\", "//", ""});
        return text;
    };
    for (int i = 0; i < 8; ++i)
    {
        QZString first(path().c_str());
        QZString second(path().c_str());
        c.Value("path", &first);
        c.Do("GetDrive", [&] { return Own(QZPath::GetDrive(&first)); });
        c.Do("GetDirectory", [&] { return Own(QZPath::GetDirectory(&first)); });
        c.Do("GetDirectory level", [&] { return Own(QZPath::GetDirectory(&first, r.Range(-1, 4))); });
        c.Do("GetExtension", [&] { return Own(QZPath::GetExtension(&first)); });
        c.Do("GetName", [&] { return Own(QZPath::GetName(r.Chance(5) ? nullptr : &first)); });
        c.Do("GetNameNoExtension", [&] { return Own(QZPath::GetNameNoExtension(&first)); });
        c.Do("Combine", [&] { return Own(QZPath::Combine(&first, &second)); });
    }
}

void Addresses(Case& c)
{
    Random& r = c.random;
    QZIPAddress address(static_cast<unsigned int>(r.Next()));
    for (int i = 0; i < 6; ++i)
    {
        std::string text;
        for (QZInt64 n = r.Chance(80) ? 4 : r.Below(6); n > 0; --n)
            text += std::to_string(r.Below(300)) + (n > 1 ? "." : "");
        if (r.Chance(40)) text += ":" + std::to_string(r.Below(70000));
        if (r.Chance(10)) text += r.Pick({".", ":", " ", "x"});
        c.Do("Set " + text, [&] { InAnyForm(c, ToWide(text), [&](auto* t) { address.Set(t); }); });
        if (r.Chance(30)) address.SetThePort(static_cast<unsigned short>(r.Pick({0, 80, 443})));
        if (r.Chance(30)) address.SetAddr2(static_cast<unsigned char>(r.Next()));
        c.Line(std::to_string(address.GetValue()) + " " + std::to_string(address.GetAddr1()) + " " +
               std::to_string(address.GetAddr4()) + " " + std::to_string(address.GetThePort()));
        c.Do("ToString", [&] { return Own(address.ToString()); });
        c.Do("ToData", [&] { return Own(address.ToData()); });
        c.Do("of data", [&] {
            QZData* data = address.ToData();
            if (r.Chance(20)) data->NewSize(r.Below(25));
            QZIPAddress read(data);
            QZDataFactory::Recycle(&data);
            return read.GetValue() + read.GetThePort();
        });
    }
}
}  // namespace

void RunFiles(Case& c)
{
    QZException::IsStackTrace = static_cast<QZBool>(c.random.Chance(80));
    switch (c.random.Below(9))
    {
        case 0: SettingsCase(c); break;
        case 1: Stream(c); break;
        case 2: FileStream(c); break;
        case 3: FileCase(c); break;
        case 4: Paths(c); break;
        case 5: Addresses(c); break;
        case 6:
        {
            QZBuffer buffer(c.random.Below(1 << 22),
                            c.random.Pick({QZInt64{-1}, QZInt64{1}, QZBuffer::BlockSize1M}));
            Buffered(c, buffer);
            break;
        }
        default: FileBuffer(c); break;
    }
    DeleteFile(kFile);
}

}  // namespace compare
