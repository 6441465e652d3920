#ifndef QZLIB_FW_REPORT_H
#define QZLIB_FW_REPORT_H

#include "fw/fw_object.h"

class QZString;
class QZException;

/// Where long-running activities send their texts. All operations are empty: a host derives and overrides.
class QZ_API QZReport : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFFFA;
    QZReport();
    ~QZReport() override;
    QZInt64 GetType() override;
    virtual void Report(const QZWChar* text);
    virtual void Report(const char* text);
    virtual void Report(QZString* text);
};

/// Where schedulers and server engines report failures that have no caller. The exception still belongs to
/// the activity that reports it.
class QZ_API QZErrorReport : public QZReport
{
public:
    static const QZInt64 Type = 0x81FFFFB;
    QZErrorReport();
    ~QZErrorReport() override;
    QZInt64 GetType() override;
    void Report(const QZWChar* text) override;
    void Report(const char* text) override;
    void Report(QZString* text) override;
    virtual void Report(QZException* exception);
};

#endif
