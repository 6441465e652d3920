#include "line.h"

namespace qzdevice
{

std::unique_ptr<Line> MakeTerminal() { return nullptr; }

}  // namespace qzdevice
