#include "fw/internal/fw_status.h"

namespace
{
constinit const QZStatusForm* g_form = nullptr;
}  // namespace

bool QZStatusInstall(const QZStatusForm* form)
{
    g_form = form;
    return true;
}

QZJsonObject* QZStatusMake(const QZStatusFigure* figures, int count) { return g_form->Make(figures, count); }

void QZStatusRecycle(QZJsonObject** status) { g_form->Recycle(status); }
