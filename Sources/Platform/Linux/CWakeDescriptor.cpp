// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/CWakeDescriptor.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

namespace kor
{
namespace
{

timespec toTimespec(std::chrono::nanoseconds time) noexcept
{
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    return {static_cast<time_t>(seconds.count()), static_cast<long>((time - seconds).count())};
}

}

CWakeDescriptor::CWakeDescriptor()
{
    pollFd = epoll_create1(EPOLL_CLOEXEC);
    wakeFd = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    timerFd = timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC);
    for (const int fd : {wakeFd, timerFd})
    {
        epoll_event readable = {};
        readable.events = EPOLLIN;
        if (pollFd < 0 || fd < 0 || epoll_ctl(pollFd, EPOLL_CTL_ADD, fd, &readable) != 0)
            failure = errno != 0 ? errno : EMFILE;
    }
}

CWakeDescriptor::~CWakeDescriptor()
{
    for (const int fd : {timerFd, wakeFd, pollFd})
        if (fd >= 0)
            close(fd);
}

int CWakeDescriptor::wake() noexcept
{
    if (failure != 0)
        return failure;
    const std::uint64_t one = 1;
    while (write(wakeFd, &one, sizeof(one)) < 0)
    {
        if (errno == EAGAIN)        // the count is full, so it is readable all the same
            return 0;
        if (errno != EINTR)
            return errno;
    }
    return 0;
}

void CWakeDescriptor::setDeadline(CTime deadline) noexcept
{
    itimerspec setting = {};
    // All zero turns the timer off, so a deadline at the clock's start is one nanosecond later.
    if (deadline != never)
        setting.it_value = toTimespec(std::max(std::chrono::nanoseconds(1), std::chrono::nanoseconds(
                                                                               deadline.time_since_epoch())));
    timerfd_settime(timerFd, TFD_TIMER_ABSTIME, &setting, nullptr);
}

void CWakeDescriptor::clear() noexcept
{
    std::uint64_t count;
    for (const int fd : {wakeFd, timerFd})
        while (read(fd, &count, sizeof(count)) < 0 && errno == EINTR)
            continue;
}

void CWakeDescriptor::wait(double seconds) noexcept
{
    constexpr double longest = 1e6;         // far below what a timespec holds; the caller sees that it is early
    const timespec limit = toTimespec(std::chrono::duration_cast<std::chrono::nanoseconds>(
        std::chrono::duration<double>(std::clamp(seconds, 0.0, longest))));
    pollfd watched = {pollFd, POLLIN, 0};
    // A signal handler's interruption ends the sleep early, which callers bear.
    ppoll(&watched, 1, &limit, nullptr);
}

}
