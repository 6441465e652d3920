#include "net/internal/net_mime.h"

#include <iterator>

#include "net/internal/net_characters.h"

namespace mime
{

namespace
{

// The table is also the list of extensions that are served.
constexpr FileType kTypes[] = {
    {QZ_W("png"), QZ_W("image/png")},
    {QZ_W("gif"), QZ_W("image/gif")},
    {QZ_W("jpeg"), QZ_W("image/jpeg")},
    {QZ_W("jpg"), QZ_W("image/jpeg")},
    {QZ_W("ico"), QZ_W("image/x-icon")},
    {QZ_W("mp4"), QZ_W("video/mp4")},
    {QZ_W("rar"), QZ_W("application/rar")},
    {QZ_W("pdf"), QZ_W("application/pdf")},
    {QZ_W("zip"), QZ_W("application/zip")},
    {QZ_W("svg"), QZ_W("image/svg+xml")},
    {QZ_W("html"), QZ_W("text/html")},
    {QZ_W("htm"), QZ_W("text/html")},
    {QZ_W("css"), QZ_W("text/css")},
    {QZ_W("js"), QZ_W("application/javascript")},
    {QZ_W("xml"), QZ_W("text/xml")},
    {QZ_W("txt"), QZ_W("text/plain")},
    {QZ_W("otf"), QZ_W("font/otf")},
    {QZ_W("woff"), QZ_W("application/font-woff")},
    {QZ_W("woff2"), QZ_W("application/font-woff2")},
    {QZ_W("eot"), QZ_W("application/vnd.ms-fontobject")},
    {QZ_W("ttf"), QZ_W("application/x-font-ttf")},
    {QZ_W("obj"), nullptr},
};

// The entries that strict mode changes, and the one of all other extensions at the end.
constexpr FileType kStrictTypes[] = {
    {QZ_W("svg"), QZ_W("image/svg+xml; charset=utf-8")},
    {QZ_W("html"), QZ_W("text/html; charset=utf-8")},
    {QZ_W("htm"), QZ_W("text/html; charset=utf-8")},
    {QZ_W("css"), QZ_W("text/css; charset=utf-8")},
    {QZ_W("js"), QZ_W("application/javascript; charset=utf-8")},
    {QZ_W("xml"), QZ_W("text/xml; charset=utf-8")},
    {QZ_W("txt"), QZ_W("text/plain; charset=utf-8")},
    {QZ_W(""), QZ_W("application/octet-stream")},
};

/// Equality of a lower-case text with another one, whose case does not count.
bool Equals(const QZWChar* lower, const QZWChar* text)
{
    while (*lower != 0 && *lower == net::Lower(*text)) ++lower, ++text;
    return *lower == 0 && *text == 0;
}

}  // namespace

const FileType* Find(const QZWChar* extension)
{
    for (const FileType& type : kTypes)
        if (Equals(type.extension, extension)) return &type;
    return nullptr;
}

const FileType* FindStrict(const QZWChar* extension)
{
    for (const FileType& type : kStrictTypes)
        if (*type.extension != 0 && Equals(type.extension, extension)) return &type;
    const FileType* found = Find(extension);
    return found != nullptr && found->contentType != nullptr ? found : std::end(kStrictTypes) - 1;
}

}  // namespace mime
