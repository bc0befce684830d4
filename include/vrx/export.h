/** @file export.h  Linkage of everything that libvrx.so exports. */
#ifndef VRX_EXPORT_H
#define VRX_EXPORT_H

#if defined(__cplusplus)
#define VRX_BEGIN_DECLS extern "C" { /**< opens what has C linkage */
#define VRX_END_DECLS }              /**< closes it */
#else
#define VRX_BEGIN_DECLS /**< opens what has C linkage */
#define VRX_END_DECLS   /**< closes it */
#endif

/** Marks an exported function or table; everything else in the shared object is hidden. */
#define VRX_API __attribute__((visibility("default")))

#endif
