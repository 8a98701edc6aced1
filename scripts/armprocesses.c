// SPDX-License-Identifier: MIT
// Preloaded under emulation. Qemu 7.2 passes on that the kernel knows process descriptors, but refuses to start a
// process with one: Qt believes it and can start none. Denied the first, Qt forks.
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <stdarg.h>
#include <sys/syscall.h>
#include <sys/wait.h>

long syscall(long number, ...)
{
    long a[6];
    va_list list;
    va_start(list, number);
    for (int i = 0; i < 6; ++i) {
        a[i] = va_arg(list, long);
    }
    va_end(list);
    if (number == SYS_waitid && a[0] == P_PIDFD) {
        errno = EINVAL;
        return -1;
    }
    long (*const next)(long, ...) = (long (*)(long, ...))dlsym(RTLD_NEXT, "syscall");
    return next(number, a[0], a[1], a[2], a[3], a[4], a[5]);
}
