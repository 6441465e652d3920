#include "os/os_buffer.h"

#include <bit>
#include <cstdint>
#include <initializer_list>

#include "fw/fw_collection.h"
#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_exception_code.h"
#include "fw/fw_library.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_trace.h"

const QZInt64 QZBuffer::Type;
const QZInt64 QZBuffer::BlockSize512K;
const QZInt64 QZBuffer::BlockSize1M;
const QZInt64 QZBuffer::BlockSize2M;
const QZInt64 QZBuffer::BlockSize8M;
const QZInt64 QZBuffer::BlockSize16M;
const QZInt64 QZBuffer::BlockSize32M;

namespace
{

QZInt64 RoundBlockSize(QZInt64 wanted)
{
    for (const QZInt64 size : {QZBuffer::BlockSize512K, QZBuffer::BlockSize1M, QZBuffer::BlockSize2M,
                               QZBuffer::BlockSize8M, QZBuffer::BlockSize16M, QZBuffer::BlockSize32M})
    {
        if (wanted <= size) return size;
    }
    return QZBuffer::BlockSize512K;
}

QZBlock* NextBlock(QZBlock* block) { return static_cast<QZBlock*>(block->LinkNext()); }
QZBlock* FirstBlock(QZContainer* list) { return static_cast<QZBlock*>(list->GetFirst()); }

QZInt64 Smaller(QZInt64 a, QZInt64 b) { return a < b ? a : b; }

[[noreturn]] void ThrowNullPointer(const QZWChar* method, QZInt64 offset, QZInt64 size)
{
    QZRaise(QZExceptionCode::NullPointer, QZ_W("QZBuffer"), method)
        .Argument(QZ_W("QZInt64"), offset)
        .Argument(QZ_W("QZPVoid"), nullptr, 0)
        .Argument(QZ_W("QZInt64"), size)
        .Throw();
}

[[noreturn]] void ThrowRefused(QZInt64 offset, QZInt64 size)
{
    QZRaise(QZIOFailure(QZIOExceptionCode::WriteFailed).With("The file is open for reading only."),
            QZ_W("QZBuffer"), QZ_W("Write"))
        .Argument(QZ_W("QZInt64"), offset)
        .Argument(QZ_W("QZInt64"), size)
        .Throw();
}

}  // namespace

QZBuffer::QZBuffer(QZInt64 memoryLimit, QZInt64 blockSize)
    : m_memoryUsed(0),
      m_memoryMax(memoryLimit),
      m_blockSize(RoundBlockSize(blockSize)),
      m_blocks(new QZContainer()),
      m_freeBlocks(new QZContainer()),
      m_blockShift(std::countr_zero(static_cast<QZUInt64>(m_blockSize))),
      m_refusesWrites(false),
      m_uses(0)
{
    if (m_memoryMax < 2 * m_blockSize) m_memoryMax = 2 * m_blockSize;
}

QZBuffer::~QZBuffer()
{
    DeleteBlocks();
    delete m_blocks;
    delete m_freeBlocks;
}

QZInt64 QZBuffer::GetType() { return Type; }

QZData* QZBuffer::Read(QZInt64 offset, QZInt64 size)
{
    QZData* data = QZDataFactory::CreateData();
    try
    {
        data->NewSize(size < 0 ? 0 : size);
        data->NewSize(Read(offset, data->GetPointer(), data->GetSize()));
        return data;
    }
    catch (QZException* e)
    {
        QZDataFactory::Recycle(&data);
        QZTrace(e, QZ_W("QZBuffer"), QZ_W("Read"))
            .Argument(QZ_W("QZInt64"), offset)
            .Argument(QZ_W("QZInt64"), size);
        throw;
    }
}

QZInt64 QZBuffer::Write(QZInt64 offset, QZData* data)
{
    if (data == nullptr) ThrowNullPointer(QZ_W("Write"), offset, 0);
    return Write(offset, data->GetPointer(), data->GetSize());
}

void QZBuffer::CopyLong(void* target, const void* source, QZInt64 size) { QZMemCopy(target, source, size); }

QZInt64 QZBuffer::ReadThrough(QZInt64 offset, void* target, QZInt64 size)
{
    if (offset < 0) offset = 0;
    if (size <= 0) return 0;
    if (target == nullptr) ThrowNullPointer(QZ_W("Read"), offset, size);
    QZInt64 done = 0;
    for (;;)
    {
        QZBlock* block = GetBlockByOffset(offset + done);
        const QZInt64 at = offset + done - block->GetOffset();
        const QZInt64 run = Smaller(m_blockSize - at, size - done);
        block->Read(at, QZAt(target, done), run);
        OpenWindow(block, at);
        done += run;
        // The address space ends at the largest offset.
        if (done == size || offset > INT64_MAX - done) return done;
    }
}

QZInt64 QZBuffer::WriteThrough(QZInt64 offset, const void* source, QZInt64 size)
{
    if (offset < 0) offset = 0;
    if (size <= 0) return 0;
    if (source == nullptr) ThrowNullPointer(QZ_W("Write"), offset, size);
    if (m_refusesWrites) ThrowRefused(offset, size);
    QZInt64 done = 0;
    for (;;)
    {
        QZBlock* block = GetBlockByOffset(offset + done);
        const QZInt64 at = offset + done - block->GetOffset();
        const QZInt64 run = Smaller(m_blockSize - at, size - done);
        block->Write(at, QZAt(source, done), run);
        OpenWindow(block, at);
        done += run;
        if (done == size || offset > INT64_MAX - done) return done;
    }
}

