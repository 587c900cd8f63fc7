/**
 * Sockets for IPv4 and IPv6 in one vocabulary: the family is a number (`ip_type`), an address is its raw bytes in
 * network order (4 for IPv4, 16 for IPv6, at any alignment), a port is in host order.
 *
 * Descriptors are the caller's throughout: nothing here closes one. A call that a signal interrupts fails with -1.
 *
 * Threads: any; nothing here keeps state. Nothing here raises SIGPIPE.
 */
#ifndef VEK_PAL_SOCKET_H
#define VEK_PAL_SOCKET_H

#include <stdint.h>

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
  VEK_PAL_SOCKET_BAD_ARGUMENT = 7,
  VEK_PAL_SOCKET_NULL_POINTER = 8,
  VEK_PAL_SOCKET_NOT_RESOLVED = 1502,
  VEK_PAL_SOCKET_NO_ADDRESS = 1503
};

/** Address families, the values of every `ip_type`. */
typedef enum {
  VEK_PAL_IP_TYPE_IPV4 = 0,
  VEK_PAL_IP_TYPE_IPV6 = 1,
  VEK_PAL_IP_TYPE_UNSPEC = 2 /**< Either; for vek_pal_getaddrinfo() alone. */
} vek_pal_ip_type_t;

/** The most addresses that vek_pal_getaddrinfo() gives. */
#define VEK_PAL_ADDRESSES_MAX 5

/** A resolved address. */
typedef struct {
  uint8_t addr[16]; /**< network order; IPv4 in the first 4 bytes, the others are not written then */
  uint16_t port;    /**< host order */
  uint8_t family;   /**< 2 IPv4, 10 IPv6 */
  uint8_t reserved; /**< not written */
} vek_pal_sockaddr_t;

/**
 * Opens a socket.
 * @param[in] sock_type  0 stream, 1 datagram.
 * @returns the descriptor; 7 for another `ip_type` or `sock_type` (a descriptor can be 7 too: check the arguments
 *          beforehand); -1 when the system refuses, as it does for `ip_type` 2.
 */
VEK_PAL_API int vek_pal_socket_create(int ip_type, int sock_type);

/**
 * Address text to raw bytes.
 * @param[out] dst  4 or 16 bytes.
 * @retval 0   Written.
 * @retval 7   `ip_type` is invalid, or `src` or `dst` is NULL.
 * @retval -1  The text is no address of the family; none is for `ip_type` 2.
 */
VEK_PAL_API int vek_pal_inet_pton(int ip_type, const char *src, void *dst);

/**
 * Raw address to text.
 * @param[out] dst   `size` bytes: 16 are enough for IPv4, 46 for IPv6.
 * @returns `dst`; NULL for an invalid `ip_type`, NULL pointers, a negative or too small `size`, and `ip_type` 2.
 */
VEK_PAL_API const char *vek_pal_inet_ntop(int ip_type, const void *src, char *dst, int size);

/**
 * Resolves a host name. Waits for the resolver.
 * @param[in]  port    Repeated in each result; NULL gives 0.
 * @param[out] result  VEK_PAL_ADDRESSES_MAX entries. **Clear them first**: how many are set is not returned, and the
 * first with `family` 0 ends the list. A name with several socket types has each address several times.
 *
 * @retval 0     At least one address.
 * @retval 8     `hostname` or `result` is NULL.
 * @retval 1502  The name is not resolved, or `ip_type` is invalid.
 * @retval 1503  The name has no IPv4 or IPv6 address.
 */
VEK_PAL_API int vek_pal_getaddrinfo(const char *hostname, const uint16_t *port, vek_pal_sockaddr_t *result,
                                    int ip_type);

/**
 * Connects a socket.
 * @retval 0   Connected.
 * @retval 7   `sockfd` is negative.
 * @retval 8   `ip_addr` is NULL.
 * @retval -1  `ip_type` is neither 0 nor 1, or the system refused.
 */
VEK_PAL_API int vek_pal_socket_connect(int sockfd, const void *ip_addr, uint16_t port, int ip_type);

/**
 * Binds a socket to an IPv4 address. It is **IPv4 only**: of a longer address the first 4 bytes are taken, and an IPv6
 * socket is refused.
 * @retval 0   Bound.
 * @retval 8   `ip_addr` is NULL.
 * @retval -1  The system refused.
 */
VEK_PAL_API int vek_pal_socket_bind(int sockfd, const void *ip_addr, uint16_t port);

/**
 * Sends bytes to an address.
 * @returns how many were sent; 8 when `ip_addr` or `data` is NULL (8 sent bytes look the same: check the pointers
 *          beforehand); -1 when `ip_type` is neither 0 nor 1, `len` is negative or the system refused.
 */
VEK_PAL_API int vek_pal_socket_sendto(int sockfd, const void *data, int len, const void *ip_addr, uint16_t port,
                                      int ip_type);

/**
 * Receives bytes from whoever sends; **the sender is not told**. `ip_addr`, `port` and `ip_type` must be as for sending
 * and have no further meaning.
 * @param[out] buf  `len` bytes.
 * @returns how many were received, 0 at the end of a stream; otherwise as for vek_pal_socket_sendto().
 */
VEK_PAL_API int vek_pal_socket_recvfrom(int sockfd, void *buf, int len, const void *ip_addr, uint16_t port,
                                        int ip_type);

#ifdef __cplusplus
}
#endif

#endif
