/**
 * The data call: from an APN to an addressed, routed network interface, and back.
 *
 * The interface is "rmnet_data0", always. Each IP family is a session of its own with the network, and a call of both
 * families succeeds when one of them comes up.
 */
#ifndef VEK_PAL_DATA_H
#define VEK_PAL_DATA_H

#include <stdint.h>

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Values of `pdp_type`. */
enum { VEK_PAL_PDP_IPV4 = 1, VEK_PAL_PDP_IPV6 = 2, VEK_PAL_PDP_IPV4V6 = 3 };

/** Values of `auth_type`: how the user name and the password are sent. */
enum { VEK_PAL_AUTH_NONE = 0, VEK_PAL_AUTH_PAP = 1, VEK_PAL_AUTH_CHAP = 2, VEK_PAL_AUTH_PAP_OR_CHAP = 3 };

/** What vek_pal_data_conn_sync() is asked for. Texts end with a zero byte; of a text without one, 127 bytes count. */
typedef struct {
  char apn_name[128];
  char user_name[128];
  char password[128];
  int32_t auth_type; /**< For a profile that has to be made; an existing profile keeps its own. */
  int32_t pdp_type;  /**< The families to start. Below 1 starts IPv4 and then fails, above 3 starts none and fails. */
} vek_pal_data_conn_request;

/**
 * What the network gave. Addresses are in network order, ready for inet_ntop(); what the network did not give is 0.
 */
typedef struct {
  uint32_t profile_index; /**< The modem's profile that was used. */
  uint32_t ipv4_address;
  uint32_t ipv4_primary_dns, ipv4_secondary_dns;
  uint8_t ipv6_address[16], ipv6_primary_dns[16], ipv6_secondary_dns[16];
  char interface_name[16]; /**< "rmnet_data0" */
  uint32_t ipv4_gateway, ipv4_subnet_mask;
  uint8_t ipv6_gateway[16];
  uint32_t ipv6_prefix_length;
  uint32_t mtu; /**< The network's. The interface is set to 1340 whatever it says. */
  uint8_t reserved[68];
} vek_pal_data_conn_info;

/**
 * Brings the data call up and waits until it can be used: finds the profile of the APN (case ignored) or makes one,
 * starts the sessions, waits for the interface to carry an address, adds the default routes, sets the MTU and puts the
 * name servers at the top of /etc/resolv.conf.
 * @param[in]  request  Copied; the caller's.
 * @param[out] info     The caller's. Cleared at the start; filled in one go, and only on success.
 * @retval 0   Up.
 * @retval -1  The records say which: an argument is NULL; the profiles cannot be read or made; no wanted family came
 *             up; the interface got no address in 14 looks 5 s apart; `pdp_type` is not 1 to 3. What was done by then
 *             stays, a started session included: vek_pal_data_conn_release() takes it down.
 *
 * Takes seconds as a rule; at the worst each family 60 s of waiting for the network beside the modem's own time-outs,
 * then 70 s for the interface. A family that is already up is used as it is.
 *
 * Threads: one thread in the process calls this or vek_pal_data_conn_release() at a time. Cancelling it leaves what was
 * done by then.
 */
VEK_PAL_API int vek_pal_data_conn_sync(const vek_pal_data_conn_request *request, vek_pal_data_conn_info *info);

/**
 * Takes the data call down: the IPv4 session, then the IPv6 session, those that are up. The deactivation callback is
 * not called for it. Routes go with the interface; /etc/resolv.conf keeps its lines.
 * @param[in] info  What vek_pal_data_conn_sync() filled; only looked at for being there.
 * @retval 0   Down. A modem that does not confirm within 60 s a family counts as done, with a record.
 * @retval -1  `info` is NULL, no session is up (one that the network ended is not), or the modem refused to stop one.
 *
 * Threads: as for vek_pal_data_conn_sync().
 */
VEK_PAL_API int vek_pal_data_conn_release(const vek_pal_data_conn_info *info);

/**
 * Registers who is told that the network ended a session. With both families up, each that ends is one call. A modem
 * that restarts ends them too.
 * @param[in] callback  Replaces the one before. Runs on a thread of the library: it must return soon and must not wait
 *                      for the modem.
 * @param[in] user      Handed to the callback.
 * @retval 0   Registered, for calls that are up already as well.
 * @retval -1  `callback` is NULL; the one before stays.
 *
 * Threads: any.
 */
VEK_PAL_API int vek_pal_data_connection_deactivated_regisetr(void (*callback)(void *user), void *user);

/**
 * Bytes that went through a virtual network interface since it exists, as the kernel counts them.
 * @param[in]  name  For instance "rmnet_data0".
 * @param[out] tx    Bytes sent.    @param[out] rx  Bytes received. Both are written, or none.
 * @retval 0   Read.
 * @retval -1  An argument is NULL, `name` cannot be an interface's, or there is no such interface.
 *
 * Threads: any.
 */
VEK_PAL_API int vek_pal_get_traffic_by_interface_name(const char *name, uint64_t *tx, uint64_t *rx);

/**
 * Dotted text of an IPv4 address in network order.
 * @param[out] buf   @param[in] size  Room in `buf`: at least 16.
 * @retval 0   Written, with a zero byte.
 * @retval -1  `buf` is NULL or too small; nothing is written. Threads: any.
 */
VEK_PAL_API int vek_pal_covert_ip_to_str(uint32_t ipv4, char *buf, int size);

/**
 * Text of an IPv6 address, RFC 5952.
 * @param[in]  ipv6  16 bytes.   @param[out] buf   @param[in] size  Room in `buf`: at least 46.
 * @retval 0   Written, with a zero byte.
 * @retval -1  `ipv6` or `buf` is NULL, or `buf` too small; nothing is written. Threads: any.
 */
VEK_PAL_API int vek_pal_covert_ipv6_to_str(const uint8_t *ipv6, char *buf, int size);

/**
 * Puts name servers at the top of /etc/resolv.conf, the primary first; what the file held follows unchanged. A missing
 * file is made. When /etc/resolv.conf is a symbolic link, the file that it leads to is replaced and the link stays.
 * @param[in] primary, secondary  Addresses as text, of either family. NULL or empty: not given; one must be.
 * @retval 0   Replaced, in one step: a crash leaves the old file or the new one.
 * @retval -1  None given, a text that is no address, or the file cannot be read or replaced; it is then as it was.
 *
 * Threads: any, but of two callers at once one may lose its lines.
 */
VEK_PAL_API int vek_pal_insert_dns_addr_top(const char *primary, const char *secondary);

#ifdef __cplusplus
}
#endif

#endif
