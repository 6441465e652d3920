#ifndef QZLIB_NET_HTTP_CONSTANT_H
#define QZLIB_NET_HTTP_CONSTANT_H

#include "sys/sys_types.h"

class QZData;
class QZString;

/// Texts of HTTP messages that the whole process shares, as bytes and, with the ending String, as text.
///
/// They stand from QZLibInit to QZLibDispose, are locked against being destroyed or recycled, and are only
/// read.
class QZ_API QZHttpConstant
{
public:
    /// Carriage return, line feed.
    static QZData* NewLine;
    static QZString* NewLineString;
    /// The same twice: the end of a head.
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
    /// The text of a code, a static text; null for a code that has none here.
    static const QZWChar* ToMessage(float code);
};

#endif
