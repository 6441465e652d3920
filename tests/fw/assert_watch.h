#ifndef QZLIB_TESTS_FW_ASSERT_WATCH_H
#define QZLIB_TESTS_FW_ASSERT_WATCH_H

#include "fw/fw_library.h"
#include "os/os_system.h"

namespace qztest
{

/// Counts the broken assertions that the library reports while it lives; afterwards they stop the program
/// again.
class AssertWatch
{
public:
    AssertWatch()
    {
        Failed() = 0;
        QZLibSetFunctionAssert([](QZBool condition) {
            if (!condition) ++Failed();
        });
    }
    ~AssertWatch()
    {
        QZLibSetFunctionAssert([](QZBool condition) {
            if (!condition) os::AssertReport("val", "code/qzlib", 510);
        });
    }
    AssertWatch(const AssertWatch&) = delete;
    AssertWatch& operator=(const AssertWatch&) = delete;

    static int Count() { return Failed(); }

private:
    static int& Failed()
    {
        static int failed = 0;
        return failed;
    }
};

}  // namespace qztest

#endif
