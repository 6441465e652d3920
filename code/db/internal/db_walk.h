#ifndef QZLIB_DB_WALK_H
#define QZLIB_DB_WALK_H

#include "sys/sys_types.h"

/// Ends a walk along links that would go round for ever in a damaged file.
///
/// Remembers one place and compares every further one with it; the remembered place moves on after 1, 2, 4,
/// ... steps, so any circle is met within a few rounds, without memory. A walk that ends by itself is never
/// cut short.
class QZDbWalk
{
public:
    /// After Enter returned false: the number of steps of the circle. A walk of a given number of steps skips
    /// the full rounds and so ends where it would have ended.
    QZInt64 Round() const { return static_cast<QZInt64>(m_steps - (m_turn - 1) / 2); }

    /// Notes the next place of the walk. False when the walk has been there.
    bool Enter(QZInt64 address)
    {
        if (m_steps != 0 && address == m_mark) return false;
        if (m_steps++ == m_turn)
        {
            m_mark = address;
            m_turn = m_turn * 2 + 1;
        }
        return true;
    }

    /// For a walk of a given number of steps: notes the next place and, when the walk comes to one again,
    /// takes the full rounds off *steps. Returns false when no step is left then.
    bool EnterCounted(QZInt64 address, QZInt64* steps)
    {
        if (m_goesRound || Enter(address)) return true;
        m_goesRound = true;
        *steps %= Round();
        return *steps != 0;
    }

private:
    QZInt64 m_mark = 0;
    QZUInt64 m_steps = 0;
    QZUInt64 m_turn = 0;
    bool m_goesRound = false;
};

#endif
