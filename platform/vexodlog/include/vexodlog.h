/*
 * The controller's log, as far as libraries use it: one call that takes a finished line.
 *
 * Lines go to standard error (the default) or to syslog. A threshold drops what nobody wants to
 * read; callers that format their lines at some cost ask vexoThreshold() first.
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
 * lines of several processes never mix. In syslog the severities map to LOG_CRIT, LOG_ERR,
 * LOG_WARNING, LOG_INFO and LOG_DEBUG, facility LOG_DAEMON; the line is "<module> <text>". errno is
 * left as it was.
 * Returns 1 when the line was kept and written, 0 when the threshold dropped it, -1 when it could
 * not be written.
 */
int vexoprintf(int severity, int module, const char* text);

/* The least severe severity that is kept; 0 when every line is dropped. Costs one relaxed load. */
int vexoThreshold(void);

/* Sets the threshold: 0 (drop everything) to 5 (keep everything), clamped. Initially VEXO_ERROR. */
void vexoSetThreshold(int severity);

/* Directs kept lines; syslog lines carry ident (copied, up to 63 bytes), or "cimgate" when it is
 * NULL. */
void vexoSetTarget(enum VexoTarget target, const char* ident);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif
