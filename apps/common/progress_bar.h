#ifndef QZLIB_APPS_COMMON_PROGRESS_BAR_H
#define QZLIB_APPS_COMMON_PROGRESS_BAR_H

#include <cstdio>
#include <string>

namespace qzapp
{

/// A line of progress on a terminal's error stream; silent elsewhere.
class ProgressBar
{
public:
    /// @param terminal  a person looks at err
    ProgressBar(std::FILE* err, bool terminal) : m_err(err), m_terminal(terminal) {}
    /// Clears the line for what comes next.
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    bool IsSilent() const { return !m_terminal; }

    /// Shows a bar and a text beside it.
    /// @param percent  0 to 100
    void ShowBar(int percent, const std::string& text);

    /// Shows a text alone.
    void ShowText(const std::string& text);

private:
    std::FILE* m_err;
    bool m_terminal;
    bool m_shown = false;
};

}  // namespace qzapp

#endif
