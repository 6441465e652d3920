#include "os/os_path.h"

#include <string_view>

#include "fw/internal/fw_path_text.h"
#include "fw/internal/fw_trace.h"
#include "os/os_file_directory.h"
#include "sys/internal/sys_file.h"

const QZInt64 QZPath::Type;

namespace
{

using View = std::basic_string_view<QZWChar>;

constexpr QZWChar kSeparators[] = {'/', '\\', 0};

View ViewOf(QZString* path)
{
    return path != nullptr ? View(path->GetPointer(), static_cast<std::size_t>(path->GetLength())) : View();
}

QZString* NewText(View text)
{
    QZString* result = QZStringFactory::CreateString();
    if (!text.empty()) result->Append(text.data(), static_cast<QZInt64>(text.size() * sizeof(QZWChar)));
    return result;
}

View DirectoryOf(View path)
{
    std::size_t separator = path.find_last_of(kSeparators);
    return separator == View::npos ? View() : path.substr(0, separator);
}

View NameOf(View path)
{
    std::size_t separator = path.find_last_of(kSeparators);
    return separator == View::npos ? path : path.substr(separator + 1);
}

bool IsLetter(QZWChar unit) { return (unit >= 'A' && unit <= 'Z') || (unit >= 'a' && unit <= 'z'); }

}  // namespace

QZString* QZPath::GetDrive(QZString* path)
{
    View text = ViewOf(path);
    return NewText(text.size() >= 2 && IsLetter(text[0]) && text[1] == ':' ? text.substr(0, 2) : View());
}

QZString* QZPath::GetDirectory(QZString* path) { return NewText(DirectoryOf(ViewOf(path))); }

QZString* QZPath::GetDirectory(QZString* path, QZInt64 level)
{
    View directory = DirectoryOf(ViewOf(path));
    for (QZInt64 i = 0; i < level && !directory.empty(); ++i) directory = DirectoryOf(directory);
    return NewText(directory);
}

QZString* QZPath::GetExtension(QZString* path)
{
    View name = NameOf(ViewOf(path));
    std::size_t dot = name.rfind('.');
    return NewText(dot == View::npos ? View() : name.substr(dot + 1));
}

QZString* QZPath::GetName(QZString* path) { return NewText(NameOf(ViewOf(path))); }

QZString* QZPath::GetNameNoExtension(QZString* path)
{
    View name = NameOf(ViewOf(path));
    return NewText(name.substr(0, name.rfind('.')));
}

QZString* QZPath::Combine(QZString* first, QZString* second)
{
    View head = ViewOf(first);
    View tail = ViewOf(second);
    if (head.empty()) return NewText(tail);
    if (tail.empty()) return NewText(head);
    std::size_t end = head.find_last_not_of(kSeparators);
    std::size_t begin = tail.find_first_not_of(kSeparators);
    QZString* result = NewText(head.substr(0, end == View::npos ? 0 : end + 1));
    QZWChar separator[] = {os::PathSeparator(), 0};
    result->Append(separator);
    if (begin != View::npos)
        result->Append(tail.data() + begin, static_cast<QZInt64>((tail.size() - begin) * sizeof(QZWChar)));
    return result;
}

void QZPath::Create(QZString* path)
{
    try
    {
        QZFileDirectory::Create(path);
    }
    catch (QZException* e)
    {
        QZTrace(e, QZ_W("QZPath"), QZ_W("Create")).Argument(QZ_W("QZString*"), path);
        throw;
    }
}

void QZPath::Recycle(QZString** text) { QZStringFactory::Recycle(text); }
