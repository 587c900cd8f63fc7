/**
 * The client of the module's AT server: one shared connection to 127.0.0.1 port 40096, opened when first needed, over
 * which callers take turns with whole exchanges.
 *
 * Threads: any thread may call any of these at any time; an exchange that is under way is finished first. A thread is
 * not cancelled inside them.
 */
#ifndef VEK_PAL_AT_CLIENT_H
#define VEK_PAL_AT_CLIENT_H

#include <stdint.h>

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

enum { VEK_PAL_AT_NO_MEMORY = 3 };

/**
 * Connects, if there is no connection: up to 30 attempts, 100 ms apart.
 * @retval 0   Also when every attempt failed: vek_pal_at_send() tries again and reports it.
 * @retval -1  The mutex that serialises the exchanges cannot be made.
 */
VEK_PAL_API int vek_pal_ipc_at_clinet_init(void);

/** Closes the connection; the next vek_pal_at_send() opens a new one. @returns 0. */
VEK_PAL_API int vek_pal_at_client_close(void);

/**
 * Sends one AT command line and collects the response: what the server writes until a piece of it, as it is received,
 * contains "OK" or "ERROR", or ten pieces have come. The wait for a piece has no limit.
 *
 * @param[in]  command        Zero-terminated text; sent up to and including its first "\r\n", or whole.
 * @param[in]  command_size   Not 0; the length sent comes from the text.
 * @param[out] response       Cleared over `response_size`, then filled. The text is zero-terminated when it is shorter.
 * @param[in]  response_size  Bytes of `response`. A longer response is cut; more than 6,144 bytes are never kept.
 * @param[out] response_len   Bytes of `response` that were filled, 0 on failure.
 * @retval 0   Answered; the answer may be an ERROR, or ten pieces with neither.
 * @retval 3   No memory for receiving.
 * @retval -1  A NULL or 0 argument, no server (after about 3 s), no memory for collecting, or the connection failed.
 * When the server closes the connection the command is sent again over a new one, at most ten times.
 */
VEK_PAL_API int vek_pal_at_send(const char *command, uint32_t command_size, char *response, uint32_t response_size,
                                uint32_t *response_len);

/**
 * Tells the host the POC state with an unsolicited line: 0 "+GTVYRPOC: DEACTIVE", 1 "+GTVYRPOC: ACTIVE",
 * 2 "+GTVYRPOC: CHECK". Any other state sends nothing. A failed sending only leaves a record.
 */
VEK_PAL_API void vek_pal_dpd_at_process(int32_t state);

/** Logs a buffer, one record a byte: index, hexadecimal value, and the byte as a character. NULL logs the frame only.
 */
VEK_PAL_API void print_hex(const uint8_t *data, uint32_t length);

#ifdef __cplusplus
}
#endif

#endif
