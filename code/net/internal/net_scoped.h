#ifndef QZLIB_NET_SCOPED_H
#define QZLIB_NET_SCOPED_H

#include "fw/fw_data_factory.h"
#include "fw/internal/fw_string_internal.h"

/// Guards that give an object back to its factory at the end of a scope. Internal.
namespace net
{
/// A string of QZStringFactory; null is allowed.
using ScopedString = text::Temporary;

/// Data of QZDataFactory; null is allowed.
class ScopedData
{
public:
    explicit ScopedData(QZData* data) : m_data(data) {}
    ~ScopedData()
    {
        if (m_data != nullptr) QZDataFactory::Recycle(&m_data);
    }
    ScopedData(const ScopedData&) = delete;
    ScopedData& operator=(const ScopedData&) = delete;

    QZData* Get() const { return m_data; }
    QZData* operator->() const { return m_data; }

    /// Hands the data over to the caller.
    QZData* Release()
    {
        QZData* data = m_data;
        m_data = nullptr;
        return data;
    }

private:
    QZData* m_data;
};
}  // namespace net

#endif
