#ifndef QZLIB_NET_HTTP_PAGE_H
#define QZLIB_NET_HTTP_PAGE_H

#include "fw/fw_container.h"
#include "fw/fw_object.h"

class QZHttpRequest;
class QZHttpResponse;
class QZString;

/// What an application answers at one path. An application derives from it.
///
/// The path belongs to the page. Both operations run on a server's threads, several at a time; the response
/// that one makes is its caller's.
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

    /// The answer; null here.
    virtual QZHttpResponse* ToResponse(QZHttpRequest* request);
    /// Asked first: a response (a login page, a 401) takes the place of the answer, null lets it pass. Null
    /// here.
    virtual QZHttpResponse* Verification(QZHttpRequest* request);

    QZString* GetPath();

private:
    QZString* m_path;
};

/// A table of pages by path. The pages stay the application's, which keeps them alive while they are in here.
///
/// It has no lock: pages go in before the server starts. Asking is for any thread.
class QZ_API QZHttpPageContainer : public QZObject
{
public:
    static const QZInt64 Type = 0x8310020;

    QZHttpPageContainer();
    /// Takes the pages out and leaves them alone.
    ~QZHttpPageContainer() override;
    QZHttpPageContainer(const QZHttpPageContainer&) = delete;
    QZHttpPageContainer& operator=(const QZHttpPageContainer&) = delete;

    QZInt64 GetType() override;

    /// Adds at the end.
    /// @throws QZException 1792 for null, 1280 for a page that stands in a container
    virtual void AddPage(QZHttpPage* page);
    virtual void RemovePage(QZHttpPage* page);
    /// What the first page says whose path is that of the request, ignoring the case of A to Z: its
    /// verification, else its answer. Null without such a page.
    virtual QZHttpResponse* ToResponse(QZHttpRequest* request);

private:
    QZList<QZHttpPage>* m_pages;
};

#endif
