#ifndef QZLIB_NET_URL_H
#define QZLIB_NET_URL_H

#include <memory>

#include "fw/fw_object.h"

class QZKeyValueCollection;
class QZString;

/// A URL or a request target, taken apart once, when its text is set: protocol, host, port, path and
/// parameters.
///
/// What the Get operations answer stays the URL's, unless told otherwise. A copy made by value shares its
/// parts with its source. One thread at a time.
class QZ_API QZUrl : public QZObject
{
public:
    static const QZInt64 Type = 0x8310010;

    /// Null text counts as an empty one.
    /// @throws QZException 256 for a host that ends with a colon
    explicit QZUrl(QZString* url);
    explicit QZUrl(const QZWChar* url);
    explicit QZUrl(const char* url);
    QZUrl(const QZUrl& other);
    QZUrl& operator=(const QZUrl& other);
    ~QZUrl() override;

    QZInt64 GetType() override;

    /// The text as it was given.
    QZString* GetUrl();
    /// The path; "/" when the text has none.
    QZString* GetPath();
    /// The host; empty for a bare path.
    QZString* GetHost();
    /// The host's own port, or 443 with "https" and 80 otherwise.
    QZUInt16 GetPort();
    /// "http", "https", or empty.
    QZString* GetProtocol();

    /// The parameters as "key=value" with "&" between them, a new string that goes back with Recycle. Left
    /// out is what was left out in reading.
    QZString* GetParamString();

    /// The value as it came, not decoded; null when there is no such parameter.
    /// @throws QZException 1792 for null
    QZString* GetParam(const char* key);
    QZString* GetParam(const QZWChar* key);
    QZString* GetParam(QZString* key);

    /// Takes another text apart. A text that names no protocol leaves the protocol as it was.
    /// @throws QZException 256 for a host that ends with a colon
    void Set(QZString* url);

    /// Query text: UTF-8 bytes, "+" for a blank, letters, digits and !()*-._ as they are, and upper-case
    /// escapes for all others. A new string.
    static QZString* Encode(QZString* text);

    /// Query text back to text; escapes that are no two hexadecimal digits are left out. A new string.
    /// @throws QZException when the bytes hold no whole UTF-8 character
    static QZString* Decode(QZString* text);

    static void Recycle(QZString** text);

private:
    struct Parts;

    void Init();
    void SetHost(const QZWChar* text, QZInt64 count);
    void ParseParam(QZString* query, QZKeyValueCollection* params);
    QZKeyValueCollection* GetParam();

    std::shared_ptr<Parts> m_parts;
    QZUInt16 m_port = 80;
};

#endif
