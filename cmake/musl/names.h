/* What the C++ headers of a compiler that was configured for glibc want, on musl. None of it is called by the library.
 */
#include <locale.h>

#define __GLIBC_PREREQ(major, minor) 0
#define __locale_t locale_t

#ifdef __cplusplus
#include <pthread.h>
extern "C" int pthread_cond_clockwait(pthread_cond_t*, pthread_mutex_t*, clockid_t, const struct timespec*);
#endif
