#pragma once

#include <QtGlobal>

#include <csignal>
#include <sys/resource.h>

/// No file can grow beyond the limit while this lives, as on a full disk. Not on Windows.
class FullDisk
{
public:
    explicit FullDisk(rlim_t limit)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit now{limit, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &now);
    }
    ~FullDisk() { setrlimit(RLIMIT_FSIZE, &m_before); }
    Q_DISABLE_COPY_MOVE(FullDisk)

private:
    rlimit m_before{};
};
