#include "net/net_http_page.h"

#include "fw/fw_string.h"
#include "net/net_http_request.h"

const QZInt64 QZHttpPage::Type;
const QZInt64 QZHttpPageContainer::Type;

QZHttpPage::QZHttpPage(QZString* path) : m_path(new QZString(path))
{
    m_path->SetDisposable(QZObject::GetObjectID(), 0);
}

QZHttpPage::QZHttpPage(const QZWChar* path) : m_path(new QZString(path))
{
    m_path->SetDisposable(QZObject::GetObjectID(), 0);
}

QZHttpPage::~QZHttpPage()
{
    m_path->SetDisposable(QZObject::GetObjectID(), 1);
    delete m_path;
}

QZInt64 QZHttpPage::GetType() { return Type; }

QZHttpResponse* QZHttpPage::ToResponse(QZHttpRequest*) { return nullptr; }

QZHttpResponse* QZHttpPage::Verification(QZHttpRequest*) { return nullptr; }

QZString* QZHttpPage::GetPath() { return m_path; }

QZHttpPageContainer::QZHttpPageContainer() : m_pages(new QZList<QZHttpPage>()) {}

QZHttpPageContainer::~QZHttpPageContainer()
{
    while (m_pages->Pop() != nullptr)
    {}
    delete m_pages;
}

QZInt64 QZHttpPageContainer::GetType() { return Type; }

void QZHttpPageContainer::AddPage(QZHttpPage* page) { m_pages->Push(page); }

void QZHttpPageContainer::RemovePage(QZHttpPage* page) { m_pages->RemoveElement(page); }

QZHttpResponse* QZHttpPageContainer::ToResponse(QZHttpRequest* request)
{
    QZString* path = request->GetUrl()->GetPath();
    for (QZHttpPage* page = m_pages->GetFirst(); page != nullptr;
         page = static_cast<QZHttpPage*>(page->LinkNext()))
    {
        if (!page->GetPath()->Equals(path, 1)) continue;
        QZHttpResponse* verdict = page->Verification(request);
        return verdict != nullptr ? verdict : page->ToResponse(request);
    }
    return nullptr;
}
