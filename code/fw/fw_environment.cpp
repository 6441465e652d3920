#include "fw/fw_environment.h"

#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"

QZBool QZEnvironment::UseMemPoolCache = 0;
QZString* QZEnvironment::NewLine = nullptr;
const QZInt64 QZEnvironment::CurrentCharacterEncodingType;
const QZInt64 QZEnvironment::CurrentWideCharacterEncodingType;

QZBool QZEnvironment::IsCharacterEncodingType(QZInt64 type) { return type == CurrentCharacterEncodingType; }

QZBool QZEnvironment::IsWideCharacterEncodingType(QZInt64 type)
{
    return type == CurrentWideCharacterEncodingType;
}

void QZEnvironment::Recycle(QZString** text) { QZStringFactory::Recycle(text); }

void QZEnvironmentInit()
{
    // A start that failed behind this step and is tried again finds the text there.
    if (QZEnvironment::NewLine == nullptr) QZEnvironment::NewLine = new QZString(QZ_W("\r\n"));
    QZEnvironment::UseMemPoolCache = 0;
}

void QZEnvironmentEnd()
{
    delete QZEnvironment::NewLine;
    QZEnvironment::NewLine = nullptr;
}
