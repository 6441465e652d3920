#ifndef QZLIB_APPS_QZDEVICE_LINE_H
#define QZLIB_APPS_QZDEVICE_LINE_H

#include <memory>
#include <string>

namespace qzdevice
{

/// The controller's end of a line.
class Line
{
public:
    Line() = default;
    virtual ~Line() = default;
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    /// The name of the host's end; empty when a port of this machine is served.
    virtual std::string Name() const = 0;
    /// The bytes that arrive within some milliseconds; mostly none.
    virtual std::string Take() = 0;
    virtual void Put(const std::string& bytes) = 0;
};

/// A pseudo-terminal; null where the system has none.
std::unique_ptr<Line> MakeTerminal();

}  // namespace qzdevice

#endif
