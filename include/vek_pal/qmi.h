/**
 * The modem's QMI clients that the library's own services share, and how the outcome of a request is judged and logged.
 *
 * Each client is opened when it is first needed and lives for the process: its handle stays good through every restart
 * of the modem, and its client id goes back to the modem when the process exits normally. A client that cannot be
 * opened is tried again at the next call.
 *
 * Threads: any thread may call any of these at any time. Two that need the same client at once open it once.
 */
#ifndef VEK_PAL_QMI_H
#define VEK_PAL_QMI_H

#include <stdint.h>

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/** A client of one QMI service; NULL is none. */
typedef struct qmi_client_struct *vek_pal_qmi_client_t;

/**
 * Opens the client of the device management service, waiting at most 3 s for the modem.
 * @retval 0   Open, or open already (which leaves the record "dms client already initialized. Handle %d.").
 * @retval -1  The service is absent or the modem gives no client; the record tells which.
 */
VEK_PAL_API int vek_pal_qmi_device_client_init(void);

/** The device management client, opened first if need be. @returns NULL when that fails. */
VEK_PAL_API vek_pal_qmi_client_t vek_pal_qmi_get_dms_client(void);

/**
 * Opens a client of the data service, waiting at most 10 s for the modem.
 * @param[in] index  0: IPv4 sessions and all profiles; 1: IPv6 sessions.
 * @retval 0   Open, or open already.
 * @retval -1  No such index, the service is absent, or the modem gives no client.
 */
VEK_PAL_API int vek_pal_qmi_wds_client_init(unsigned index);

/** The data client of an index (0 or 1), opened first if need be. @returns NULL when that fails, or for another index.
 */
VEK_PAL_API vek_pal_qmi_client_t vek_pal_qmi_get_wds_client(unsigned index);

/** The network access client, opened first if need be (at most 10 s). @returns NULL when that fails. */
VEK_PAL_API vek_pal_qmi_client_t vek_pal_qmi_get_nas_client(void);

/** The SIM client, opened first if need be (at most 3 s). @returns NULL when that fails. */
VEK_PAL_API vek_pal_qmi_client_t vek_pal_qmi_get_uim_client(void);

/**
 * Judges one synchronous request and writes the one record about it, tag "QMI": "... sent to Modem successfully", or
 * "Sending
 * ... failed: rc=... " with all three numbers.
 * @param[in] message  The message's name, for the record.
 * @param[in] rc       How the exchange went: 0 answered, -1 internal, -2 no service, -3 time-out. With -43, -48 and -50
 * a second record says that modem and library do not agree on the message.
 * @param[in] result   The response's result: 0 success.
 * @param[in] error    The response's error.
 * @retval 0   `rc` and `result` are 0.
 * @retval -1  Otherwise.
 */
VEK_PAL_API int vek_pal_qmi_check_response(const char *message, int rc, int result, int error);

/** A data session's status as the library counts: 2 connected, 3 suspended, 1 for 4 (authenticating), 0 for anything
 * else. */
VEK_PAL_API int vek_pal_qmi_wds_convert_connect_state(int status);

/**
 * Indications of the configuration service: the modem begins (state 1) or has completed (state 2) a refresh of its
 * configuration; the latter ends vek_pal_wait_mbn_refresh_sem(). Given to the modem by
 * vek_pal_qmi_pdc_event_register(); runs on the receive thread. Any other indication only leaves a record.
 */
VEK_PAL_API void vek_pal_pdc_qmi_ind_cb(vek_pal_qmi_client_t handle, unsigned msg_id, void *ind_buf,
                                        unsigned ind_buf_len, void *ind_cb_data);

/**
 * Asks the modem to report refreshes of its configuration; after a restart of the modem the library asks again by
 * itself.
 * @retval 0   The modem will report.
 * @retval -1  No client, or the modem refused; the record tells which.
 */
VEK_PAL_API int vek_pal_qmi_pdc_event_register(void);

/** Forgets what was reported, so that vek_pal_wait_mbn_refresh_sem() waits for the next refresh. */
VEK_PAL_API void vek_pal_clear_mbn_refresh_status(void);

/**
 * Waits until a refresh of the modem's configuration is complete: returns at once when one was reported complete since
 * the last vek_pal_clear_mbn_refresh_status(), and after 10 s in any case. Needs vek_pal_qmi_pdc_event_register()
 * before.
 */
VEK_PAL_API void vek_pal_wait_mbn_refresh_sem(void);

#ifdef __cplusplus
}
#endif

#endif
