/**
 * Controls of the module and of its link to the host. (The waits for a refresh of the modem's configuration stand in
 * qmi.h, the power cycle of a SIM in sim.h.)
 *
 * Threads: any; none of these keeps state.
 */
#ifndef VEK_PAL_DEVICE_H
#define VEK_PAL_DEVICE_H

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Reboots at once, without stopping anything ("reboot -f"). @returns what system() returned, if it returns at all. */
VEK_PAL_API int vek_pal_rebootModule(void);

/**
 * Whether the host's operating system is up, seen from the state of the USB device controller.
 * @retval 0  The host has enumerated the module: the state is "configured", "connected" or "addressed", in any case.
 * @retval 1  Any other state, or none to be read: the host is off, asleep or in its firmware.
 */
VEK_PAL_API int vek_pal_below_os_status_check(void);

/** The dual-IPC mode. @returns 4, always. */
VEK_PAL_API int vek_pal_get_dual_ipc_mode(void);

/** Switches the W_DISABLE input off. @retval 0 Done. @retval -1 "/dev/korv_wdis_ctl" cannot be opened or written. */
VEK_PAL_API int vek_pal_disable_w_disable(void);

/** Switches the feature's GPIO group off. @retval 0 Done. @retval -1 "/dev/korv_vyrel_ctl" cannot be opened or written.
 */
VEK_PAL_API int vek_pal_disable_gpio_group(void);

/** Switches the USB port off. @retval 0 Done. @retval -1 The controller's mode file cannot be opened or written. */
VEK_PAL_API int vek_pal_disable_usb(void);

/**
 * Selects a body-SAR index through the module's AT server, "AT+BODYSARON=1,<index>"; only while the host's operating
 * system runs. Waits as vek_pal_at_send() does.
 * @retval 0   The AT server took it.
 * @retval -1  The host is below its operating system (nothing is sent), no exchange, or the answer has an "ERROR".
 */
VEK_PAL_API int vek_pal_sar_index_switch(int index);

#ifdef __cplusplus
}
#endif

#endif
