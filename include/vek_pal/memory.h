/**
 * The heap, through thin wrappers that trace every block at level debug under the tag "MEM".
 *
 * Threads: all of these may be called from any thread at once. No wrapper retries, aborts or frees on its own.
 */
#ifndef VEK_PAL_MEMORY_H
#define VEK_PAL_MEMORY_H

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * `size` bytes, not cleared; the caller frees them with vek_pal_free().
 * @returns NULL when `size` is 0 ("input param error!") or the heap has no room ("malloc failed!").
 */
VEK_PAL_API void *vek_pal_malloc(unsigned size);

/**
 * `count` times `size` bytes, zeroed; the caller frees them with vek_pal_free().
 * @returns NULL when either is 0 ("input param error!"), or when the product does not fit or there is no room
 *          ("calloc failed!").
 */
VEK_PAL_API void *vek_pal_calloc(unsigned count, unsigned size);

/**
 * Resizes a block, as realloc(). With `ptr` NULL it allocates; with `size` 0 it releases `ptr`, which is no error.
 * @returns the block, which may have moved; NULL after a release, for NULL with 0 ("input param error! realloc space of
 *          size zero"), and when there is no room ("realloc failed!": the old block is still the caller's).
 */
VEK_PAL_API void *vek_pal_realloc(void *ptr, unsigned size);

/** Releases a block. NULL only writes the warning "ptr no need to free!". */
VEK_PAL_API void vek_pal_free(void *ptr);

/** Always 10: no heap statistics are gathered. */
VEK_PAL_API int vek_pal_getHeapInfo(void);

#ifdef __cplusplus
}
#endif

#endif
