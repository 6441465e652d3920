#ifndef QZLIB_FW_PATH_TEXT_H
#define QZLIB_FW_PATH_TEXT_H

/// A path argument, narrow, wide or a QZString, as wide text. Internal to the classes that work on files and
/// names.

#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "sys/sys_types.h"

/// Paths of files and directories have at most this many characters.
inline constexpr QZInt64 kPathLengthMax = 255;

/// A path argument in wide form for the time of a call. Null counts as the empty path.
class QZPathText
{
public:
    explicit QZPathText(const char* path) : m_text(QZStringFactory::CreateString(path)), m_owned(true) {}
    explicit QZPathText(const QZWChar* path) : m_text(QZStringFactory::CreateString(path)), m_owned(true) {}
    explicit QZPathText(QZString* path)
        : m_text(path != nullptr ? path : QZStringFactory::CreateString()), m_owned(path == nullptr)
    {}
    ~QZPathText()
    {
        if (m_owned) QZStringFactory::Recycle(&m_text);
    }
    QZPathText(const QZPathText&) = delete;
    QZPathText& operator=(const QZPathText&) = delete;

    const QZWChar* Wide() const { return m_text->GetPointer(); }
    QZInt64 Length() const { return m_text->GetLength(); }
    bool TooLong() const { return Length() > kPathLengthMax; }
    QZString* Text() const { return m_text; }

private:
    QZString* m_text;
    bool m_owned;
};

/// The type names that traces show for the three kinds of text argument.
inline const QZWChar* QZTextTypeName(const char*) { return QZ_W("QZChar*"); }
inline const QZWChar* QZTextTypeName(const QZWChar*) { return QZ_W("QZWChar*"); }
inline const QZWChar* QZTextTypeName(QZString*) { return QZ_W("QZString*"); }

#endif
