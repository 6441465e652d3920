#include "os/os_file_buffer.h"

#include <vector>

#include "fw/fw_exception.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_trace.h"
#include "os/internal/os_sync_file.h"
#include "os/os_file.h"

const QZInt64 QZFileBuffer::Type;
const QZInt64 QZFileBuffer::FREEDESKSPACE_MIN;
QZByte QZFileBuffer::AtomicSync = 0;

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
    }
    DeleteBlocks();
    delete m_sync;
    QZFile::Close(&m_file);
    QZStringFactory::Recycle(&m_path);
}

QZInt64 QZFileBuffer::GetType() { return Type; }

QZFileBuffer* QZFileBuffer::Open(QZString* path, QZInt64 memoryLimit, QZInt64 blockSize)
{
    QZFile* file = nullptr;
    QZFileBuffer* buffer = nullptr;
    try
    {
        file = QZFile::Open(path);
        buffer = new QZFileBuffer(file, path, memoryLimit, blockSize);
        if (AtomicSync) buffer->m_sync = new SyncFile(path, file);
        return buffer;
    }
    catch (QZException* e)
    {
        if (buffer != nullptr)
            delete buffer;
        else if (file != nullptr)
            QZFile::Close(&file);
        QZTrace(e, QZ_W("QZFileBuffer"), QZ_W("Open"))
            .Argument(QZ_W("QZString*"), path)
            .Argument(QZ_W("QZInt64"), memoryLimit)
            .Argument(QZ_W("QZInt64"), blockSize);
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
        delete closing;
        QZTrace(e, QZ_W("QZFileBuffer"), QZ_W("Close"));
        throw;
    }
    delete closing;
}

QZInt64 QZFileBuffer::GetFileSize()
{
    const QZInt64 onDisk = m_file->GetSize();
    const QZInt64 inMemory = GetContentEnd();
    return onDisk > inMemory ? onDisk : inMemory;
}

QZData* QZFileBuffer::ReadAll() { return Read(0, GetFileSize()); }

QZBlock* QZFileBuffer::NewBlock() { return new QZFileBlock(m_file); }

void QZFileBuffer::Flush()
{
    // With AtomicSync, WriteBackAll has flushed the file.
    if (m_sync == nullptr) m_file->Sync();
}

void QZFileBuffer::WriteBackLeaving(QZBlock* block)
{
    if (m_sync == nullptr)
        block->WriteBack();
    else if (block->IsChanged())
        WriteBackAll();
}

void QZFileBuffer::WriteBackAll()
{
    if (m_sync == nullptr) return QZBuffer::WriteBackAll();
    // First completes a sync that could not be written in place: the second file holds its only whole copy.
    if (m_sync->IsHolding()) m_sync->Apply();
    std::vector<SyncFile::Run> runs;
    ForEachChangedBlock([&runs](QZBlock* block) {
        block->ForEachChange([&runs, block](QZInt64 from, QZInt64 to) {
            runs.push_back({block->GetOffset() + from, block->Bytes() + from, to - from});
        });
    });
    if (runs.empty()) return;
    m_sync->Hold(runs);
    QZBuffer::WriteBackAll();
    m_file->Sync();
    m_sync->Release();
}
