#include "db/db_report.h"

#include <vector>

const QZInt64 QZDbReport::Type;
const QZInt64 QZDbReport::LEFT_OUT;
const QZInt64 QZDbReport::MENDED;
const QZInt64 QZDbReport::MOST;

struct QZDbReport::Parts
{
    struct Finding
    {
        QZInt64 address;
        QZInt64 kind;
        QZInt64 outcome;
        const char* reason;
    };
    const Finding* At(QZInt64 i) const
    {
        const bool inside = i >= 0 && i < static_cast<QZInt64>(findings.size());
        return inside ? &findings[static_cast<std::size_t>(i)] : nullptr;
    }

    std::vector<Finding> findings;
    QZInt64 leftOut = 0;
    QZInt64 mended = 0;
};

QZDbReport::QZDbReport() : m_parts(new Parts()) {}

QZDbReport::~QZDbReport() { delete m_parts; }

QZInt64 QZDbReport::GetType() { return Type; }

QZInt64 QZDbReport::Count() { return static_cast<QZInt64>(m_parts->findings.size()); }

QZInt64 QZDbReport::GetAddress(QZInt64 i) { return m_parts->At(i) != nullptr ? m_parts->At(i)->address : 0; }

QZInt64 QZDbReport::GetKind(QZInt64 i) { return m_parts->At(i) != nullptr ? m_parts->At(i)->kind : 0; }

QZInt64 QZDbReport::GetOutcome(QZInt64 i) { return m_parts->At(i) != nullptr ? m_parts->At(i)->outcome : 0; }

const char* QZDbReport::GetReason(QZInt64 i)
{
    return m_parts->At(i) != nullptr ? m_parts->At(i)->reason : nullptr;
}

QZInt64 QZDbReport::LeftOut() { return m_parts->leftOut; }

QZInt64 QZDbReport::Mended() { return m_parts->mended; }

void QZDbReport::Add(QZInt64 address, QZInt64 kind, QZInt64 outcome, const char* reason)
{
    ++(outcome == LEFT_OUT ? m_parts->leftOut : m_parts->mended);
    if (Count() < MOST) m_parts->findings.push_back({address, kind, outcome, reason});
}

QZBool QZDbReport::Progress(QZInt64 done, QZInt64 total)
{
    (void)done;
    (void)total;
    return 1;
}
