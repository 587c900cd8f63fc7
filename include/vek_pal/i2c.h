/**
 * One device on the module's I2C bus "/dev/i2c-3", and the interrupts that the kernel announces for it.
 *
 * Threads: a handle is not locked: use it from one thread at a time. The callback runs on the handle's own thread; it
 * may transfer, and it may close the handle.
 */
#ifndef VEK_PAL_I2C_H
#define VEK_PAL_I2C_H

#include <stdint.h>

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/** How a device is addressed. */
typedef struct {
  uint32_t i2c_controller_mode; /**< 0, or 1: interrupts wanted, which needs a callback. */
  uint32_t i2c_bit_rate;        /**< 0 to 2; checked, but the bus keeps its speed. */
  uint16_t slave_address;       /**< Of every transfer. */
  uint32_t
      i2c_address_width; /**< 0 for 7 bits, 1 for 10. The kernel, told the address first, refuses one above 0x7F. */
} vek_pal_i2c_cfg_t;

typedef struct vek_pal_i2c_handle vek_pal_i2c_handle_t;

enum {
  VEK_PAL_I2C_BAD_ARGUMENT = 1402,
  VEK_PAL_I2C_CLOSE_FAILED = 1404,
  VEK_PAL_I2C_READ_FAILED = 1405,
  VEK_PAL_I2C_WRITE_FAILED = 1406
};

/** The most bytes of one read or write. */
#define VEK_PAL_I2C_LENGTH_MAX 5121u

/**
 * Opens the bus for one device and starts the thread that waits for interrupts.
 * @param[in] p_cfg     Copied.
 * @param[in] callback  Called with 0 for each message of the kernel. NULL is allowed in mode 0.
 * @returns the handle, the caller's until vek_pal_i2c_close(); NULL for a configuration out of its ranges, or when the
 *          interrupt line, the bus, the device address, the kernel's messages or a thread are not to be had; the record
 *          says which, and nothing is left open. The kernel's messages go to one handle of the whole system at a time:
 *          a second one is refused.
 */
VEK_PAL_API vek_pal_i2c_handle_t *vek_pal_i2c_open(const vek_pal_i2c_cfg_t *p_cfg, void (*callback)(int event));

/**
 * Reads from the device, in transfers of at most 2048 bytes.
 * @retval 0     Read; `len` 0 reads nothing.
 * @retval 1402  NULL argument, or `len` above 5121.
 * @retval 1405  A transfer failed; `buf` may hold what came before.
 */
VEK_PAL_API int vek_pal_i2c_readBuff(vek_pal_i2c_handle_t *handle, uint8_t *buf, unsigned int len);

/**
 * Writes to the device, in one transfer.
 * @retval 0     Written.
 * @retval 1402  NULL argument, or `len` above 5121.
 * @retval 1406  The transfer failed.
 */
VEK_PAL_API int vek_pal_i2c_writeBuff(vek_pal_i2c_handle_t *handle, const uint8_t *buf, unsigned int len);

/**
 * Closes the device. A callback that is running is waited for, and none begins afterwards; called from the callback
 * itself, the handle ends when that returns.
 * @retval 0     Closed; the handle is gone.
 * @retval 1402  `handle` is NULL.
 * @retval 1404  The bus could not be closed or the thread not be ended; the handle stays.
 */
VEK_PAL_API int vek_pal_i2c_close(vek_pal_i2c_handle_t *handle);

/**
 * Opens the socket on which the kernel's I2C side announces events (netlink, user-socket protocol, port 0xFFFF0010).
 * @param[out] mail_fd  Receives the descriptor, the caller's to close.
 * @retval 0   Open.
 * @retval -1  `mail_fd` is NULL, or the system refused: the port is in use, as a rule.
 */
VEK_PAL_API int vek_pal_i2c_mail_create(int *mail_fd);

/**
 * Makes the interrupt line, GPIO 161, an input, through "/dev/korv_gpio_ctl".
 * @retval 0   Done.
 * @retval -1  The control device cannot be opened or refuses; standard error says why.
 */
VEK_PAL_API int set_i2c_irq_gpio_to_input(void);

#ifdef __cplusplus
}
#endif

#endif
