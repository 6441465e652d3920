#ifndef QZLIB_NET_URL_H
#define QZLIB_NET_URL_H

#include <memory>

#include "fw/fw_object.h"

class QZKeyValueCollection;
class QZString;

/// A URL or a request target: protocol, host, port, path and parameters. Its text is parsed when it is set.
///
/// Strings that the Get operations return belong to the URL, except where the operation returns a new one. A
/// copy made by value shares its parts with its source. One thread at a time.
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

    /// The text that was set.
    QZString* GetUrl();
    /// The path; "/" when the text has none.
    QZString* GetPath();
    /// The host; empty when the text begins with the path.
    QZString* GetHost();
    /// The port in the text; without one 443 for "https" and 80 for other protocols.
    QZUInt16 GetPort();
    /// "http", "https", or empty.
    QZString* GetProtocol();

    /// The parameters as "key=value" with "&" between them, a new string that goes back with Recycle. Parts
    /// of the query that are no parameter are missing.
    QZString* GetParamString();

    /// The value, which is not decoded; null when there is no such parameter.
    /// @throws QZException 1792 for null
    QZString* GetParam(const char* key);
    QZString* GetParam(const QZWChar* key);
    QZString* GetParam(QZString* key);

    /// Parses another text. The protocol stays when the text begins with neither a protocol nor two slashes.
    /// @throws QZException 256 for a host that ends with a colon
    void Set(QZString* url);

    /// Encodes a text for a query: the text becomes UTF-8, a blank becomes "+", letters, digits and !()*-._
    /// stay, and all other bytes become upper-case escapes. A new string.
    static QZString* Encode(QZString* text);

    /// Decodes the text of a query. Escapes without two hexadecimal digits are removed. A new string.
    /// @throws QZException when the bytes contain no complete UTF-8 character
    static QZString* Decode(QZString* text);

    static void Recycle(QZString** text);

private:
    friend struct QZUrlAccess;
    struct Parts;

    void Init();
    void SetTarget(const QZWChar* whole, QZInt64 wholeCount, const QZWChar* path, QZInt64 pathCount,
                   const QZWChar* query, QZInt64 queryCount);
    void SetHost(const QZWChar* text, QZInt64 count);
    void ParseParam(QZString* query, QZKeyValueCollection* params);
    QZKeyValueCollection* GetParam();

    std::shared_ptr<Parts> m_parts;
    QZUInt16 m_port = 80;
};

#endif
