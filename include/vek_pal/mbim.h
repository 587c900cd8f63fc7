/**
 * The bridge to the module's MBIM function, which talks to the host's modem driver: four events from the host reach
 * registered callbacks, unsolicited lines go back.
 *
 * Events arrive as messages of the IPC server (ipc.h): start that first. Callbacks run on its thread, one at a time, in
 * the order of registration; while one runs, no message and no AT command is handled. A message that is too short for
 * its numbers is dropped with a record.
 *
 * Threads: register at start-up. The two send functions may be called from any thread; each opens a connection of its
 * own to "/dev/socket/korv_qbi_domain_socket" and waits as long as the MBIM function does not read.
 */
#ifndef VEK_PAL_MBIM_H
#define VEK_PAL_MBIM_H

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Message ids of the events. */
enum {
  VEK_PAL_MBIM_CONNECT_STATUS = 0,   /**< int32_t status, then the APN text. */
  VEK_PAL_MBIM_SIM_PIN_STATUS = 1,   /**< int32_t status, then the PIN text. */
  VEK_PAL_MBIM_SIM_SLOT_MAPPING = 2, /**< int32_t operation, int32_t SIM id. */
  VEK_PAL_MBIM_OPEN_STATUS = 3       /**< int32_t status. */
};

/** Hears that the host opened or closed the MBIM function. */
typedef void (*vek_pal_mbim_open_status_callback)(int mbim_status, void *user);
/** Hears of a PIN operation of the host. `pin_code` is valid during the call and may be empty. */
typedef void (*vek_pal_mbim_simpin_status_callback)(int pin_status, const char *pin_code, void *user);
/** Hears that the host asked for (`opt`) or changed the mapping of the SIM slots. */
typedef void (*vek_pal_mbim_sim_slot_mapping_callback)(int opt, int sim_id, void *user);
/** Hears that the host connected or disconnected. `apn` is valid during the call and may be empty. */
typedef void (*vek_pal_mbim_connect_status_callback)(int status, const char *apn, void *user);

/**
 * Has `callback` called, with `user` last, for each open-status event. Registrations stay for the life of the process,
 * and each of several is called.
 * @retval 0   Registered.
 * @retval -1  `callback` is NULL, no memory, or the IPC server's table is full.
 */
VEK_PAL_API int vek_pal_mbim_open_status_indication_register(vek_pal_mbim_open_status_callback callback, void *user);

/** The same for SIM PIN events. @returns 0 or -1 as vek_pal_mbim_open_status_indication_register(). */
VEK_PAL_API int vek_pal_mbim_simpin_status_indication_register(vek_pal_mbim_simpin_status_callback callback,
                                                               void *user);

/** The same for SIM slot mapping events. @returns 0 or -1 as vek_pal_mbim_open_status_indication_register(). */
VEK_PAL_API int vek_pal_mbim_sim_slot_mapping_indication_register(vek_pal_mbim_sim_slot_mapping_callback callback,
                                                                  void *user);

/** The same for connect-status events. @returns 0 or -1 as vek_pal_mbim_open_status_indication_register(). */
VEK_PAL_API int vek_pal_mbim_connect_status_indication_register(vek_pal_mbim_connect_status_callback callback,
                                                                void *user);

/**
 * Tells the MBIM function that the feature is there: sends the 17 characters "VEK_PAL_MBIM_SYNC".
 * @retval 0   Sent.
 * @retval -1  Nobody takes it; the record says why.
 */
VEK_PAL_API int vek_pal_vyrel_mbim_status_sync(void);

/**
 * Sends an unsolicited line to the host: the text as it stands, without terminator, cut to 64 characters.
 * @retval 0   Sent.
 * @retval -1  NULL or empty text, or nobody takes it; the record says why.
 */
VEK_PAL_API int vek_pal_vyrel_mbim_notify_urc(const char *text);

#ifdef __cplusplus
}
#endif

#endif
