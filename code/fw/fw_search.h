#ifndef QZLIB_FW_SEARCH_H
#define QZLIB_FW_SEARCH_H

#include "fw/fw_object.h"

/// A byte search that can be resumed. Data and pattern stay with the caller and must outlive the search.
class QZ_API QZSearch : public QZObject
{
public:
    static const QZInt64 Type = 0x81E0000;

    QZSearch(const void* data, QZInt64 dataSize, const void* pattern, QZInt64 patternSize);

    QZInt64 GetType() override;

    /// Searches from the start. @return the position, or -1
    QZInt64 New();

    /// Continues after the last match. @return the position in the data, or -1
    QZInt64 Continue();

    static QZInt64 New(const void* data, QZInt64 dataSize, const void* pattern, QZInt64 patternSize);

private:
    QZInt64 m_position = -1;
    const void* m_data;
    QZInt64 m_dataSize;
    const void* m_pattern;
    QZInt64 m_patternSize;
};

#endif
