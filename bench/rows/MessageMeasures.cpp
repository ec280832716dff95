#include "rows/MessageMeasures.h"

#include <csignal>
#include <exception>
#include <limits>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <glog/logging.h>

namespace Bench
{

LogSwitch::LogSwitch(bool isOn) : m_before(FLAGS_minloglevel)
{
    FLAGS_minloglevel = isOn ? google::GLOG_INFO : google::GLOG_FATAL;
}

LogSwitch::~LogSwitch()
{
    FLAGS_minloglevel = m_before;
}

Meeting::Meeting() : m_there(m_directory.Fifo("there")), m_back(m_directory.Fifo("back")), m_sockets{-1, -1}
{
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, m_sockets) != 0)
    {
        throw std::runtime_error("no sockets");
    }
}

Meeting::~Meeting()
{
    for (const int socket : m_sockets)
    {
        if (socket != -1)
        {
            ::close(socket);
        }
    }
}

int Meeting::TakeSocket(Side side)
{
    ::close(std::exchange(m_sockets[side == Side::Near ? 1 : 0], -1));
    return std::exchange(m_sockets[side == Side::Near ? 0 : 1], -1);
}

ChildProcess::~ChildProcess()
{
    ::close(m_pipe[0]);
    ::waitpid(m_process, nullptr, 0);
}

bool ChildProcess::Fork()
{
    if (::pipe(m_pipe) != 0)
    {
        throw std::runtime_error("no pipe");
    }
    m_process = ::fork();
    if (m_process == -1)
    {
        throw std::runtime_error("no process");
    }
    ::close(std::exchange(m_pipe[m_process == 0 ? 0 : 1], -1));
    return m_process == 0;
}

void ChildProcess::RunAndExit(const std::function<void()>& work)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    try
    {
        work();
    }
    catch (const std::exception&)
    {
        ::_exit(1);
    }
    ::_exit(0);
}

void ChildProcess::Report(ioSize number) const
{
    // The parent notices when no report arrives.
    static_cast<void>(::write(m_pipe[1], &number, sizeof(number)) == sizeof(number));
}

ioSize ChildProcess::Result() const
{
    ioSize number = 0;
    return ::read(m_pipe[0], &number, sizeof(number)) == sizeof(number) ? number : std::numeric_limits<ioSize>::max();
}

}  // namespace Bench
