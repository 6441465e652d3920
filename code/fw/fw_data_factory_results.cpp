#include "fw/fw_data.h"
#include "fw/fw_block.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_keyed.h"
#include "fw/fw_library.h"
#include "fw/internal/fw_data_find.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_scoped.h"

// The operations of QZData that make new buffers with the factory or give buffers back to it. QZData itself
// does not know the factory.

namespace
{
const QZWChar* const kClass = QZ_W("QZData");

void CheckPattern(const QZData* data)
{
    if (data == nullptr)
        QZRaise(QZExceptionCode::ArgumentOutOfRange, kClass, QZ_W("Replace"))
            .Argument(QZ_W("QZData*"), static_cast<const void*>(nullptr), 0)
            .Throw();
}
}  // namespace

/// @return 0, or the code of the exception to throw; then there is no result
QZInt64 QZData::ReplaceInto(QZData** result, const void* find, QZInt64 findSize, const void* with,
                            QZInt64 withSize)
{
    m_findPosition = -1;
    if (findSize == 0) return QZExceptionCode::ArgumentOutOfRange;
    QZScopedData data(QZDataFactory::CreateData());
    void** target = &data->m_block;
    const QZInt64 bound = QZBytesReplaceBound(GetSize(), findSize, withSize);
    if (bound < 0 || !block::Resize(target, bound)) return QZLastErrorOr(QZExceptionCode::OutOfMemory);
    const QZInt64 size =
        QZBytesReplace(block::Data(*target), GetPointer(), GetSize(), find, findSize, with, withSize);
    block::Resize(target, size);
    *result = data.Release();
    return 0;
}

QZData* QZData::Replace(const QZData* find, const QZData* with)
{
    CheckPattern(find);
    CheckPattern(with);
    QZData* result = nullptr;
    const QZInt64 failure =
        ReplaceInto(&result, find->GetPointer(), find->GetSize(), with->GetPointer(), with->GetSize());
    if (failure != 0)
        QZRaise(failure, kClass, QZ_W("Replace"))
            .Argument(QZ_W("QZData*"), find->GetPointer(), find->GetSize())
            .Argument(QZ_W("QZData*"), with->GetPointer(), with->GetSize())
            .Throw();
    return result;
}

QZData* QZData::Replace(const void* find, QZInt64 findSize, const void* with, QZInt64 withSize)
{
    QZData* result = nullptr;
    const QZInt64 failure = ReplaceInto(&result, find, findSize, with, withSize);
    // A trace shows no bytes of a size that no memory can hold.
    const auto shown = [](QZInt64 size) { return size < 0 || size >> 40 != 0 ? 0 : size; };
    if (failure != 0)
        QZRaise(failure, kClass, QZ_W("Replace"))
            .Argument(QZ_W("QZPVoid"), find, shown(findSize))
            .Argument(QZ_W("QZInt64"), findSize)
            .Argument(QZ_W("QZPVoid"), with, shown(withSize))
            .Argument(QZ_W("QZInt64"), withSize)
            .Throw();
    return result;
}

QZDataCollection* QZData::Split(const QZData* separator)
{
    const void* pattern = separator != nullptr ? separator->GetPointer() : nullptr;
    const QZInt64 patternSize = separator != nullptr ? separator->GetSize() : 0;
    QZScoped<QZDataCollection, QZData> pieces(QZDataFactory::CreateDataCollection());
    try
    {
        QZInt64 start = 0;
        for (bool last = false; !last;)
        {
            const unsigned char* from = block::Data(m_block) + start;
            const QZInt64 rest = GetSize() - start;
            const QZInt64 found = patternSize > 0 ? QZBytesFind(from, rest, pattern, patternSize) : -1;
            last = found < 0;
            QZScopedData piece(QZDataFactory::CreateData());
            piece->Set(from, last ? rest : found);
            pieces->Push(piece.Get());
            piece.Release();
            start += found + patternSize;
        }
    }
    catch (...)
    {
        QZPassOn(kClass, QZ_W("Split")).Argument(QZ_W("QZData*"), pattern, patternSize);
        throw;
    }
    return pieces.Release();
}

void QZData::Recycle(QZDataCollection** collection)
{
    if (*collection == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    while ((*collection)->Count() > 0)
    {
        QZData* data = (*collection)->Pop();
        QZDataFactory::Recycle(&data);
    }
    QZDataFactory::Recycle(collection);
}

void QZData::Recycle(QZData** data) { QZDataFactory::Recycle(data); }
