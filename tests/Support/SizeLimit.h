#pragma once

#include <csignal>
#include <sys/resource.h>

/// While it is alive, no file of this process grows beyond `bytes`. A stream sees a full disk, but with the error
/// EFBIG.
class SizeLimit
{
public:
    explicit SizeLimit(rlim_t bytes)
    {
        struct sigaction ignore = {};
        ignore.sa_handler = SIG_IGN;
        ::sigaction(SIGXFSZ, &ignore, &m_action);
        ::getrlimit(RLIMIT_FSIZE, &m_limit);
        const rlimit limit{bytes, m_limit.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~SizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_limit);
        ::sigaction(SIGXFSZ, &m_action, nullptr);
    }
    SizeLimit(const SizeLimit&) = delete;
    SizeLimit& operator=(const SizeLimit&) = delete;

private:
    struct sigaction m_action = {};
    rlimit m_limit = {};
};
