#include "support/qz_test.h"
#include "fw/fw_library.h"
#include "fw/internal/fw_hooks.h"

namespace qztest
{

void SetStandardMemoryHooks()
{
    // The hooks that the library itself set at its start.
    static const auto copy = g_qzMemCopy;
    static const auto move = g_qzMemMove;
    static const auto clean = g_qzMemClean;
    QZLibSetFunctionMemCopy(copy);
    QZLibSetFunctionMemMove(move);
    QZLibSetFunctionMemClean(clean);
}

}  // namespace qztest
