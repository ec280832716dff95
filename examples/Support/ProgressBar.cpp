#include <Support/ProgressBar.h>

#include <algorithm>
#include <iostream>
#include <string>
#include <unistd.h>

#include <Support/Program.h>

namespace Examples
{
namespace
{

constexpr std::size_t kWidth = 40;
constexpr std::chrono::milliseconds kInterval(100);

}  // namespace

ProgressBar::ProgressBar(Tarsel::Core::ioSize total)
    : m_shown(::isatty(STDERR_FILENO) == 1 && !IsVerbose()), m_total(total), m_nextDrawing(Clock::now())
{
}

ProgressBar::~ProgressBar()
{
    if (m_shown)
    {
        std::cerr << "\r\033[K";
    }
}

void ProgressBar::Advance(Tarsel::Core::ioSize amount)
{
    m_done += amount;
    const Clock::time_point now = Clock::now();
    if (m_shown && now >= m_nextDrawing)
    {
        m_nextDrawing = now + kInterval;
        Draw();
    }
}

void ProgressBar::Draw() const
{
    const double share = m_done < m_total ? static_cast<double>(m_done) / static_cast<double>(m_total) : 1.0;
    const auto filled = static_cast<std::size_t>(share * kWidth);
    std::cerr << "\r[" + std::string(filled, '#') + std::string(kWidth - filled, ' ') + "] " +
                     std::to_string(static_cast<int>(share * 100)) + " %";
}

}  // namespace Examples
