// Shows the program that this is loaded into a wall clock that is wrong by VORNAK_CLOCK_SHIFT
// seconds: what is defined here is called in place of the C library's.

#include <cstdlib>
#include <ctime>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

long shift()
{
    const char* seconds = std::getenv("VORNAK_CLOCK_SHIFT");
    return seconds ? std::atol(seconds) : 0;
}

} // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* time)
{
    const auto result = static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    if (result == 0 && clock == CLOCK_REALTIME)
        time->tv_sec += shift();
    return result;
}

extern "C" int gettimeofday(timeval* time, void*)
{
    timespec now{};
    const int result = clock_gettime(CLOCK_REALTIME, &now);
    time->tv_sec = now.tv_sec;
    time->tv_usec = now.tv_nsec / 1000;
    return result;
}
