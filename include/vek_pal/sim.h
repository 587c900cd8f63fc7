/**
 * The SIM: its status, identities and PIN, the two slots and the switch between them, and what changes about them.
 *
 * Questions to the modem wait for its answer, up to 3 s each; the functions that wait longer say so. Outputs are
 * written on success only.
 *
 * Threads: any. Callbacks run on the library's receive thread with no lock held: they may call anything here, but while
 * one runs no other is called, so vek_pal_wait_sim_ready_sem() and vek_pal_sim_slot_switch() hear nothing in there and
 * wait in vain for their whole limit.
 */
#ifndef VEK_PAL_SIM_H
#define VEK_PAL_SIM_H

#include <stdint.h>

#include "vek_pal/export.h"
#include "vek_pal/qmi.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
  VEK_PAL_SIM_BAD_ARGUMENT = 7 /**< A NULL buffer, or a SIM id that is none, where 7 is listed. */
};

/** The SIM's status. */
enum {
  VEK_PAL_SIM_ABSENT = 0,       /**< No usable card: none, one in error, or an application that is not coming up. */
  VEK_PAL_SIM_PIN_REQUIRED = 2, /**< PIN1, or the universal PIN in its place. */
  VEK_PAL_SIM_PUK_REQUIRED = 3,
  VEK_PAL_SIM_NO_PROFILE = 6, /**< The second slot is the active one, and its eSIM has no enabled profile. */
  VEK_PAL_SIM_READY = 7,
  VEK_PAL_SIM_UNKNOWN = 8,       /**< The modem did not say. */
  VEK_PAL_SIM_QUERY_FAILED = 255 /**< The slots could not be asked for. */
};

/** Slots. */
enum {
  VEK_PAL_SIM_FIRST_SLOT = 0,
  VEK_PAL_SIM_SECOND_SLOT = 1,
  VEK_PAL_SIM_NO_SLOT = 255 /**< Neither slot is the active one. */
};

/** What vek_pal_check_sim_protect_event() cannot tell. */
enum { VEK_PAL_SIM_PROTECT_UNKNOWN = 255 };

/** Events of the first slot, as the hot-plug callback gets them. */
enum { VEK_PAL_SIM_PLUG_OUT = 0, VEK_PAL_SIM_PLUG_IN = 1 };

/** What a slot holds. */
enum {
  VEK_PAL_SLOT_NO_CARD = 3,
  VEK_PAL_SLOT_UICC = 5, /**< A plain card. */
  VEK_PAL_SLOT_UNKNOWN = 6,
  VEK_PAL_SLOT_EUICC_WITH_PROFILE = 7,
  VEK_PAL_SLOT_EUICC_WITHOUT_PROFILE = 8
};

/** What a slot switch waits for. */
enum {
  VEK_PAL_SWITCH_WAITS_FOR_CARD = 0, /**< The card: ready, or its PIN or PUK required. */
  VEK_PAL_SWITCH_WAITS_FOR_FIRST_SLOT = 1,
  VEK_PAL_SWITCH_WAITS_FOR_SECOND_SLOT = 2,
  VEK_PAL_SWITCH_WAITS_FOR_NOTHING = 3,
  VEK_PAL_SWITCH_BEGINS = 255
};

/** One slot, as last reported. */
typedef struct {
  int32_t slot_state;  /**< VEK_PAL_SLOT_*; 0 before the first report */
  int32_t card_status; /**< 1 absent, 2 present, 0 unknown */
  uint32_t num_apps;   /**< Applications on the card. */
  uint8_t is_active;
  uint8_t is_euicc;
} vek_pal_slot_info;

/** Both slots, and the switch between them. */
typedef struct {
  vek_pal_slot_info first;
  vek_pal_slot_info second;
  uint8_t sim1_switch_flag; /**< On the way to the first slot, and the second holds a card. */
  uint8_t sim2_switch_flag; /**< On the way to the second slot, and the first holds a card. */
  int32_t switch_wait_type; /**< VEK_PAL_SWITCH_* */
} vek_pal_slot_info_cache;

/**
 * The SIM's status, of the active slot; without an active slot that of the first.
 * @returns VEK_PAL_SIM_*, or -1: no client of the modem, no memory, or the card could not be asked for.
 */
VEK_PAL_API int vek_pal_get_sim_status(void);

/**
 * Returns when the SIM is ready, and after 5 s in any case: ask vek_pal_get_sim_status() which it was. It hears of the
 * SIM only after vek_pal_sim_status_indication_register() or vek_pal_hotplug_status_indication_register(). The thread
 * is not cancelled meanwhile.
 */
VEK_PAL_API void vek_pal_wait_sim_ready_sem(void);

/**
 * Registers who is told of the SIM's status, and has the modem report it. After a restart of the modem the library asks
 * again by itself and tells what it finds, so that a status may come twice.
 * @param[in] callback  Called with the active slot (VEK_PAL_SIM_FIRST_SLOT, _SECOND_SLOT or _NO_SLOT), a status (never
 *                      VEK_PAL_SIM_UNKNOWN) and 0, on a thread of the library: it must return soon. It replaces the one
 *                      before. The slot is known from the first report of the slots on, or from the hot-plug
 *                      registration.
 * @param[in] user      Handed to the callback, last.
 * @retval 0   Registered, also when the modem reports already.
 * @retval -1  `callback` is NULL, no client of the modem, or it refused. The callback before stays.
 */
