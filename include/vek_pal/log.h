/**
 * Logging and log files.
 *
 * Every record goes to the diagnostic channel. When the file-logging switch (settings item 241) is on, the library's
 * own records also go to "/vyrel_current_log.txt", timestamped, flushed and synced one by one; past 1 MiB that file
 * moves to
 * "/vyrel_previous_log.txt" and the one before to "/vyrel_oldest_log.txt".
 *
 * Threads: the library's records and the hex dumps are serialised by `vek_log_mutex` and may come from any thread.
 * vek_pal_log() and the six functions above it take no lock: two threads in them at once may mix their text.
 */
#ifndef VEK_PAL_LOG_H
#define VEK_PAL_LOG_H

#include <pthread.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Log levels. A record is written when its level is at most the current level, which starts at VEK_PAL_LOG_TRACE. */
enum {
  VEK_PAL_LOG_FATAL = 0,
  VEK_PAL_LOG_ERROR = 1,
  VEK_PAL_LOG_WARNING = 2,
  VEK_PAL_LOG_INFO = 3,
  VEK_PAL_LOG_DEBUG = 4,
  VEK_PAL_LOG_TRACE = 5
};

/** Serialises the library's records, the log file and its rotation. */
extern VEK_PAL_API pthread_mutex_t vek_log_mutex;
/** The record being written, zero-terminated. The library's own records use it under `vek_log_mutex` only. */
extern VEK_PAL_API char print_buf[1024];
/** The chunk that vek_pal_log() hands to the diagnostic channel: at most 512 characters and a terminator. */
extern VEK_PAL_API char log_print[513];
/** 1: records also go to the log file. Loaded by vek_pal_log_init(). */
extern VEK_PAL_API uint8_t vek_pal_file_logging_enable;
/** The open current log file, or NULL. Owned by the library. */
extern VEK_PAL_API FILE *vek_pal_log_fd;

/**
 * Opens the diagnostic channel and, when settings item 241 asks for it, starts a new log file: the root file system is
 * remounted writable ("mount -o remount rw /") and the older files move down. Call it once, at the start of the
 * process.
 *
 * @returns 0, or a positive number when item 241 cannot be read: "read vyrel file logging nvm fail" stands on standard
 *          output then, file logging stays off and the diagnostic channel works.
 */
VEK_PAL_API int vek_pal_log_init(void);

/** Does nothing: the log file stays open until the process exits. @returns 0. */
VEK_PAL_API int vek_pal_log_close(void);

/**
 * Sets the current level. Any thread; other threads see it with their next record.
 * @retval 0   Set.
 * @retval -1  `level` is above 5; the level stays as it was.
 */
VEK_PAL_API int vek_pal_log_set_level(unsigned level);

/** The current level, 0 to 5. Any thread. */
VEK_PAL_API unsigned vek_pal_log_get_level(void);

/** 1 when a record of `level` would be written, else 0. Any thread. */
VEK_PAL_API int vek_pal_log_should_log(unsigned level);

/** Writes a record of level fatal through vek_pal_log(), when the level lets it through. `fmt` is as for printf. */
VEK_PAL_API void vek_pal_logf(const char *tag, const char *fmt, ...) __attribute__((format(printf, 2, 3)));
/** The same at level error. */
VEK_PAL_API void vek_pal_loge(const char *tag, const char *fmt, ...) __attribute__((format(printf, 2, 3)));
/** The same at level warning. */
VEK_PAL_API void vek_pal_logw(const char *tag, const char *fmt, ...) __attribute__((format(printf, 2, 3)));
/** The same at level info. */
VEK_PAL_API void vek_pal_logi(const char *tag, const char *fmt, ...) __attribute__((format(printf, 2, 3)));
/** The same at level debug. */
VEK_PAL_API void vek_pal_logd(const char *tag, const char *fmt, ...) __attribute__((format(printf, 2, 3)));
/** The same at level trace. */
VEK_PAL_API void vek_pal_logt(const char *tag, const char *fmt, ...) __attribute__((format(printf, 2, 3)));

/**
 * Writes "[%8s] " with the tag and then the message to the diagnostic channel, in chunks of 512 characters; never to
 * the log file, without a timestamp and without looking at the current level. Text beyond 1020 characters is cut.
 *
 * @param[in] level  Picks the diagnostic mask; any number is taken.
 * @param[in] tag    Module tag; NULL or empty is "UNKNOWN".
 * @param[in] fmt    As for vprintf.
 * @returns the diagnostic channel's result for the last chunk.
 *
 * Takes no lock: two threads in it at once may mix their text, and nothing worse.
 */
VEK_PAL_API int vek_pal_log(unsigned level, const char *tag, const char *fmt, va_list args)
    __attribute__((format(printf, 3, 0)));

/**
 * Starts a new current log file: the oldest is removed, the previous becomes the oldest, the current the previous.
 * Says on standard output what it did: "vyrel log file disable" when `vek_pal_file_logging_enable` is 0,
 * "Created %s vyrel log file" or "Unable to create %s vyrel log file". Takes no lock: call it before threads log.
 */
VEK_PAL_API void vek_pal_init_log_file(void);

/** Starts a new current log file when the open one has grown past 0x100000 bytes. Takes no lock, as above. */
VEK_PAL_API void vek_pal_check_if_need_refresh_log_file(void);

/**
 * Dumps bytes as records of level info: 16 a line, with offset, hex and ASCII, at most the first 4096.
 * @param[in] tag,func,line  The caller's, shown in front of each line.
 * @param[in] title          Named in the first record, "dumping '%s' (%u bytes)".
 * @param[in] data           `len` bytes; NULL dumps nothing but the title.
 */
VEK_PAL_API void vek_pal_hexdump(const char *tag, const char *func, int line, const char *title, const void *data,
                                 unsigned len);

/** Dumps bytes as records "%s: %s\n" of level info, 128 bytes a record in hex. Nothing for `len` below 1 or NULL data.
 */
VEK_PAL_API void vek_pal_hex_print(const char *title, const void *data, int len);

/**
 * Dumps bytes as records "str_buf:%s" of level info and tag "NET", 30 bytes a record in hex. More than 128 bytes are
 * dumped too, after a record that says so. Uses 512 bytes of heap during the call.
 */
VEK_PAL_API void VEK_PAL_LOG_DEBUG_HEX(const void *data, unsigned len);

#ifdef __cplusplus
}
#endif

#endif
