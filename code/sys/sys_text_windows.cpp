#include <windows.h>

#include <climits>

#include "sys/internal/sys_text.h"

namespace os
{

QZInt64 NarrowToWide(const char* text, QZInt64 bytes, QZWChar* out, QZInt64 capacity)
{
    if (text == nullptr || bytes <= 0 || bytes > INT_MAX) return 0;
    int size = static_cast<int>(bytes);
    if (out == nullptr) return MultiByteToWideChar(CP_ACP, 0, text, size, nullptr, 0);
    if (capacity <= 0) return 0;
    int limit = capacity > INT_MAX ? INT_MAX : static_cast<int>(capacity);
    int written = MultiByteToWideChar(CP_ACP, 0, text, size, out, limit);
    if (written != 0 || ::GetLastError() != ERROR_INSUFFICIENT_BUFFER) return written;
    // The text is too long for the target: converts as many whole characters as fit.
    int used = 0;
    int units = 0;
    while (used < size)
    {
        int step = IsDBCSLeadByteEx(CP_ACP, static_cast<BYTE>(text[used])) && used + 1 < size ? 2 : 1;
        if (GetACP() == CP_UTF8)
            while (used + step < size && (static_cast<unsigned char>(text[used + step]) & 0xC0) == 0x80)
                ++step;
        wchar_t one[8];
        int count = MultiByteToWideChar(CP_ACP, 0, text + used, step, one, 8);
        if (count <= 0 || units + count > limit) break;
        for (int i = 0; i < count; ++i) out[units++] = one[i];
        used += step;
    }
    return units;
}

QZInt64 WideToNarrow(const QZWChar* text, QZInt64 units, char* out, QZInt64 capacity)
{
    if (text == nullptr || units <= 0 || units > INT_MAX) return 0;
    int size = static_cast<int>(units);
    if (out == nullptr) return WideCharToMultiByte(CP_ACP, 0, text, size, nullptr, 0, nullptr, nullptr);
    if (capacity <= 0) return 0;
    int limit = capacity > INT_MAX ? INT_MAX : static_cast<int>(capacity);
    int written = WideCharToMultiByte(CP_ACP, 0, text, size, out, limit, nullptr, nullptr);
    if (written != 0 || ::GetLastError() != ERROR_INSUFFICIENT_BUFFER) return written;
    int used = 0;
    int bytes = 0;
    while (used < size)
    {
        int step = IS_SURROGATE_PAIR(text[used], used + 1 < size ? text[used + 1] : 0) ? 2 : 1;
        char one[16];
        int count = WideCharToMultiByte(CP_ACP, 0, text + used, step, one, 16, nullptr, nullptr);
        if (count <= 0 || bytes + count > limit) break;
        for (int i = 0; i < count; ++i) out[bytes++] = one[i];
        used += step;
    }
    return bytes;
}

}  // namespace os
