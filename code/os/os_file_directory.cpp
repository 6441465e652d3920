#include "os/os_file_directory.h"

#include <algorithm>
#include <string>
#include <vector>

#include "fw/fw_exception.h"
#include "fw/fw_exception_code.h"
#include "fw/fw_keyed.h"
#include "fw/internal/fw_path_text.h"
#include "fw/internal/fw_trace.h"
#include "os/internal/os_path_failure.h"
#include "os/os_path.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_file.h"

const QZInt64 QZFileDirectory::Type;

namespace
{

using Wide = std::basic_string<QZWChar>;

QZIOException* Failed()
{
    return QZExceptionFactory::CreateIOException(QZIOExceptionCode::OperationFailed,
                                                 static_cast<QZInt64>(os::LastError()));
}

template <typename Text>
[[noreturn]] void ThrowFor(QZIOException* exception, const QZWChar* method, Text path)
{
    throw QZTrace(exception, QZ_W("QZFileDirectory"), method)
        .Argument(QZTextTypeName(path), path)
        .Exception();
}

/// The path and those of its parents that do not exist, the path first.
std::vector<Wide> MissingOf(QZString* path)
{
    std::vector<Wide> missing;
    QZString* place = QZStringFactory::CreateString(path);
    while (place->GetLength() > 0)
    {
        // A path that ends in a separator names the same directory as the path before the separator.
        bool named = false;
        QZString* name = QZPath::GetName(place);
        named = name->GetLength() > 0;
        QZStringFactory::Recycle(&name);
        if (named)
        {
            if (os::FileKindOf(place->GetPointer()) == os::FileKind::Directory) break;
            missing.emplace_back(place->GetPointer());
        }
        QZString* parent = QZPath::GetDirectory(place);
        QZStringFactory::Recycle(&place);
        place = parent;
    }
    QZStringFactory::Recycle(&place);
    return missing;
}

template <typename Text>
void CreateAs(Text path)
{
    QZPathText text(path);
    if (text.TooLong()) ThrowFor(PathTooLong(), QZ_W("Create"), path);
    bool made = text.Length() > 0 || os::DirectoryCreate(text.Wide());
    std::vector<Wide> missing = MissingOf(text.Text());
    for (auto directory = missing.rbegin(); made && directory != missing.rend(); ++directory)
    {
        // Another program may have made the directory in the meantime.
        made = os::DirectoryCreate(directory->c_str()) ||
               (os::LastError() == os::ErrorDirectoryExists() &&
                os::FileKindOf(directory->c_str()) == os::FileKind::Directory);
    }
    if (!made) ThrowFor(Failed(), QZ_W("Create"), path);
}

template <typename Text>
void DeleteAs(Text path)
{
    QZPathText text(path);
    if (text.TooLong()) ThrowFor(PathTooLong(), QZ_W("Delete"), path);
    if (!os::DirectoryDelete(text.Wide())) ThrowFor(Failed(), QZ_W("Delete"), path);
}

template <typename Text>
QZBool ExistsAs(Text path)
{
    QZPathText text(path);
    if (text.TooLong()) ThrowFor(PathTooLong(), QZ_W("Exists"), path);
    return os::FileKindOf(text.Wide()) == os::FileKind::Directory;
}

struct Entry
{
    Wide name;
    bool directory;
    bool link;
};

struct Listing
{
    bool recursive;
    bool withPath;
    bool withDirectories;
    std::vector<Wide> names;
};

Wide Joined(const Wide& path, const Wide& name)
{
    if (path.empty() || path.back() == '/' || path.back() == '\\') return path + name;
    return path + os::PathSeparator() + name;
}

/// False with the system's error when a directory cannot be read.
bool Collect(const Wide& path, Listing* listing)
{
    os::DirectoryWalk* walk = os::DirectoryOpen(path.c_str());
    if (walk == nullptr) return false;
    std::vector<Entry> entries;
    const QZWChar* name;
    bool directory;
    bool link;
    while (os::DirectoryNext(walk, &name, &directory, &link)) entries.push_back({name, directory, link});
    os::DirectoryClose(walk);
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.name < b.name; });
    for (const Entry& entry : entries)
    {
        Wide full = Joined(path, entry.name);
        if (!entry.directory || listing->withDirectories)
            listing->names.push_back(listing->withPath ? full : entry.name);
        if (entry.directory && !entry.link && listing->recursive && !Collect(full, listing)) return false;
    }
    return true;
}

QZStringCollection* List(QZString* path, const QZWChar* method, Listing listing)
{
    QZPathText text(path);
    QZIOException* failure = nullptr;
    if (text.TooLong())
        failure = PathTooLong();
    else if (!Collect(text.Wide(), &listing))
        failure = Failed();
    if (failure != nullptr)
    {
        throw QZTrace(failure, QZ_W("QZFileDirectory"), method)
            .Argument(QZ_W("QZString*"), path)
            .Argument(QZ_W("QZBool"), static_cast<int>(listing.recursive))
            .Argument(QZ_W("QZBool"), static_cast<int>(listing.withPath))
            .Exception();
    }
    QZStringCollection* result = QZStringFactory::CreateStringCollection();
    for (const Wide& name : listing.names) result->Push(QZStringFactory::CreateString(name.c_str()));
    return result;
}

}  // namespace

QZInt64 QZFileDirectory::GetType() { return Type; }

void QZFileDirectory::Create(const char* path) { CreateAs(path); }
void QZFileDirectory::Create(const QZWChar* path) { CreateAs(path); }
void QZFileDirectory::Create(QZString* path) { CreateAs(path); }

void QZFileDirectory::Delete(const char* path) { DeleteAs(path); }
void QZFileDirectory::Delete(const QZWChar* path) { DeleteAs(path); }
void QZFileDirectory::Delete(QZString* path) { DeleteAs(path); }

QZBool QZFileDirectory::Exists(const char* path) { return ExistsAs(path); }
QZBool QZFileDirectory::Exists(const QZWChar* path) { return ExistsAs(path); }
QZBool QZFileDirectory::Exists(QZString* path) { return ExistsAs(path); }

QZStringCollection* QZFileDirectory::GetFiles(QZString* path, unsigned char recursive, unsigned char withPath)
{
    return List(path, QZ_W("GetFiles"), {recursive != 0, withPath != 0, false, {}});
}

QZStringCollection* QZFileDirectory::GetFilesAll(QZString* path, unsigned char recursive,
                                                 unsigned char withPath)
{
    return List(path, QZ_W("GetFilesAll"), {recursive != 0, withPath != 0, true, {}});
}

void QZFileDirectory::Recycle(QZStringCollection** collection) { QZStringFactory::Recycle(collection); }
