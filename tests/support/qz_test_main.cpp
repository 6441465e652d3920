// The main of a test program: the library runs from before the first test until after the last.
//
// Tests may put hooks of their own into the library's slots. After each test the slots hold the standard ones
// again: the library's own copy, move and clean, and an assert hook with which a broken assertion fails the
// test in which it happens. A test that breaks one on purpose counts it (see AssertWatch).

#include <gtest/gtest.h>

#include "fw/fw_library.h"
#include "qzlib.h"
#include "support/qz_test.h"

namespace
{

class StandardHooks : public ::testing::EmptyTestEventListener
{
    void OnTestStart(const ::testing::TestInfo&) override { qztest::SetStandardHooks(); }
    void OnTestEnd(const ::testing::TestInfo&) override { qztest::SetStandardHooks(); }
    void OnTestSuiteEnd(const ::testing::TestSuite&) override { qztest::SetStandardHooks(); }
};

}  // namespace

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    QZLibInit();
    qztest::SetStandardHooks();
    ::testing::UnitTest::GetInstance()->listeners().Append(new StandardHooks());
    const int result = RUN_ALL_TESTS();
    // What lives in the caches goes now, and must be as sound as in a test.
    QZLibDispose();
    if (result == 0 && qztest::BrokenAssertions() > 0) return 1;
    return result;
}
