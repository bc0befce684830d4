/* For the test of log_service: a syslog() that writes priority and text to the file LOG_SERVICE_SYSLOG. */
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <syslog.h>

static void record(int priority, const char* format, va_list arguments) {
    FILE* file = fopen(getenv("LOG_SERVICE_SYSLOG"), "a");
    if (file == NULL) abort();
    fprintf(file, "%d ", priority);
    vfprintf(file, format, arguments);
    fputc('\n', file);
    fclose(file);
}

void syslog(int priority, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    record(priority, format, arguments);
    va_end(arguments);
}

/* Programs that are compiled with _FORTIFY_SOURCE call this function. */
void __syslog_chk(int priority, int flag, const char* format, ...);
void __syslog_chk(int priority, int flag, const char* format, ...) {
    va_list arguments;
    (void)flag;
    va_start(arguments, format);
    record(priority, format, arguments);
    va_end(arguments);
}
