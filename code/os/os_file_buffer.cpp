#include "os/os_file.h"
#include "fw/fw_exception.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/fw_trace.h"
#include "os/os_buffer.h"

const QZInt64 QZFileBuffer::Type;
const QZInt64 QZFileBuffer::FREEDESKSPACE_MIN;

QZFileBuffer::QZFileBuffer(QZFile* file, QZString* path, QZInt64 memoryLimit, QZInt64 blockSize)
    : QZBuffer(memoryLimit, blockSize), m_file(file), m_path(QZStringFactory::CreateString(path))
{}

QZFileBuffer::~QZFileBuffer()
{
    try
    {
        WriteBackAll();
    }
    catch (QZException* e)
    {
        // Close has reported by now; an owner who deletes the buffer outright has no way to hear of it.
        QZExceptionFactory::Recycle(&e);
    }
    DeleteBlocks();
    QZFile::Close(&m_file);
    QZStringFactory::Recycle(&m_path);
}

QZInt64 QZFileBuffer::GetType() { return Type; }

QZFileBuffer* QZFileBuffer::Open(QZString* path, QZInt64 memoryLimit, QZInt64 blockSize)
{
    QZFile* file = nullptr;
    try
    {
        file = QZFile::Open(path);
        return new QZFileBuffer(file, path, memoryLimit, blockSize);
    }
    catch (QZException* e)
    {
        if (file) QZFile::Close(&file);
        QZTrace(e, QZ_W("QZFileBuffer"), QZ_W("Open"))
            .Argument(QZ_W("QZString*"), path)
            .Argument(QZ_W("QZInt64"), memoryLimit)
            .Argument(QZ_W("QZInt64"), blockSize);
        throw;
    }
}

void QZFileBuffer::Close(QZFileBuffer** buffer)
{
    if (!buffer || !*buffer)
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

void QZFileBuffer::Flush() { m_file->Sync(); }
