#ifndef QZLIB_TESTS_FW_ASSERT_WATCH_H
#define QZLIB_TESTS_FW_ASSERT_WATCH_H

#include "fw/fw_library.h"
#include "support/qz_test.h"

namespace qztest
{

/// Counts the failed assertions of the library instead of failing the test, until it is destroyed.
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
    ~AssertWatch() { QZLibSetFunctionAssert(&FailOnFailedAssertion); }
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
