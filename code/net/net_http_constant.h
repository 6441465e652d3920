#ifndef QZLIB_NET_HTTP_CONSTANT_H
#define QZLIB_NET_HTTP_CONSTANT_H

#include "sys/sys_types.h"

class QZData;
class QZString;

/// Texts of HTTP messages that the whole process shares: as bytes and, where the name ends with String, as
/// text.
///
/// They exist from QZLibInit to QZLibDispose and are locked, so nobody can destroy or recycle them. Nobody
/// changes them, so any thread may read them.
class QZ_API QZHttpConstant
{
public:
    /// Carriage return, line feed.
    static QZData* NewLine;
    static QZString* NewLineString;
    /// Two line ends, which end a head.
    static QZData* EmptyLine;
    static QZData* HeaderNameLocation;
    static QZString* HeaderNameLocationString;
    static QZData* HeaderNameContentType;
    static QZString* HeaderNameContentTypeString;
    static QZData* HeaderNameContentLength;
    static QZString* HeaderNameContentLengthString;
    static QZData* HeaderNameCacheControl;
    static QZString* HeaderNameCacheControlString;
    static QZData* HeaderNameHost;
    static QZString* HeaderNameHostString;
    static QZData* HeaderNameXFF;
    static QZString* HeaderNameXFFString;
    static QZData* HeaderNameTransferEncoding;
    static QZString* HeaderNameTransferEncodingString;
};

/// The texts of status codes.
class QZ_API QZHttpStatusCode
{
public:
    /// The text of a code, which is static; null for a code without one.
    static const QZWChar* ToMessage(float code);
};

#endif
