#include "sys/internal/sys_line.h"
#include "sys/internal/sys_hooks.h"

namespace os
{

Line* LineOpen(const QZWChar* path)
{
    if (!Gate(Op::Line)) return nullptr;
    if (g_testHooks.load(std::memory_order_relaxed) != nullptr)
    {
        if (Line* line = OpenLineHooked(path)) return line;
    }
    return SystemLineOpen(path);
}

bool LineSetup(Line* line, QZInt64 speed) { return Gate(Op::Line) && line->Setup(speed); }

bool LineSetSpeed(Line* line, QZInt64 speed) { return Gate(Op::Line) && line->SetSpeed(speed); }

bool LineWatchInput(Line* line) { return Gate(Op::Line) && line->WatchInput(); }

bool LineQueued(Line* line, QZInt64* count) { return Gate(Op::Line) && line->Queued(count); }

LineResult LineRead(Line* line, void* buffer, QZInt64 size, QZInt64 milliseconds, QZInt64* count)
{
    QZInt64 wanted = size;
    if (!Gate(Op::LineRead, &wanted)) return LineResult::Failed;
    return line->Read(buffer, wanted, milliseconds, count);
}

LineResult LineWrite(Line* line, const void* buffer, QZInt64 size, QZInt64 milliseconds, QZInt64* count)
{
    QZInt64 wanted = size;
    if (!Gate(Op::LineWrite, &wanted)) return LineResult::Failed;
    return line->Write(buffer, wanted, milliseconds, count);
}

}  // namespace os
