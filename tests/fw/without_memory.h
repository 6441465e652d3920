#ifndef QZLIB_TESTS_FW_WITHOUT_MEMORY_H
#define QZLIB_TESTS_FW_WITHOUT_MEMORY_H

#include "support/qz_test.h"
#include "sys/internal/sys_hooks.h"

namespace qztest
{

/// Runs the call, lets its first allocation fail, and returns the exception that it threw.
template <typename Call>
Thrown WithoutMemory(Call&& call)
{
    bool refused = false;
    os::TestHooks hooks{};
    hooks.Context = &refused;
    hooks.Gate = [](void* context, os::Op operation, QZInt64*, QZUInt32*) {
        if (operation != os::Op::Allocate || *static_cast<bool*>(context)) return true;
        *static_cast<bool*>(context) = true;
        return false;
    };
    os::SetTestHooks(&hooks);
    Thrown thrown = Catch(call);
    os::SetTestHooks(nullptr);
    EXPECT_TRUE(refused);
    return thrown;
}

}  // namespace qztest

#endif
