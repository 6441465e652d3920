#ifndef QZLIB_OS_SETTINGS_H
#define QZLIB_OS_SETTINGS_H

#include "fw/fw_object.h"

class QZString;

/// Settings as text, edited in place: when a value changes, the comments and the layout around it stay.
///
/// A key is searched for as a sequence of bytes, so it includes the separator before the value: "name=". The
/// value ends before the first CR or semicolon, or at the end of the text. Derived classes offer typed
/// settings with the protected operations. The whole text is in memory. One thread at a time.
class QZ_API QZSettingsAdapter : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFB00;

    /// No text and no file.
    QZSettingsAdapter();
    /// Load the file.
    explicit QZSettingsAdapter(const char* path);
    explicit QZSettingsAdapter(const QZWChar* path);
    explicit QZSettingsAdapter(QZString* path);
    /// @param path  a path in the narrow page with a terminating zero
    explicit QZSettingsAdapter(const void* path);
    /// Copies a text in memory.
    QZSettingsAdapter(const void* text, QZInt64 size);

    QZSettingsAdapter(const QZSettingsAdapter& other);
    QZSettingsAdapter& operator=(const QZSettingsAdapter& other);
    ~QZSettingsAdapter() override;

    QZInt64 GetType() override;

    /// Reads the whole file and stores the path for Save.
    /// @throws QZIOException 4864 for a path of more than 254 bytes, else what QZFile::Open and QZFile::Read
    /// throw
    void Load(const char* path);
    void Load(const QZWChar* path);
    void Load(QZString* path);
    void Load(const void* path);
    /// Copies a text in memory. Save then does nothing.
    /// @throws QZException 256 for a negative size, and for a null text with a size above 0
    void Load(const void* text, QZInt64 size);

    /// Writes the text to its file and sets the file to the length of the text. Does nothing without a file.
    void Save();

    /// Copies the text to the target and returns its length in bytes.
    QZInt64 CopySettingsToBuf(void* target);
    QZInt64 GetSettingsSize();

    static void Recycle(QZString** text);

protected:
    /// Replaces a value. A missing key is added with the value as a line at the end.
    void SetValue(QZString* key, QZString* value);
    /// The value in a new string, empty for a missing key.
    QZString* GetValue(QZString* key);
    /// The value's length in bytes, 0 for a missing key.
    QZInt64 GetLength(QZString* key);
    QZBool IsKeyExists(QZString* key);

    /// When not 0, every SetValue calls Save.
    QZByte m_saveOnChange = 1;
    /// The encoding of keys and values, a QZEncodingType value.
    QZInt64 m_encoding;

private:
    void LoadFile(QZString* path);
    void Take(void* text, QZInt64 length);
    QZInt64 FindValue(QZString* key);
    QZInt64 ValueEnd(QZInt64 begin) const;
    void ReplaceBytes(QZInt64 begin, QZInt64 end, const void* bytes, QZInt64 size);
    void AddLine(QZString* key, QZString* value);

    static constexpr QZInt64 kPathBytes = 255;

    QZByte m_fromFile = 0;
    char* m_path = nullptr;
    void* m_text = nullptr;
    QZInt64 m_length = 0;
};

#endif
