#include <stdio.h>
#include <sys/wait.h>

#include <cstdlib>
#include <utility>

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

Program::Program(const std::string& line) : m_input(popen(line.c_str(), "w")) {}

int Program::End()
{
    if (m_input == nullptr) return -1;
    const int status = pclose(static_cast<FILE*>(std::exchange(m_input, nullptr)));
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace qztest
