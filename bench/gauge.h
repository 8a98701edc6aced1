/* SPDX-License-Identifier: MIT */
/* Encloses the code that is measured, with a clock and with marks for the tools that count. callgrind writes
   down the instructions in between; strace shows two calls of access(). */
#pragma once

#include <stdio.h> // NOLINT(modernize-deprecated-headers): a C header
#include <sys/resource.h>
#include <time.h> // NOLINT(modernize-deprecated-headers)
#include <unistd.h>
#include <valgrind/callgrind.h>

struct gauge {
    double seconds;
    long switches; /* of all threads of the process, because they had nothing to do */
};

static inline void gauge_add(struct gauge *gauge, int sign)
{
    struct timespec time;
    struct rusage usage;
    clock_gettime(CLOCK_MONOTONIC, &time);
    getrusage(RUSAGE_SELF, &usage);
    gauge->seconds += sign * ((double)time.tv_sec + 1e-9 * (double)time.tv_nsec);
    gauge->switches += sign * usage.ru_nvcsw;
}

static inline void gauge_start(struct gauge *gauge)
{
    CALLGRIND_START_INSTRUMENTATION;
    gauge_add(gauge, -1);
    (void)!access("gauge: start", F_OK);
    CALLGRIND_ZERO_STATS;
}

static inline void gauge_stop(struct gauge *gauge)
{
    CALLGRIND_DUMP_STATS;
    (void)!access("gauge: stop", F_OK);
    gauge_add(gauge, 1);
}

/* Ends a measurement, which may have been stopped and started again: prints the figures of one of `count`. */
static inline void gauge_report(const struct gauge *gauge, int count)
{
    printf("%.9f %.3f\n", gauge->seconds / count, (double)gauge->switches / count);
    fflush(stdout);
}
