/*
 * The controller's log, as far as libraries use it: one call that takes a finished line.
 *
 * Lines go to standard error (the default) or to syslog. A threshold drops what nobody wants to
 * read; callers that format their lines at some cost ask vexoThreshold() first. A program may have
 * a filter of its own look at the others, and have a stamp put in front of lines on standard error.
 *
 * Nobody waits for standard error. A line that a pipe, a terminal or a socket does not take at
 * once, because its reader is slow or has stopped, is dropped; ahead of the next line that it
 * takes, this process tells how many were: "0 2 vexodlog: 12 lines were dropped: ...". The
 * inherited descriptor stays as it was: pipes and terminals are opened once more, by way of /proc.
 * Lines to syslog wait as syslog(3) does, for a system log that does not keep up: what must answer
 * in time logs to standard error.
 *
 * Threads: every operation may be called from any thread at any time.
 */
#ifndef VEXODLOG_H_
#define VEXODLOG_H_

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

/* Severities, most severe first. A line is kept when its severity is at or below the threshold. */
enum VexoSeverity {
    VEXO_CRITICAL = 1,
    VEXO_ERROR = 2,
    VEXO_WARNING = 3,
    VEXO_TRACE = 4,
    VEXO_DEBUG = 5
};

/* Where kept lines go. */
enum VexoTarget { VEXO_TARGET_STDERR = 0, VEXO_TARGET_SYSLOG = 1 };

/*
 * Writes one line.
 *   severity  1 (most severe) to 5; anything else is clamped to that range.
 *   module    number of the calling library; printed as it is.
 *   text      NUL-terminated, without a line end; NULL is written as an empty line. A CR or LF
 *             inside it is written as a blank, so that no text can pass for a second line.
 * On standard error a line is written with one write(2): "<module> <severity> <text>\n", so that
 * lines of several processes never mix. A pipe takes no more than PIPE_BUF bytes (4,096) as a
 * whole: a longer line is cut and ends in "...". In syslog the severities map to LOG_CRIT, LOG_ERR,
 * LOG_WARNING, LOG_INFO and LOG_DEBUG, facility LOG_DAEMON; the line is "<module> <text>". errno is
 * left as it was.
 * Returns 1 when the line was kept and written, 0 when the threshold dropped it, -1 when it could
 * not be written.
 */
int vexoprintf(int severity, int module, const char* text);

/*
 * Writes "<text>\n" to standard error in the same way, whatever target, threshold and filter are:
 * what a program has to tell whoever started it. Returns 1, or -1 when it could not be written.
 * vexoPutText() is an error; of vexoPutTextAs() the stamp has this severity.
 */
int vexoPutText(const char* text);
int vexoPutTextAs(int severity, const char* text);

/*
 * Waits until standard error has room for a line, at most timeoutMs: ahead of the last words of a
 * process, which cannot be told later. Returns 1 when there is room, -1 when there is none.
 */
int vexoAwaitRoom(int timeoutMs);

/* The least severe severity that is kept; 0 when every line is dropped. Costs one relaxed load. */
int vexoThreshold(void);

/* Sets the threshold: 0 (drop everything) to 5 (keep everything), clamped. Initially VEXO_ERROR. */
void vexoSetThreshold(int severity);

/*
 * Has each line that the threshold keeps looked at before it is written: where filter returns 0 it
 * is dropped. It is called by whichever thread logs, may itself call vexoPutTextAs(), and must not
 * throw. NULL, which is the default, keeps all.
 */
/* NOLINTNEXTLINE(modernize-use-using): a C interface */
typedef int VexoFilter(int severity, int module, const char* text);
void vexoSetFilter(VexoFilter* filter);

/*
 * What stands in front of each line on standard error: nothing (the default), or, with
 * VEXO_STAMP_AUTO, what goes with whatever standard error is at the time of the line.
 *
 * A stream to the journal gets "<N>", the severity as syslog numbers it, which is how systemd reads
 * it: 2, 3, 4, 6 and 7. It is known by the environment variable JOURNAL_STREAM, which this call
 * reads. All else gets time and process, "2026-11-22T08:10:11.123Z [4711] ".
 */
enum VexoStamp { VEXO_STAMP_NONE = 0, VEXO_STAMP_AUTO = 1 };
void vexoSetStamp(enum VexoStamp stamp);

/* Directs kept lines; syslog lines carry ident (copied, up to 63 bytes), or "cimgate" when it is
 * NULL. */
void vexoSetTarget(enum VexoTarget target, const char* ident);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif
