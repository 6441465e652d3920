#ifndef QZLIB_NET_HTTP_TARGET_H
#define QZLIB_NET_HTTP_TARGET_H

#include <string>
#include <string_view>

#include "sys/sys_types.h"

/// The request target, hosts and UTF-8 by the rules of the strict server. Functions of bytes, without state.
/// Internal.
namespace http
{
/// The parts of a request target.
struct Target
{
    enum class Form
    {
        Origin,     ///< "/path?query"
        Absolute,   ///< "http://host/path?query"
        Asterisk,   ///< "*"
        Authority,  ///< "host:port"
    };
    Form form = Form::Origin;
    /// The host and port of the absolute and the authority form; else empty.
    std::string_view authority;
    /// As it stands in the target, not decoded; "/" when an absolute form has none.
    std::string_view path;
    /// Without its question mark.
    std::string_view query;
};

/// Takes a target apart. The method decides which forms are allowed: the asterisk belongs to OPTIONS, the
/// authority alone to CONNECT. False when the target is not allowed.
bool ReadTarget(std::string_view method, std::string_view text, Target* target);

/// What DecodePath found.
enum class PathVerdict
{
    Good,
    /// No path: an escape without two hexadecimal digits; a control character, NUL among them, escaped or
    /// not; bytes that are not UTF-8.
    Malformed,
    /// A path that could lead somewhere else than it seems: an escaped slash; a backslash, escaped or not; a
    /// segment of dots and blanks only.
    Forbidden,
};

/// Decodes a path into UTF-8 and joins repeated slashes. *decoded is empty unless the path is good.
PathVerdict DecodePath(std::string_view path, std::string* decoded);

/// True for "host", "host:port" and "[::1]:port" with the characters that a host may have.
bool IsAuthority(std::string_view text);

/// True when the bytes are UTF-8 in its shortest form, without surrogates.
bool IsUtf8(std::string_view bytes);

/// UTF-8 as wide text; bytes that are not UTF-8 become one character for each byte.
std::basic_string<QZWChar> WideOf(std::string_view bytes);

/// True for the characters of methods and header names.
bool IsTokenCharacter(unsigned char byte);
bool IsToken(std::string_view text);

/// Equality that ignores the case of A to Z; the second text is in lower case.
bool IsWord(std::string_view text, std::string_view lower);

/// The text without the blanks and tabs around it.
std::string_view Stripped(std::string_view text);

/// True when a list with commas between its members has this member, which is in lower case.
bool HasMember(std::string_view list, std::string_view lower);
}  // namespace http

#endif
