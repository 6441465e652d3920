#include "pictures.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "common/owned.h"

namespace qzmon
{

namespace
{

constexpr unsigned kPaper = 0xFFFFFFFF;
constexpr unsigned kGrid = 0xFFE4E8ED;
constexpr unsigned kFrame = 0xFFCBD3DB;
constexpr unsigned kInk = 0xFF4A5560;

struct Pair
{
    unsigned line;
    unsigned tint;
};
constexpr Pair kColors[] = {{0xFF2563C9, 0xFFEAF1FC}, {0xFF0F7B6C, 0xFFE6F4F1}, {0xFFB4540A, 0xFFFBF0E4},
                            {0xFF7A3FC0, 0xFFF2EBFB}, {0xFFB02A56, 0xFFFBEAF0}, {0xFF4D6B1F, 0xFFF0F5E6},
                            {0xFF1F6F8B, 0xFFE6F3F7}, {0xFF6B5B3E, 0xFFF4F1EA}};
constexpr int kColorCount = static_cast<int>(std::size(kColors));

std::string BitmapOf(QZPixelBlock& block)
{
    QZData* file = block.ToFileBitmap();
    const std::string bytes = qzapp::BytesOf(file);
    QZPixelBlock::Recycle(&file);
    return bytes;
}

/// The step of an axis: 1, 2 or 5 times a power of ten, so that the range has about `parts` steps.
double NiceStep(double range, int parts)
{
    const double raw = std::max(range, 1e-9) / parts;
    const double power = std::pow(10, std::floor(std::log10(raw)));
    for (const double factor : {1.0, 2.0, 5.0})
    {
        if (factor * power >= raw * 0.999) return factor * power;
    }
    return 10 * power;
}

int DigitsOf(double step) { return std::clamp(static_cast<int>(std::ceil(-std::log10(step) - 1e-9)), 0, 6); }

class Chart
{
public:
    Chart(const ChartRequest& request, const std::vector<Sample>& samples)
        : m_request(request),
          m_samples(samples),
          m_block(request.width, request.height),
          m_left(9 * 6 * request.dot),
          m_right(request.width - 2 * request.dot),
          m_foot(14 * request.dot)
    {
        m_begin = request.now - request.seconds * 1000;
    }

    std::string Draw()
    {
        m_block.Fill(kPaper);
        const int bands = std::max<int>(1, static_cast<int>(m_request.names.size()));
        const int height = m_request.height - m_foot;
        for (int i = 0; i < bands && !m_request.names.empty(); ++i)
            DrawBand(i, height * i / bands, height * (i + 1) / bands - height * i / bands);
        DrawTimes(height);
        return BitmapOf(m_block);
    }

private:
    int X(QZInt64 time) const
    {
        return m_left +
               static_cast<int>((time - m_begin) * (m_right - 1 - m_left) / (m_request.seconds * 1000));
    }

    /// Writes text with each dot as a square. It begins at `x`, or with `left` it ends there.
    void Write(int x, int y, const std::string& words, unsigned color, bool left)
    {
        QZString text = Text(words);
        QZShape shape;
        shape.Add(1, 1, &text, 0xFFFFFFFF);
        const int width = static_cast<int>(words.size()) * 7 + 4;
        QZPixelBlock dots(width, 14);
        dots.Fill(0u);
        dots.Draw(&shape);
        int used = 0;
        for (int i = 0; i < width * 14; ++i)
        {
            if (dots.GetPixel(i % width, i / width) != 0) used = std::max(used, i % width + 1);
        }
        const int dot = m_request.dot;
        const int from = left ? x - used * dot : x;
        for (int row = 0; row < 14; ++row)
        {
            for (int column = 0; column < used; ++column)
            {
                const int px = from + column * dot;
                const int py = y + row * dot;
                if (dots.GetPixel(column, row) == 0 || px < 0 || py < 0 || px + dot > m_request.width ||
                    py + dot > m_request.height)
                    continue;
                m_block.Fill(px, py, dot, dot, color);
            }
        }
    }