VEK_PAL_API int vek_pal_sim_status_indication_register(void (*callback)(int slot, int status, int zero, void *user),
                                                       void *user);

/**
 * Registers who is told when a card comes into the first slot or leaves it, and has the modem report it; restarts as
 * above. Comings and goings that a slot switch causes by itself are not told.
 * @param[in] callback  Called with VEK_PAL_SIM_PLUG_IN or VEK_PAL_SIM_PLUG_OUT on a thread of the library: it must
 *                      return soon. It replaces the one before.
 * @param[in] user      Handed to the callback, last.
 * @retval 0   Registered.
 * @retval -1  `callback` is NULL, no client of the modem, or it refused. The callback before stays.
 */
VEK_PAL_API int vek_pal_hotplug_status_indication_register(void (*callback)(int event, void *user), void *user);

/**
 * The subscriber's identity.
 * @param[out] imsi  Room for 16 bytes: 6 to 15 digits and a zero byte.
 * @retval 0   Read.
 * @retval 7   `imsi` is NULL.
 * @retval -1  No client, the file cannot be read (no card, PIN required), or it holds no identity.
 */
VEK_PAL_API int vek_pal_get_imsi(char *imsi);

/**
 * The number of the card in the active slot; of an eSIM that of its enabled profile.
 * @param[out] iccid  Room for 21 bytes: up to 20 digits and a zero byte.
 * @retval 0   Read.
 * @retval 7   `iccid` is NULL.
 * @retval -1  No client, the slots cannot be asked for, no slot is active, or it has no such number.
 */
VEK_PAL_API int vek_pal_get_iccid(char *iccid);

/**
 * The number of the module's eSIM, from the module's AT server ("AT+GTESIMID=1"). Waits as vek_pal_at_send() does.
 * @param[out] eid  Room for 33 bytes: 32 digits and a zero byte.
 * @retval 0   Read.
 * @retval 7   `eid` is NULL.
 * @retval -1  No memory, no exchange, an answer without "OK", or one without 32 digits.
 */
VEK_PAL_API int vek_pal_get_eid(char *eid);

/**
 * The active slot.
 * @retval 0   The first.
 * @retval 1   The second.
 * @retval -1  No client, the slots cannot be asked for, or neither is active.
 */
VEK_PAL_API int vek_pal_get_current_sim_slot(void);

/**
 * Gives PIN1 to the SIM in the active slot.
 * @param[in] pin_code  4 to 8 digits, zero-terminated.
 * @retval 0   The SIM takes it.
 * @retval -1  `pin_code` is NULL or no PIN (nothing is sent, no attempt is lost), no client, or the SIM refuses.
 */
VEK_PAL_API int vek_pal_sim_verify_pin(const char *pin_code);

/**
 * Indications of the SIM service: card status (0x32) and physical slot status (0x48); any other only leaves a record.
 * Given to the modem when the client is opened; runs on the receive thread.
 */
VEK_PAL_API void vek_pal_uim_qmi_ind_cb(vek_pal_qmi_client_t handle, unsigned msg_id, void *ind_buf,
                                        unsigned ind_buf_len, void *ind_cb_data);

/**
 * What is known of the slots. The library keeps it up to date from the first registration, slot report or slot switch
 * on; it is the library's, and changes at any moment.
 */
VEK_PAL_API vek_pal_slot_info_cache *vek_pal_qmi_slot_info_cache_get(void);

/**
 * Puts a slot's state into its record.
 * @retval 1  It was another one before.
 * @retval 0  It was the same, or `slot` is NULL.
 */
VEK_PAL_API int vek_pal_qmi_ext_dssa_slot_status_update_cache(vek_pal_slot_info *slot, int32_t slot_state);

/**
 * Whether the first slot's card-detect line reports a card while the modem finds none: the SIM-protect situation.
 * @retval 1    It is so.
 * @retval 0    It is not, or the modem does not report the line.
 * @retval 255  No client, no memory, or the card could not be asked for.
 */
VEK_PAL_API int vek_pal_check_sim_protect_event(void);

/**
 * Makes a slot the active one and waits until that has taken effect: until its card is ready (or asks for a PIN or PUK)
 * when the slot reports a card number, else until the slot is active; 10 s at most. A request that fails, also because
 * the modem is not there, returns after the 10 s; a switch to the slot that is active already takes until the modem
 * confirms it. It hears of the slots only after one of the registrations. The thread is not cancelled meanwhile.
 * @param[in] slot  VEK_PAL_SIM_FIRST_SLOT or VEK_PAL_SIM_SECOND_SLOT.
 * @retval 0    The modem took the request; whether it took effect in time shows vek_pal_get_current_sim_slot().
 * @retval -1   It did not, no client, `slot` is none, or another switch is under way.
 * @retval 255  The slots could not be asked for.
 */
VEK_PAL_API int vek_pal_sim_slot_switch(int slot);

/**
 * Switches the power of a SIM off and on again, without a pause.
 * @param[in] sim_id  0 for the first slot, 1 for the second.
 * @retval 0   Done.
 * @retval 7   Any other id.
 * @retval -1  No client, or the modem refused one of the two (a SIM that is off already among them).
 */
VEK_PAL_API int vek_pal_resetSIM(int sim_id);

#ifdef __cplusplus
}
#endif

#endif
