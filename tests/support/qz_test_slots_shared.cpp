#include <cstring>

#include "fw/fw_library.h"
#include "support/qz_test.h"

namespace qztest
{

void SetStandardMemoryHooks()
{
    // A host cannot read the slots, so these hooks do the same work.
    QZLibSetFunctionMemCopy([](void* destination, void* source, QZInt64 size) {
        std::memmove(destination, source, static_cast<std::size_t>(size));
    });
    QZLibSetFunctionMemMove([](void* destination, void* source, QZInt64 size) {
        std::memmove(destination, source, static_cast<std::size_t>(size));
    });
    QZLibSetFunctionMemClean(
        [](void* destination, QZInt64 size) { std::memset(destination, 0, static_cast<std::size_t>(size)); });
}

}  // namespace qztest
