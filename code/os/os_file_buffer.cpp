#include "os/os_file_buffer.h"

#include <utility>
#include <vector>

#include "fw/fw_exception.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_trace.h"
#include "os/internal/os_shared_open.h"
#include "os/internal/os_whole_sync.h"
#include "os/os_file.h"

const QZInt64 QZFileBuffer::Type;
const QZInt64 QZFileBuffer::FREEDESKSPACE_MIN;
QZByte QZFileBuffer::AtomicSync = 0;
QZByte QZFileBuffer::Exclusive = 0;
QZByte QZFileBuffer::ReadOnly = 0;

QZFileBuffer::QZFileBuffer(QZFile* file, QZString* path, QZInt64 memoryLimit, QZInt64 blockSize)
    : QZBuffer(memoryLimit, blockSize),
      m_file(file),
      m_path(QZStringFactory::CreateString(path)),
      m_sync(nullptr)
{}

QZFileBuffer::~QZFileBuffer()
{
    try
    {
        QZFileBuffer::WriteBackAll();
    }
    catch (QZException* e)
    {
        // Close has reported the failure; deleting the buffer directly cannot report one.
        QZExceptionFactory::Recycle(&e);
        if (m_sync != nullptr) m_sync->Abandon();
    }
    DeleteBlocks();
    delete m_sync;
    QZFile::Close(&m_file);
    QZStringFactory::Recycle(&m_path);
}

QZInt64 QZFileBuffer::GetType() { return Type; }

QZFileBuffer* QZFileBuffer::Open(QZString* path, QZInt64 memoryLimit, QZInt64 blockSize)
{
    try
    {
        if (ReadOnly)
        {
            QZFileBuffer* buffer = OpenFor(OpenToRead(path), path, memoryLimit, blockSize, false);
            buffer->RefuseWrites();
            return buffer;
        }
        QZFile* file = Exclusive ? OpenAlone(path) : QZFile::Open(path);
        return OpenFor(file, path, memoryLimit, blockSize, Exclusive || AtomicSync);
    }
    catch (QZException* e)
    {
        QZTrace(e, QZ_W("QZFileBuffer"), QZ_W("Open"))
            .Argument(QZ_W("QZString*"), path)
            .Argument(QZ_W("QZInt64"), memoryLimit)
            .Argument(QZ_W("QZInt64"), blockSize);
        throw;
    }
}

QZFileBuffer* QZFileBuffer::OpenFor(QZFile* file, QZString* path, QZInt64 memoryLimit, QZInt64 blockSize,
                                    bool whole)
{
    QZFileBuffer* buffer = nullptr;
    try
    {
        buffer = new QZFileBuffer(file, path, memoryLimit, blockSize);
        if (whole) buffer->m_sync = new WholeSync(path, file);
        return buffer;
    }
    catch (QZException*)
    {
        if (buffer != nullptr)
            delete buffer;
        else
            QZFile::Close(&file);
        throw;
    }
}

void QZFileBuffer::Close(QZFileBuffer** buffer)
{
    if (buffer == nullptr || *buffer == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    QZFileBuffer* closing = *buffer;
    *buffer = nullptr;
    try
    {
        closing->WriteBackAll();
    }
    catch (QZException* e)
    {
        closing->DeleteBlocks();
        if (closing->m_sync != nullptr) closing->m_sync->Abandon();
        delete closing;
        QZTrace(e, QZ_W("QZFileBuffer"), QZ_W("Close"));
        throw;
    }
    delete closing;
}

void QZFileBuffer::CopyInUse(QZString* from, QZString* to)
{
    try
    {
        CopySynced(from, to);
    }
    catch (QZException* e)
    {
        QZTrace(e, QZ_W("QZFileBuffer"), QZ_W("CopyInUse"))
            .Argument(QZ_W("QZString*"), from)
            .Argument(QZ_W("QZString*"), to);
        throw;
    }
}

QZString* QZFileBuffer::TakePutAside() { return recovery::TakePutAside(); }

QZInt64 QZFileBuffer::GetFileSize()
{
    const QZInt64 onDisk = m_file->GetSize();
    const QZInt64 inMemory = GetContentEnd();
    return onDisk > inMemory ? onDisk : inMemory;
}

QZData* QZFileBuffer::ReadAll() { return Read(0, GetFileSize()); }

QZBlock* QZFileBuffer::NewBlock()
{
    if (m_sync != nullptr) return new WholeSyncBlock(m_file, m_sync);
    return new QZFileBlock(m_file);
}

QZWriteState QZFileBuffer::GetWriteState()
{
    QZWriteState state = m_writeState;
    ForEachChangedBlock([&state](QZBlock* block) {
        block->ForEachChange([&state](QZInt64 from, QZInt64 to) { state.Unwritten += to - from; });
    });
    return state;
}

template <typename Work>
void QZFileBuffer::Watched(Work work)
{
    try
    {
        work();
        if (!m_flushFailed) m_writeState.Code = m_writeState.SystemError = 0;
    }
    catch (QZException* e)
    {
        ++m_writeState.Failures;
        m_writeState.Code = e->GetCode();
        m_writeState.SystemError = e->GetSystemError();
        throw;
    }
}

void QZFileBuffer::Flush()
{
    // With AtomicSync, WriteBackAll has flushed the file. A file that is only read has nothing to flush.
    if (m_sync != nullptr || RefusesWrites()) return;
    Watched([this] {
        const bool failedBefore = m_flushFailed;
        m_flushFailed = true;
        m_file->Sync();
        m_flushFailed = failedBefore;
    });
}

struct QZFileBuffer::Changes
{
    std::vector<WholeSync::Run> runs;
};

void QZFileBuffer::AddChanges(QZBlock* block, Changes* changes)
{
    block->ForEachChange([&](QZInt64 from, QZInt64 to) {
        changes->runs.push_back({block->GetOffset() + from, block->Bytes() + from, to - from});
    });
}

void QZFileBuffer::WriteBackLeaving(QZBlock* block)
{
    if (!block->IsChanged()) return;
    Watched([this, block] {
        if (m_sync == nullptr) return block->WriteBack();
        Changes changed;
        Changes leaving;
        ForEachChangedBlock([&](QZBlock* one) { AddChanges(one, &changed); });
        AddChanges(block, &leaving);
        m_sync->Spill(changed.runs, leaving.runs);
        block->ClearChanges();
    });
}

void QZFileBuffer::WriteBackAll()
{
    Watched([this] {
        if (m_sync == nullptr) return QZBuffer::WriteBackAll();
        Changes changed;
        ForEachChangedBlock([&](QZBlock* block) { AddChanges(block, &changed); });
        m_sync->Sync(std::move(changed.runs));
        ForEachChangedBlock([](QZBlock* block) { block->ClearChanges(); });
    });
}
