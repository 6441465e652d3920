#include <random>
#include <string>

#include "common/private_files.h"

namespace qzapp
{

PrivateFolder::PrivateFolder()
{
    const std::filesystem::path parent = std::filesystem::temp_directory_path();
    std::random_device random;
    // False means that the name is taken, by whomever.
    do m_path = parent / ("qzdb-" + std::to_string(random()) + "-" + std::to_string(random()));
    while (!std::filesystem::create_directory(m_path));
}

PrivateFolder::~PrivateFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

}  // namespace qzapp
