/** What the library exports carries this mark; everything else stays inside. */
#ifndef VEK_PAL_EXPORT_H
#define VEK_PAL_EXPORT_H

#define VEK_PAL_API __attribute__((visibility("default")))

#endif
