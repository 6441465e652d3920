#ifndef QZLIB_DB_REPORT_H
#define QZLIB_DB_REPORT_H

#include "fw/fw_object.h"

/// What QZDatabase::Repair and QZDatabase::Compact found and did.
///
/// The host makes one and passes it. It keeps the first MOST findings and counts all. A host that wants to
/// show the progress, or to end the operation early, derives a class that overrides Progress. One thread at a
/// time.
class QZ_API QZDbReport : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFE00;

    /// What became of a record: it, or a part of it, is not in the new file.
    static const QZInt64 LEFT_OUT = 1;
    /// It is in the new file, although something about it or about its links was damaged.
    static const QZInt64 MENDED = 2;

    /// How many findings are kept.
    static const QZInt64 MOST = 10000;

    QZDbReport();
    ~QZDbReport() override;
    QZDbReport(const QZDbReport&) = delete;
    QZDbReport& operator=(const QZDbReport&) = delete;

    QZInt64 GetType() override;

    /// The findings that are kept. `i` counts from 0; past the end the values are 0 and null.
    QZInt64 Count();
    /// The record's address in the damaged file.
    QZInt64 GetAddress(QZInt64 i);
    /// Its type code, DATA_LD and so on; UNKNOWN when that cannot be told.
    QZInt64 GetKind(QZInt64 i);
    /// LEFT_OUT or MENDED.
    QZInt64 GetOutcome(QZInt64 i);
    /// What is wrong, in English. The text lives as long as the library.
    const char* GetReason(QZInt64 i);

    /// All findings of an outcome, also those that are not kept.
    QZInt64 LeftOut();
    QZInt64 Mended();

    /// Adds a finding. The operations call it; `reason` is not copied.
    void Add(QZInt64 address, QZInt64 kind, QZInt64 outcome, const char* reason);

    /// Called now and then during the operation. Returns 0 to end it; nothing has changed on the disk then.
    virtual QZBool Progress(QZInt64 done, QZInt64 total);

    /// Sizes of the files in bytes, the records and HDs of the live state in the new file, and the earlier
    /// states in it.
    QZInt64 SizeBefore = 0;
    QZInt64 SizeAfter = 0;
    QZInt64 Records = 0;
    QZInt64 States = 0;

private:
    struct Parts;
    Parts* m_parts;
};

#endif
