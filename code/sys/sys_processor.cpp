#include "sys/internal/sys_processor.h"

namespace
{
bool AskForAvx2()
{
#if QZ_SSE2
    return __builtin_cpu_supports("avx2") != 0;
#else
    return false;
#endif
}
}  // namespace

bool processor::HasAvx2()
{
    static const bool kHas = AskForAvx2();
    return kHas;
}
