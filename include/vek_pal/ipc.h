/**
 * Messages between local processes: one Unix datagram each, a 32-bit message id in host byte order and then the
 * payload.
 *
 * A daemon has one server, on "/data/vek_pal_ipc_server.sock"; its thread calls every callback that is registered for a
 * message's id, one after another. Ids 0 to 3 are the four MBIM events (mbim.h), id 4 is an AT command line (at.h).
 */
#ifndef VEK_PAL_IPC_H
#define VEK_PAL_IPC_H

#include <stdint.h>

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Takes a message.
 * @param[in] msg_id   The id it was registered for.
 * @param[in] payload  What follows the id; readable until the callback returns, a zero byte follows it.
 * @param[in] length   Bytes of payload. Below 0 when the datagram was too short to hold an id: take it as empty.
 * @param[in] user     The word given at registration.
 */
typedef void (*vek_pal_ipc_callback)(int32_t msg_id, void *payload, int32_t length, void *user);

/**
 * Starts the server thread ("ipc thread", 20,480 bytes of stack) and empties the callback table: call it once, before
 * any registration. The thread runs for the life of the process. It takes over a socket file that is there already.
 * @retval 0   The thread runs. Whether it could bind its socket stands in the log: "ipc server listening on %s...".
 * @retval -1  No thread.
 */
VEK_PAL_API int vek_pal_ipc_server_init(void);

/**
 * Has `callback` called for each message of an id, from the next message on. There is room for 16; entries stay for
 * good, and several may have one id. Callbacks run on the server thread and may register more.
 * @param[in] callback   NULL takes no room and is never called.
 * @param[in] user_data  Handed on; must stay valid for the life of the process.
 * @retval 0   Registered.
 * @retval -1  The table is full.
 * Threads: any, also while messages arrive.
 */
VEK_PAL_API int vek_pal_ipc_msg_register_cmd(int32_t msg_id, vek_pal_ipc_callback callback, void *user_data);

/**
 * Sends one message, over a socket of its own, to the Unix socket at a path.
 * @param[in] path         At most 107 characters.
 * @param[in] data,length  The whole message, its id included when the receiver expects one.
 * @param[in] stream       0 sends a datagram; anything else connects a stream and writes the bytes with one send, which
 *                         waits as long as the peer does not read.
 * @retval 0   Handed to the system. A short write is not noticed.
 * @retval -1  NULL or empty argument, path too long, nobody there, or the system refused; the record says which.
 * Threads: any. A peer that has gone raises no SIGPIPE.
 */
VEK_PAL_API int vek_pal_ipc_send_msg(const char *path, const void *data, uint32_t length, uint32_t stream);

#ifdef __cplusplus
}
#endif

#endif
