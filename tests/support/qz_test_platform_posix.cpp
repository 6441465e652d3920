#include <cstdlib>

#include "support/qz_test.h"

namespace qztest
{

bool OnWine() { return false; }

void SetVariable(const char* name, const char* value)
{
    if (value != nullptr)
        setenv(name, value, 1);
    else
        unsetenv(name);
}

}  // namespace qztest
