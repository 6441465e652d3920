#include "os/internal/os_shared_open.h"

#include "fw/fw_exception_code.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_string.h"
#include "fw/internal/fw_raise.h"
#include "os/internal/os_file_inside.h"
#include "os/internal/os_opened_file.h"
#include "os/internal/os_whole_sync.h"
#include "sys/internal/sys_file.h"
#include "sys/internal/sys_thread.h"

namespace
{

using Role = QZFileInside::Role;

/// How often, and after how many milliseconds, a reader tries again to recover a file while another reader
/// has it open and wants to recover it too.
constexpr int kRecoveryTries = 100;
constexpr QZUInt32 kRecoveryPause = 10;

constexpr QZInt64 kCopiedAtOnce = 1 << 20;

[[noreturn]] void ThrowInUse(QZString* path)
{
    QZRaise(QZIOFailure(QZIOExceptionCode::FileInUse).With(path), QZ_W("QZFile"), QZ_W("Open"))
        .Argument(QZ_W("QZString*"), path)
        .Throw();
}

[[noreturn]] void ThrowWithText(QZString* path, const char* text)
{
    QZString message(path);
    message.Append(text);
    QZRaise(QZIOFailure(QZIOExceptionCode::OperationFailed).With(&message), QZ_W("QZFile"), QZ_W("Open"))
        .Argument(QZ_W("QZString*"), path)
        .Throw();
}

/// Null when the file is in use. A failure to open it for writing is told as what it means for a reader.
QZFile* OpenToRecover(QZString* path)
{
    try
    {
        return QZFileInside::OpenUnlessInUse(path, Role::Writer);
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
    }
    ThrowWithText(path,
                  ": its writer did not finish; it has to be recovered, and cannot be opened for writing.");
}

QZFile* OpenToCopy(QZString* path)
{
    QZFile* file = QZFileInside::OpenUnlessInUse(path, Role::Copier);
    if (file == nullptr) ThrowInUse(path);
    return file;
}

void CopyOne(QZString* from, QZString* to, const char* ending)
{
    QZString source(from);
    QZString target(to);
    source.Append(ending);
    target.Append(ending);
    if (*ending != 0 && !QZFile::Exists(&source)) return;
    QZFile::Create(&target);
    const QZOpenedFile in(OpenToCopy(&source));
    const QZOpenedFile out(QZFile::Open(&target));
    QZFile::Copy(in.Get(), 0, out.Get(), 0, in->GetSize(), kCopiedAtOnce, nullptr);
}

void DeleteQuietly(QZString* path, const char* ending)
{
    try
    {
        QZString target(path);
        target.Append(ending);
        if (QZFile::Exists(&target)) QZFile::Delete(&target);
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
    }
}

}  // namespace

QZFile* OpenAlone(QZString* path)
{
    QZFile* file = QZFileInside::OpenUnlessInUse(path, Role::Writer);
    if (file == nullptr) ThrowInUse(path);
    if (os::FileIsShared(QZFileInside::Handle(file))) return file;
    QZFile::Close(&file);
    ThrowWithText(path, ": its file system has no locks, so nobody else can be kept from writing.");
}

QZFile* OpenToRead(QZString* path)
{
    for (int tries = 0; tries < kRecoveryTries; ++tries)
    {
        QZScoped<QZFile, QZFileCloser> reader(QZFileInside::OpenUnlessInUse(path, Role::Reader));
        if (reader.Get() == nullptr) break;
        // No writer has the file, so nothing changes the recovery files.
        if (!WholeSync::IsNeeded(path)) return reader.Release();
        reader.Reset();
        const QZOpenedFile writer(OpenToRecover(path));
        if (writer.Get() != nullptr)
            const WholeSync recovered(path, writer.Get());
        else
            os::Sleep(kRecoveryPause);
    }
    ThrowInUse(path);
}

void CopySynced(QZString* from, QZString* to)
{
    QZFile::Create(to);
    QZFile::Delete(to);
    // What a copy that was killed has left would be taken for a part of this one.
    for (const char* ending : {".sync", ".undo"}) DeleteQuietly(to, ending);
    try
    {
        {
            const QZOpenedFile source(OpenToCopy(from));
            const ChangeLock lock(source.Get(), ChangeLock::Kind::Copy);
            for (const char* ending : {"", ".sync", ".undo"}) CopyOne(from, to, ending);
        }
        const QZOpenedFile copy(QZFile::Open(to));
        const WholeSync recovered(to, copy.Get());
    }
    catch (QZException*)
    {
        for (const char* ending : {"", ".sync", ".undo"}) DeleteQuietly(to, ending);
        throw;
    }
}
