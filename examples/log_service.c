/* A service that sends the library's diagnostics to syslog and, with a time stamp, to standard error. */
#define _GNU_SOURCE
#include <stdio.h>
#include <string.h>
#include <syslog.h>
#include <time.h>
#include <vrx.h>

/* The C library calls this function with whole lines, because the stream is line-buffered. */
static ssize_t write_lines(void *cookie, const char *text, size_t size) {
    FILE *copy = cookie;
    char now[32];
    struct tm parts;
    const time_t seconds = time(NULL);
    strftime(now, sizeof now, "%Y-%m-%dT%H:%M:%SZ", gmtime_r(&seconds, &parts));
    for (size_t done = 0; done < size;) {
        const char *end = memchr(text + done, '\n', size - done);
        const int length = (int)(end == NULL ? size - done : (size_t)(end - text) - done);
        syslog(LOG_WARNING, "%.*s", length, text + done);
        fprintf(copy, "%s %.*s\n", now, length, text + done);
        done += (size_t)length + 1;
    }
    return (ssize_t)size;
}

/* Call this once, before threads start. The stream remains open until the process ends. */
static int open_log(FILE *copy) {
    static char buffer[1024];
    FILE *log = fopencookie(copy, "w", (cookie_io_functions_t){.write = write_lines});
    if (log == NULL || setvbuf(log, buffer, _IOLBF, sizeof buffer) != 0) return 0;
    vrxflog = log; /* vrx_set_log_file() would close the stream */
    return 1;
}

int main(void) {
    openlog("log_service", LOG_NDELAY, LOG_DAEMON);
    if (!open_log(stderr)) return 1;
    TZ_by_name("tz_z"); /* a failure: no table has this name */
    return 0;
}
