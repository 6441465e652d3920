#include "fw/fw_report.h"

const QZInt64 QZReport::Type;
const QZInt64 QZErrorReport::Type;

QZReport::QZReport() = default;
QZReport::~QZReport() = default;
QZInt64 QZReport::GetType() { return Type; }
void QZReport::Report(const QZWChar*) {}
void QZReport::Report(const char*) {}
void QZReport::Report(QZString*) {}

QZErrorReport::QZErrorReport() = default;
QZErrorReport::~QZErrorReport() = default;
QZInt64 QZErrorReport::GetType() { return Type; }
void QZErrorReport::Report(const QZWChar*) {}
void QZErrorReport::Report(const char*) {}
void QZErrorReport::Report(QZString*) {}
void QZErrorReport::Report(QZException*) {}
