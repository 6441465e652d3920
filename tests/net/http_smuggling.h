#ifndef QZLIB_TESTS_NET_HTTP_SMUGGLING_H
#define QZLIB_TESTS_NET_HTTP_SMUGGLING_H

/// The shapes of requests in smuggling.txt.

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/qz_test.h"

namespace qztest
{

struct Shape
{
    std::string name;
    /// The statuses with blanks between them.
    std::string statuses;
    std::string bytes;
};

/// The text with its escapes \r, \n, \xNN as bytes.
inline std::string Unescaped(const std::string& text)
{
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        if (text[i] != '\\')
        {
            bytes += text[i];
            continue;
        }
        const char kind = text[++i];
        if (kind == 'r') bytes += '\r';
        if (kind == 'n') bytes += '\n';
        if (kind == 't') bytes += '\t';
        if (kind == 'x')
        {
            bytes += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
            i += 2;
        }
    }
    return bytes;
}

inline std::vector<Shape> Shapes()
{
    std::vector<Shape> shapes;
    std::ifstream file(DataFile("net/smuggling.txt"), std::ios::binary);
    for (std::string line; std::getline(file, line);)
    {
        if (line.empty() || line[0] == '#') continue;
        const std::size_t first = line.find(" | ");
        const std::size_t second = line.find(" | ", first + 3);
        shapes.push_back({line.substr(0, first), line.substr(first + 3, second - first - 3),
                          Unescaped(line.substr(second + 3))});
    }
    return shapes;
}

}  // namespace qztest

#endif
