#ifndef QZLIB_FW_QUEUE_H
#define QZLIB_FW_QUEUE_H

#include "fw/fw_object.h"

/// A fixed ring of 64-bit words, first in, first out.
///
/// The ring is made once, at construction; EnQueue and DeQueue neither allocate nor throw.
/// One thread at a time: whoever shares a queue locks it.
class QZ_API QZQueue : public QZObject
{
public:
    static const QZInt64 Type = 0x8120000;

    /// @param capacity  words that the ring holds, at least 1
    /// @throws QZException without a code when capacity is below 1
    explicit QZQueue(int capacity);
    QZQueue(const QZQueue& other);
    QZQueue& operator=(const QZQueue& other);
    ~QZQueue() override;

    QZInt64 GetType() override;

    /// Appends a word. False, and nothing changes, when the ring is full.
    QZBool EnQueue(QZUInt64 value);

    /// Removes the oldest word and stores it in *value. False, and *value is unchanged, when the ring is
    /// empty.
    QZBool DeQueue(QZUInt64* value);

    QZBool IsQueueFull();
    QZInt64 Count();

private:
    void ReleaseBlock();

    void* m_block;
};

#endif
