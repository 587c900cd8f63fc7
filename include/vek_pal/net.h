/**
 * The mobile network: registration, signal, the serving cell and operator, the radio, and the APN of the LTE attach.
 *
 * Every call here is one question to the modem and waits for its answer, up to 10 s (5 s where the radio is concerned).
 * Outputs are written on success only. Beside the causes given, every call fails with -1 when the modem cannot be
 * reached, does not answer in time, or refuses; a record says which.
 *
 * Threads: any, but not from a callback that has to return soon.
 */
#ifndef VEK_PAL_NET_H
#define VEK_PAL_NET_H

#include <stdint.h>

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
  VEK_PAL_NET_BAD_ARGUMENT = 7 /**< An output pointer is NULL, where 7 is listed. */
};

/** Registration states. */
enum {
  VEK_PAL_NET_DETACHED = 0,  /**< Registered, packet service detached; roaming or not. */
  VEK_PAL_NET_HOME = 1,      /**< Registered and attached. */
  VEK_PAL_NET_SEARCHING = 2, /**< Not registered, or searching. */
  VEK_PAL_NET_DENIED = 3,    /**< Registration denied. */
  VEK_PAL_NET_ROAMING = 4    /**< Registered and roaming. */
};

/**
 * The registration state.
 * @param[out] state  0 to 4, as above. Left as it was, with result 0, when the modem does not know: set it before.
 * @retval 0   Asked.
 * @retval -1  `state` is NULL.
 */
VEK_PAL_API int vek_pal_get_register_state(int *state);

/**
 * Registers who is told of changes of the registration, and has the modem report them. After a restart of the modem
 * they are reported again without further doing.
 * @param[in] callback  Called with a registration state on a thread of the library: it must return soon. It replaces
 *                      the one before. States that the modem does not know are not reported; one may be reported twice.
 * @param[in] user      Handed to the callback, last.
 * @retval 0   Registered.
 * @retval -1  `callback` is NULL (the one before stays), or the modem refused (the callback is kept).
 */
VEK_PAL_API int vek_pal_register_state_indication_register(void (*callback)(int state, void *user), void *user);

/**
 * The received signal strength in dBm. Of several technologies the last counts in the order CDMA, GSM, WCDMA, LTE,
 * TD-SCDMA.
 * @retval 0   `*rssi` is set.
 * @retval 7   `rssi` is NULL.
 * @retval -1  The answer holds none of them.
 */
VEK_PAL_API int vek_pal_get_rssi(int *rssi);

/**
 * The identity of the serving cell.
 * @retval 0   `*cell_id` is set.
 * @retval 7   `cell_id` is NULL.
 * @retval -1  There is no serving cell.
 */
VEK_PAL_API int vek_pal_get_cellid(unsigned *cell_id);

/**
 * The area code of the serving cell: the LTE tracking area, else the WCDMA, else the GSM location area.
 * @retval 0   `*lac` is set.
 * @retval -1  `lac` is NULL, or the answer holds none.
 */
VEK_PAL_API int vek_pal_get_lac(int *lac);

/**
 * The generation of the serving network.
 * @param[out] bearer  4 for LTE and NR, else 3 for WCDMA, else 2 for GSM, else 0.
 * @retval 0   `*bearer` is set.
 * @retval -1  `bearer` is NULL.
 */
VEK_PAL_API int vek_pal_get_current_dataclass(int *bearer);

/**
 * The home country code: the first three digits of the SIM's IMSI.
 * @param[out] mcc  Three digits. No zero byte follows.
 * @retval 0   Read.
 * @retval 7   `mcc` is NULL.
 * @retval -1  The IMSI cannot be read.
 */
VEK_PAL_API int vek_pal_get_mcc_info(char mcc[3]);

/**
 * The network code of the serving network.
 * @param[out] mnc  Room for 6 bytes: two digits, three when the network says that its code has three, and a zero byte.
 * @retval 0   Read.
 * @retval 7   `mnc` is NULL.
 * @retval -1  There is no serving network.
 */
VEK_PAL_API int vek_pal_get_mnc_info(char *mnc);

/**
 * The country and network code of the serving network, as text.
 * @param[out] mcc, mnc  Room for 6 bytes each: three digits; two or three digits, as for vek_pal_get_mnc_info().
 * @retval 0   Read.
 * @retval -1  A pointer is NULL, or there is no serving network.
 */
VEK_PAL_API int vek_pal_get_register_info_str(char *mcc, char *mnc);

/**
 * Whether the radio is on.
 * @param[out] state  1 when the modem is online, 0 in every other operating mode.
 * @retval 0   `*state` is set.
 * @retval -1  `state` is NULL, or the answer holds no mode.
 */
VEK_PAL_API int vek_pal_get_radio_state(int *state);

/**
 * Switches the radio.
 * @param[in] state  1: online. Anything else: low power, which ends registration and data calls.
 * @retval 0   Done.
 */
VEK_PAL_API int vek_pal_set_radio_state(int state);

/**
 * Asks for the packet service: the modem attaches.
 * @retval 0   The modem has taken the request.
 */
VEK_PAL_API int vek_pal_ps_attach(void);

/** A profile of the LTE attach. Numbers count as in vek_pal_data_conn_request. */
typedef struct {
  int32_t profile_index;
  char apn_name[128];
  int32_t pdp_type;         /**< 1 IPv4, 2 IPv6, 3 both; 0 for what is none of them */
  int32_t roaming_pdp_type; /**< The type while roaming: `pdp_type`, or 0 when the profile must not be used then. */
  int32_t auth_type;
  char user_name[128];
  char password[128];
} vek_pal_attach_apn_info;

/**
 * The profile that the modem attaches to LTE with: the first of its list.
 * @retval 0   `*info` is filled, its texts with a zero byte.
 * @retval -1  `info` is NULL, or the list or the profile cannot be read, or the list is empty.
 */
VEK_PAL_API int vek_pal_get_attach_apn(vek_pal_attach_apn_info *info);

/**
 * Replaces the profile that the modem attaches to LTE with; it takes effect at once, which may end data calls.
 * @param[in] info  With `profile_index` above 0 that profile is taken as it is and nothing else is read. Else the first
 *                  profile of that APN (case ignored), as it is; without one a profile is made from the APN, the user
 *                  name, the password, `auth_type` and `pdp_type`. `roaming_pdp_type` is never read.
 * @retval 0   Replaced: the list now holds this profile alone.
 * @retval -1  `info` is NULL, or the modem refused a step.
 */
VEK_PAL_API int vek_pal_set_attach_apn(const vek_pal_attach_apn_info *info);

/** Does nothing. @returns 0. */
VEK_PAL_API int vek_pal_get_register_info(void);

/** Does nothing. @returns 0. */
VEK_PAL_API int vek_pal_get_pdp_ip_type(void);

#ifdef __cplusplus
}
#endif

#endif
