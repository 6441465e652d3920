#include "common/progress_bar.h"

namespace qzapp
{

namespace
{

/// Columns that the longest line takes.
constexpr int kLineWidth = 70;
constexpr int kBarWidth = 40;

}  // namespace

ProgressBar::~ProgressBar()
{
    if (m_shown) std::fprintf(m_err, "\r%*s\r", kLineWidth, "");
}

void ProgressBar::ShowBar(int percent, const std::string& text)
{
    std::string bar(static_cast<std::size_t>(percent * kBarWidth / 100), '#');
    bar.resize(kBarWidth, '.');
    char number[16];
    std::snprintf(number, sizeof number, "%3d%%", percent);
    ShowText("[" + bar + "] " + number + "  " + text);
}

void ProgressBar::ShowText(const std::string& text)
{
    if (!m_terminal) return;
    m_shown = true;
    std::fprintf(m_err, "\r%s", text.c_str());
    std::fflush(m_err);
}

}  // namespace qzapp
