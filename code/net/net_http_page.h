#ifndef QZLIB_NET_HTTP_PAGE_H
#define QZLIB_NET_HTTP_PAGE_H

#include "fw/fw_container.h"
#include "fw/fw_object.h"

class QZHttpRequest;
class QZHttpResponse;
class QZString;

/// The page at one path of a server. A host derives from it.
///
/// The path belongs to the page. Several threads of a server may call both virtual operations at the same
/// time. A response that they return belongs to the caller.
class QZ_API QZHttpPage : public QZObject
{
public:
    static const QZInt64 Type = 0x831001F;

    explicit QZHttpPage(QZString* path);
    explicit QZHttpPage(const QZWChar* path);
    ~QZHttpPage() override;
    QZHttpPage(const QZHttpPage&) = delete;
    QZHttpPage& operator=(const QZHttpPage&) = delete;

    QZInt64 GetType() override;

    /// The response of the page; null here.
    virtual QZHttpResponse* ToResponse(QZHttpRequest* request);
    /// Called before ToResponse. A response, for example a login page or a 401, replaces that of the page;
    /// null lets ToResponse answer. Null here.
    virtual QZHttpResponse* Verification(QZHttpRequest* request);

    QZString* GetPath();

private:
    QZString* m_path;
};

/// A table of pages by path. The pages belong to the host, which keeps them alive while they are in the
/// table.
///
/// There is no lock: the host adds all pages before the server starts. After that any thread may call
/// ToResponse.
class QZ_API QZHttpPageContainer : public QZObject
{
public:
    static const QZInt64 Type = 0x8310020;

    QZHttpPageContainer();
    /// Takes the pages out and does not delete them.
    ~QZHttpPageContainer() override;
    QZHttpPageContainer(const QZHttpPageContainer&) = delete;
    QZHttpPageContainer& operator=(const QZHttpPageContainer&) = delete;

    QZInt64 GetType() override;

    /// Adds at the end.
    /// @throws QZException 1792 for null, 1280 for a page that is in a container
    virtual void AddPage(QZHttpPage* page);
    virtual void RemovePage(QZHttpPage* page);
    /// The response of the first page with the path of the request, ignoring the case of A to Z: that of
    /// Verification, or else that of ToResponse. Null when there is no such page.
    virtual QZHttpResponse* ToResponse(QZHttpRequest* request);

private:
    QZList<QZHttpPage>* m_pages;
};

#endif