    bool Range(std::size_t channel, double* low, double* high) const
    {
        bool any = false;
        for (const Sample& sample : m_samples)
        {
            if (sample.time < m_begin || channel >= sample.values.size()) continue;
            const double value = sample.values[channel];
            *low = any ? std::min(*low, value) : value;
            *high = any ? std::max(*high, value) : value;
            any = true;
        }
        if (!any) return false;
        // A small change is not stretched over the whole band.
        const double least = std::max(0.02 * std::max(std::fabs(*low), std::fabs(*high)), 1e-3);
        const double missing = std::max(0.0, least - (*high - *low)) / 2;
        const double rim = 0.06 * std::max(*high - *low, least);
        *low -= missing + rim;
        *high += missing + rim;
        return true;
    }

    void DrawBand(int channel, int top, int height)
    {
        const Pair color = kColors[channel % kColorCount];
        const int dot = m_request.dot;
        const int head = top + 13 * dot;
        const int foot = top + height - 3 * dot;
        const int size = foot - head;
        const std::string& name = m_request.names[static_cast<std::size_t>(channel)];
        double low = 0;
        double high = 1;
        const bool any = Range(static_cast<std::size_t>(channel), &low, &high);
        DrawTimeGrid(head, foot);
        if (any && size > 8)
        {
            const auto y = [&](double value) {
                return foot - 1 - static_cast<int>((value - low) / (high - low) * (size - 1));
            };
            DrawLineOf(static_cast<std::size_t>(channel), color, y, foot);
            const double step = NiceStep(high - low, std::max(2, size / (22 * dot)));
            int last = foot + 100 * dot;
            for (double tick = std::ceil(low / step) * step; tick <= high; tick += step)
            {
                const int line = y(tick);
                m_block.Fill(m_left - 3 * dot, line, 3 * dot, 1, kFrame);
                if (last - line < 11 * dot) continue;
                last = line;
                Write(m_left - 5 * dot, std::clamp(line - 5 * dot, top, foot - 9 * dot),
                      FixedText(std::fabs(tick) < step / 1000 ? 0 : tick, DigitsOf(step)), kInk, true);
            }
        }
        m_block.Fill(m_left, foot, m_right - m_left, 1, kFrame);
        m_block.Fill(m_left, head, 1, foot - head, kFrame);
        Write(m_left + 2 * dot, top + dot, name, color.line, false);
        if (!any) Write(m_left + 8 * dot, head + size / 2 - 5 * dot, "no samples in this time", kInk, false);
    }

    template <typename ToY>
    void DrawLineOf(std::size_t channel, const Pair& color, ToY y, int foot)
    {
        QZShape line(1);
        const Sample* before = nullptr;
        bool drawn = false;
        for (const Sample& sample : m_samples)
        {
            if (channel >= sample.values.size()) continue;
            const bool joined = before != nullptr && sample.time - before->time <= m_request.gap;
            if (sample.time >= m_begin && sample.time <= m_request.now + 1000)
            {
                const int x2 = std::min(X(sample.time), m_right - 1);
                const int y2 = y(sample.values[channel]);
                int x1 = x2;
                int y1 = y2;
                if (joined)
                {
                    x1 = std::max(X(before->time), m_left);
                    y1 = std::clamp(y(before->values[channel]), 0, foot - 1);
                    if (before->time < m_begin) y1 = y2;
                    for (int x = x1; x < x2; ++x)
                    {
                        const int edge = y1 + (y2 - y1) * (x - x1) / (x2 - x1) + 1;
                        if (edge < foot) m_block.Fill(x, edge, 1, foot - edge, color.tint);
                    }
                }
                for (int i = 0; i < std::max(2, m_request.dot); ++i)
                {
                    const QZLine piece(x1, y1 + i, x2, y2 + i);
                    line.Add(&piece, color.line);
                }
                drawn = true;
            }
            before = &sample;
        }
        if (drawn) m_block.Draw(&line);
    }

