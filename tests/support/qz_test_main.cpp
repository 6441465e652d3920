// The main function of a test program: starts the library before the first test, ends it after the last.
//
// Tests may replace the hooks of the library. After each test the standard hooks are set again: copy, move
// and clean of the library, and an assert hook that fails the current test when an assertion of the library
// fails. A test that expects a failed assertion counts it with AssertWatch.

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
    // This destroys the cached objects; a failed assertion here fails the program.
    QZLibDispose();
    if (result == 0 && qztest::FailedAssertionCount() > 0) return 1;
    return result;
}
