#include "db/internal/db_file.h"

#include "fw/fw_exception_factory.h"

QZDbFile::QZDbFile()
    : m_buffer(nullptr),
      m_checkParam(1),
      m_writeProtect(0),
      m_lastError(0),
      m_errorCount(0),
      m_contentRead(0),
      m_contentWritten(0)
{
    m_bytes.MakeKeys();
    m_addresses.MakeKeys();
    m_contents.MakeKeys();
}

QZDbFile::~QZDbFile()
{
    CloseQuietly();
    m_bytes.DeleteKeys();
    m_addresses.DeleteKeys();
    m_contents.DeleteKeys();
}

void QZDbFile::CloseQuietly()
{
    if (m_buffer == nullptr) return;
    try
    {
        QZFileBuffer::Close(&m_buffer);
    }
    catch (QZException* exception)
    {
        QZExceptionFactory::Recycle(&exception);
    }
    m_buffer = nullptr;
}
