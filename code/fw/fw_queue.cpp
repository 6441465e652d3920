#include "fw/fw_queue.h"

#include "fw/fw_block.h"
#include "fw/fw_exception_code.h"
#include "fw/fw_library.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_raise.h"

const QZInt64 QZQueue::Type;

namespace
{

constexpr QZInt64 kQueueType = 0x100101;

/// The four words in front of the ring: capacity, count, head, tail.
constexpr QZInt64 kStateSize = 32;

QZInt64 State(const void* b, int word) { return QZLoad<QZInt64>(block::Data(b) - kStateSize + word * 8); }

void SetState(void* b, int word, QZInt64 value) { QZStore(block::Data(b) - kStateSize + word * 8, value); }

constexpr int kCapacity = 0;
constexpr int kCount = 1;
constexpr int kHead = 2;
constexpr int kTail = 3;

}  // namespace

QZQueue::QZQueue(int capacity)
{
    if (capacity < 1)
        QZRaise(0, QZ_W("QZQueue"), QZ_W("QZQueue")).Argument(QZ_W("QZInt32"), capacity).Throw();
    m_block = block::Make(kQueueType, 0, QZInt64{capacity} * 8 + kStateSize, 0);
    // The block's start lies after the state words, so the data pointer is the ring itself.
    if (m_block == nullptr || !block::SetOffset(&m_block, kStateSize))
        QZRaise(QZLastErrorOr(QZExceptionCode::OutOfMemory), QZ_W("QZQueue"), QZ_W("QZQueue"))
            .Argument(QZ_W("QZInt32"), capacity)
            .Throw();
    SetState(m_block, kCapacity, capacity);
}

QZQueue::QZQueue(const QZQueue& other) : QZObject(other), m_block(block::Copy(other.m_block))
{
    if (m_block == nullptr)
        QZRaise(QZLastErrorOr(QZExceptionCode::OutOfMemory), QZ_W("QZQueue"), QZ_W("QZQueue")).Throw();
}

QZQueue& QZQueue::operator=(const QZQueue& other)
{
    if (this == &other) return *this;
    void* copy = block::Copy(other.m_block);
    if (copy == nullptr)
        QZRaise(QZLastErrorOr(QZExceptionCode::OutOfMemory), QZ_W("QZQueue"), QZ_W("operator=")).Throw();
    QZObject::operator=(other);
    ReleaseBlock();
    m_block = copy;
    return *this;
}

QZQueue::~QZQueue() { ReleaseBlock(); }

void QZQueue::ReleaseBlock()
{
    if (!block::Free(m_block)) QZLibAssert(0);
}

QZInt64 QZQueue::GetType() { return Type; }

QZBool QZQueue::EnQueue(QZUInt64 value)
{
    if (IsQueueFull()) return 0;
    const QZInt64 tail = State(m_block, kTail);
    QZStore(block::Data(m_block) + tail * 8, value);
    SetState(m_block, kTail, (tail + 1) % State(m_block, kCapacity));
    SetState(m_block, kCount, Count() + 1);
    return 1;
}

QZBool QZQueue::DeQueue(QZUInt64* value)
{
    if (Count() == 0) return 0;
    const QZInt64 head = State(m_block, kHead);
    *value = QZLoad<QZUInt64>(block::Data(m_block) + head * 8);
    SetState(m_block, kHead, (head + 1) % State(m_block, kCapacity));
    SetState(m_block, kCount, Count() - 1);
    return 1;
}

QZBool QZQueue::IsQueueFull() { return Count() == State(m_block, kCapacity); }

QZInt64 QZQueue::Count() { return State(m_block, kCount); }
