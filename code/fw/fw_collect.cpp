#include "fw/internal/fw_collect.h"

#include "fw/fw_library.h"

namespace
{
constexpr int kCollectors = static_cast<int>(QZCollector::Json) + 1;

using Collect = void (*)(QZBool partial);

constinit Collect g_collectors[kCollectors] = {};
}  // namespace

bool QZCollectInstall(QZCollector collector, Collect collect)
{
    g_collectors[static_cast<int>(collector)] = collect;
    return true;
}

void QZCollect(QZCollector collector, QZBool partial)
{
    const Collect collect = g_collectors[static_cast<int>(collector)];
    if (collect != nullptr) collect(partial);
}

void QZLibCollect(QZBool partial)
{
    static constexpr QZCollector kOrder[] = {QZCollector::Http, QZCollector::Json, QZCollector::Exception,
                                             QZCollector::String, QZCollector::Data};
    for (QZCollector collector : kOrder) QZCollect(collector, partial);
}
