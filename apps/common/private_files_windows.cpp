#include "common/private_files.h"

namespace qzapp
{

void KeepFilesPrivate() {}

void MakePrivate(const std::string&) {}

}  // namespace qzapp
