#include "fw/internal/fw_hooks.h"

#include <atomic>
#include <cstdint>
#include <cstring>

#include "sys/internal/sys_error.h"

QZInt32 QZLastError = 0;

namespace
{
/// Copies forward: in words where both sides are aligned to words and the size is large enough, else in
/// bytes. An overlap is not handled; the result of an overlapping copy is what this order of steps gives.
void CopyOverlapping(unsigned char* destination, const unsigned char* source, QZInt64 size)
{
    QZInt64 done = 0;
    bool words = reinterpret_cast<std::uintptr_t>(destination) % 8 == 0 &&
                 reinterpret_cast<std::uintptr_t>(source) % 8 == 0 && size >= 33;
    if (words)
    {
        for (; done + 8 <= size; done += 8)
        {
            QZUInt64 word;
            std::memcpy(&word, source + done, 8);
            std::memcpy(destination + done, &word, 8);
        }
    }
    for (; done < size; ++done)
    {
        // Volatile, so that it stays byte by byte: the next read may have to see this write.
        *const_cast<volatile unsigned char*>(destination + done) = source[done];
    }
}

void DefaultMemCopy(void* destination, void* source, QZInt64 size)
{
    if (size <= 0) return;
    unsigned char* to = static_cast<unsigned char*>(destination);
    const unsigned char* from = static_cast<const unsigned char*>(source);
    // A forward copy overwrites its source only where the target begins inside the source.
    if (to > from && to < from + size)
        CopyOverlapping(to, from, size);
    else
        std::memmove(to, from, static_cast<std::size_t>(size));
}

void DefaultMemMove(void* destination, void* source, QZInt64 size)
{
    if (size > 0) std::memmove(destination, source, static_cast<std::size_t>(size));
}

void DefaultMemClean(void* destination, QZInt64 size)
{
    if (size > 0) std::memset(destination, 0, static_cast<std::size_t>(size));
}

void DefaultAssert(QZBool condition)
{
    if (condition) return;
    os::AssertReport("val", "code/qzlib", 510);
}

void (*g_qzAssert)(QZBool condition) = DefaultAssert;
}  // namespace

void (*g_qzMemCopy)(void* destination, void* source, QZInt64 size) = DefaultMemCopy;
void (*g_qzMemMove)(void* destination, void* source, QZInt64 size) = DefaultMemMove;
void (*g_qzMemClean)(void* destination, QZInt64 size) = DefaultMemClean;

bool QZMemCopyIsOwn() { return g_qzMemCopy == DefaultMemCopy; }

void QZHooksInit()
{
    g_qzMemCopy = DefaultMemCopy;
    g_qzMemMove = DefaultMemMove;
    g_qzMemClean = DefaultMemClean;
    g_qzAssert = DefaultAssert;
}

void QZSetLastError(QZInt32 code)
{
    std::atomic_ref<QZInt32>(QZLastError).store(code, std::memory_order_relaxed);
}

QZInt64 QZLastErrorOr(QZInt64 fallback)
{
    QZInt32 code = std::atomic_ref<QZInt32>(QZLastError).load(std::memory_order_relaxed);
    return code != 0 ? code : fallback;
}

void QZLibAssert(QZBool condition) { g_qzAssert(condition); }

void QZLibSetFunctionMemCopy(void (*function)(void* destination, void* source, QZInt64 size))
{
    g_qzMemCopy = function;
}

void QZLibSetFunctionMemMove(void (*function)(void* destination, void* source, QZInt64 size))
{
    g_qzMemMove = function;
}

void QZLibSetFunctionMemClean(void (*function)(void* destination, QZInt64 size)) { g_qzMemClean = function; }

void QZLibSetFunctionAssert(void (*function)(QZBool condition)) { g_qzAssert = function; }
