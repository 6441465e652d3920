#include "support/qz_test.h"

namespace qztest
{

bool OnWine() { return false; }

}  // namespace qztest
