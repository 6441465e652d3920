#include "net/internal/net_http_sending.h"

namespace http
{
namespace
{
thread_local bool t_headOnly = false;
}  // namespace

HeadOnly::HeadOnly(bool wanted) : m_before(t_headOnly) { t_headOnly = wanted; }
HeadOnly::~HeadOnly() { t_headOnly = m_before; }
bool HeadOnly::IsWanted() { return t_headOnly; }
}  // namespace http
