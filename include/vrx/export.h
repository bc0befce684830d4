/** @file export.h  C linkage and visibility of the exported functions and tables. */
#ifndef VRX_EXPORT_H
#define VRX_EXPORT_H

#if defined(__cplusplus)
#define VRX_BEGIN_DECLS extern "C" { /**< begins declarations with C linkage */
#define VRX_END_DECLS }              /**< ends declarations with C linkage */
#else
#define VRX_BEGIN_DECLS /**< begins declarations with C linkage */
#define VRX_END_DECLS   /**< ends declarations with C linkage */
#endif

/** Marks a function that the compiler puts into your program. The library does not export it. */
#if defined(__cplusplus)
#define VRX_INLINE inline
#else
#define VRX_INLINE static inline
#endif

/** Marks an exported function or table. All other symbols of the shared object are hidden. */
#define VRX_API __attribute__((visibility("default")))

#endif
