/**
 * Settings (NV items): small files under "/data/vyrel/", named by logical ids.
 *
 * The table of items is fixed: 56 rows, the first and the last of which only bound the ids. Reads and writes are
 * synchronous and whole-file; when a write returns, the value is on flash.
 *
 * Threads: any. No lock is taken: writers of one item at once race on its file.
 */
#ifndef VEK_PAL_NVM_H
#define VEK_PAL_NVM_H

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
  VEK_PAL_NVM_BAD_ARGUMENT = 7,
  VEK_PAL_NVM_OPEN_FAILED = 702,
  VEK_PAL_NVM_INVALID_ID = 710,
  VEK_PAL_NVM_READ_FAILED = 711,
  VEK_PAL_NVM_WRITE_FAILED = 712,
  VEK_PAL_NVM_NO_STORAGE = 713,
  VEK_PAL_NVM_NO_FILE_NAME = 714,
  VEK_PAL_NVM_SIZE_FAILED = 715
};

/**
 * The row of an id. Id 242, the end of the id space, is 242; an id that no row has is 0, the row without a file.
 */
VEK_PAL_API unsigned vek_pal_nvm_tab_index_get(unsigned logic_id);

/**
 * Reads an item into `buf`, at most `len` bytes.
 * @param[out] buf  `len` bytes. A shorter file, even an empty one, is a success and leaves the rest as it was: clear
 * the buffer first, and give each item one size.
 * @retval 0    Read.
 * @retval 7    `buf` is NULL or `len` 0.
 * @retval 710  `logic_id` is 242.
 * @retval 711  The file cannot be opened or read; it is missing, as a rule.
 * @retval 713  No such item.
 * @retval -1   The item lives in modem storage, which is not supported; no item does.
 */
VEK_PAL_API int vek_pal_nvm_read(unsigned logic_id, void *buf, unsigned len);

/**
 * Writes an item: its file then holds exactly these `len` bytes. An item that is kept in the customer-data backup
 * starts that backup ("odm_upgrader backup") and waits for it, whatever comes of it.
 * @retval 0    Written and synced.
 * @retval 7    `data` is NULL or `len` 0.
 * @retval 710  `logic_id` is 242.
 * @retval 712  The directory, the file or its contents cannot be written. The file may be cut or partly written.
 * @retval 713  No such item.
 * @retval -1   The item lives in modem storage, which is not supported; no item does.
 */
VEK_PAL_API int vek_pal_nvm_write(unsigned logic_id, const void *data, unsigned len);

/** Asynchronous reading is not offered. Arguments are ignored. @returns -1. */
VEK_PAL_API int vek_pal_nvm_read_async(void);

/** Asynchronous writing is not offered. Arguments are ignored. @returns -1. */
VEK_PAL_API int vek_pal_nvm_write_async(void);

/**
 * The size of an item's file.
 * @retval 0    `*size` is set.
 * @retval 702  The file cannot be opened for reading and writing.
 * @retval 710  `size` is NULL, or `logic_id` is 242.
 * @retval 714  No such item.
 * @retval 715  The size cannot be read.
 */
VEK_PAL_API int vek_pal_nvm_get_nv_size(unsigned logic_id, unsigned *size);

/**
 * Whether an item's file exists and opens for reading and writing.
 * @retval 0    It does.
 * @retval 702  It does not; a file that cannot be written counts as missing.
 * @retval 710  `logic_id` is 242.
 * @retval 714  No such item.
 */
VEK_PAL_API int vek_pal_nvm_check_nv_exist(unsigned logic_id);

/** The number of rows: 56. */
VEK_PAL_API int vek_pal_nvm_tab_count(void);

/** The number of rows that are kept in the customer-data backup: 29. */
VEK_PAL_API int vek_pal_nvm_tab_backup_count(void);

#ifdef __cplusplus
}
#endif

#endif