    /// The step of the time axis in seconds, wide enough for its labels.
    QZInt64 TimeStep() const
    {
        const int labels = std::max(1, (m_right - m_left) / (9 * 7 * m_request.dot));
        for (const QZInt64 step :
             {1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 14400, 43200})
        {
            if (m_request.seconds / step <= labels) return step;
        }
        return 86400;
    }

    template <typename Visit>
    void EachTime(Visit visit) const
    {
        const QZInt64 step = TimeStep() * 1000;
        for (QZInt64 time = (m_begin / step + 1) * step; time <= m_request.now; time += step) visit(time);
    }

    void DrawTimeGrid(int top, int foot)
    {
        EachTime([&](QZInt64 time) { m_block.Fill(X(time), top, 1, foot - top, kGrid); });
    }

    void DrawTimes(int top)
    {
        const int half = 24 * m_request.dot;
        EachTime([&](QZInt64 time) {
            const int x = X(time);
            if (x - half > m_left - 20 && x + half <= m_request.width)
                Write(x - half, top, ClockText(time), kInk, false);
        });
    }

    const ChartRequest& m_request;
    const std::vector<Sample>& m_samples;
    QZPixelBlock m_block;
    int m_left;
    int m_right;
    int m_foot;
    QZInt64 m_begin;
};

}  // namespace

std::string DrawChart(const ChartRequest& request, const std::vector<Sample>& samples)
{
    return Chart(request, samples).Draw();
}

std::string DrawIcon()
{
    constexpr int kHeights[] = {3, 3, 4, 9, 12, 8, 5, 4, 4, 7, 11, 9, 5, 4};
    QZPixelBlock block(16, 16);
    block.Fill(kPaper);
    for (int i = 0; i < static_cast<int>(std::size(kHeights)); ++i)
        block.Fill(i + 1, 14 - kHeights[i], 1, kHeights[i], kColors[0].line);
    return BitmapOf(block);
}

std::string ChannelColor(int channel)
{
    char text[16];
    std::snprintf(text, sizeof text, "#%06X", kColors[channel % kColorCount].line & 0xFFFFFFu);
    return text;
}

std::string DrawRuler(int width, QZInt64 fileBytes, const std::vector<Snapshot>& snapshots, int cursor)
{
    constexpr int kHeight = 150;
    constexpr QZInt64 kMost = 0xFE000000;
    constexpr std::size_t kMarks = 5;
    QZGraphicsCollection stack(width, kHeight);
    stack.SetBackColor(0xFFF6F8FA);
    stack.FillBickColor();
    stack.Refersh();
    const unsigned length = static_cast<unsigned>(std::clamp<QZInt64>(fileBytes, 1, kMost));
    QZLinearGraph ruler(&stack, 0, length);
    ruler.Mark(0, std::max(1u, length), 0xFFBFD3EE);
    const std::size_t first = snapshots.size() > kMarks ? snapshots.size() - kMarks : 0;
    for (std::size_t i = first; i < snapshots.size(); ++i)
    {
        QZString name = Text("S" + std::to_string(i + 1) + " ");
        if (snapshots[i].id < length) ruler.Mark(static_cast<unsigned>(snapshots[i].id), 0xFFB4540A, &name);
    }
    if (cursor >= 0)
    {
        QZString info = Text("of " + SizeText(fileBytes));
        ruler.GetInfo()->Set(&info);
        ruler.SetMousePoint(std::min(cursor, width - 1));
    }
    ruler.Update();
    stack.Update();
    QZPixelBlock block(width, kHeight);
    block.Paste(0, 0, stack.GetBackground(), 1);
    block.SetAlpha(255);
    return BitmapOf(block);
}

}  // namespace qzmon
