// The main of a test program: the library runs from before the first test until after the last.

#include <gtest/gtest.h>

#include "fw/fw_library.h"

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    QZLibInit();
    const int result = RUN_ALL_TESTS();
    QZLibDispose();
    return result;
}