QZBlock* QZBuffer::GetBlockByOffset(QZInt64 offset)
{
    const QZInt64 number = offset < 0 ? 0 : offset / m_blockSize;
    QZBlock* block = FindBlock(number);
    if (block != nullptr)
    {
        if (block != FirstBlock(m_blocks))
        {
            m_blocks->RemoveElement(block);
            m_blocks->AddFirst(block);
        }
        Use(block);
        return block;
    }

    block = TakeBlock();
    QZInt64 counted = 0;
    try
    {
        block->Set(number, number * m_blockSize, m_blockSize);
        // The new block counts against the limit, but is not yet in the list, so it is not removed.
        m_memoryUsed += m_blockSize;
        counted = m_blockSize;
        RemoveBlock();
    }
    catch (QZException* e)
    {
        m_memoryUsed -= counted;
        m_freeBlocks->Push(block);
        QZTrace(e, QZ_W("QZBuffer"), QZ_W("GetBlockByOffset")).Argument(QZ_W("QZInt64"), offset);
        throw;
    }
    m_blocks->AddFirst(block);
    Use(block);
    return block;
}

QZBlock* QZBuffer::FindBlock(QZInt64 number) const
{
    QZBlock* block = FirstBlock(m_blocks);
    while (block != nullptr && block->GetSpaceID() != number) block = NextBlock(block);
    return block;
}

QZBlock* QZBuffer::TakeBlock()
{
    QZBlock* block = static_cast<QZBlock*>(m_freeBlocks->DeQueue());
    return block != nullptr ? block : NewBlock();
}

void QZBuffer::OpenWindow(QZBlock* block, QZInt64 at)
{
    QZInt64 from = 0;
    QZInt64 to = 0;
    block->PresentAround(at, &from, &to);
    Window& window = m_windows[static_cast<QZUInt64>(block->m_offset) >> m_blockShift & (kWindows - 1)];
    window.begin = static_cast<QZUInt64>(block->m_offset) + static_cast<QZUInt64>(from);
    window.length = static_cast<QZUInt64>(to - from);
    window.bytes = block->m_bytes + from;
    window.block = block;
}

void QZBuffer::CloseWindow(QZBlock* block)
{
    Window& window = m_windows[static_cast<QZUInt64>(block->m_offset) >> m_blockShift & (kWindows - 1)];
    if (window.block == block) window = Window();
}

QZBlock* QZBuffer::LeastUsed() const
{
    QZBlock* least = FirstBlock(m_blocks);
    for (QZBlock* block = least; block != nullptr; block = NextBlock(block))
        if (block->m_lastUse < least->m_lastUse) least = block;
    return least;
}

void QZBuffer::RemoveBlock()
{
    while (m_memoryUsed > m_memoryMax)
    {
        QZBlock* block = LeastUsed();
        if (block == nullptr) break;
        WriteBackLeaving(block);
        if (!block->IsReleasable()) break;
        CloseWindow(block);
        m_blocks->RemoveElement(block);
        m_memoryUsed -= m_blockSize;
        m_freeBlocks->Push(block);
    }
}

QZBool QZBuffer::Sync()
{
    try
    {
        WriteBackAll();
        Flush();
        return 1;
    }
    catch (QZException* e)
    {
        QZTrace(e, QZ_W("QZBuffer"), QZ_W("Sync"));
        throw;
    }
}

QZBool QZBuffer::Collect()
{
    try
    {
        WriteBackAll();
    }
    catch (QZException* e)
    {
        QZTrace(e, QZ_W("QZBuffer"), QZ_W("Collect"));
        throw;
    }
    QZBlock* block = FirstBlock(m_blocks);
    while (block != nullptr)
    {
        QZBlock* next = NextBlock(block);
        if (block->IsReleasable())
        {
            CloseWindow(block);
            m_blocks->RemoveElement(block);
            m_memoryUsed -= m_blockSize;
            DeleteBlock(block);
        }
        block = next;
    }
    while ((block = static_cast<QZBlock*>(m_freeBlocks->DeQueue())) != nullptr) DeleteBlock(block);
    return m_blocks->Count() == 0;
}

void QZBuffer::WriteBackAll()
{
    ForEachChangedBlock([](QZBlock* block) { block->WriteBack(); });
}

void QZBuffer::WriteBackLeaving(QZBlock* block) { block->WriteBack(); }

QZInt64 QZBuffer::GetContentEnd() const
{
    QZInt64 end = 0;
    for (QZBlock* block = FirstBlock(m_blocks); block != nullptr; block = NextBlock(block))
    {
        if (block->GetContentEnd() == 0) continue;
        const QZInt64 blockEnd = block->GetOffset() + block->GetContentEnd();
        if (blockEnd > end) end = blockEnd;
    }
    return end;
}

void QZBuffer::Flush() {}

QZBlock* QZBuffer::NewBlock() { return new QZBlock(); }

void QZBuffer::DeleteBlock(QZBlock* block) { delete block; }

void QZBuffer::DeleteBlocks()
{
    QZBlock* block = nullptr;
    for (Window& window : m_windows) window = Window();
    while ((block = static_cast<QZBlock*>(m_blocks->DeQueue())) != nullptr) DeleteBlock(block);
    while ((block = static_cast<QZBlock*>(m_freeBlocks->DeQueue())) != nullptr) DeleteBlock(block);
    m_memoryUsed = 0;
}

void QZBuffer::Recycle(QZData** data) { QZDataFactory::Recycle(data); }
