/** @file bigdigits.h  Multiple-precision arithmetic. */
#ifndef VRX_BIGDIGITS_H
#define VRX_BIGDIGITS_H

#include "vrx/export.h"

VRX_BEGIN_DECLS

/** The arithmetic module's attribution: one line of constant text, without a line end. */
VRX_API const char *bigdigits_copyright_notice(void);

/** The version number of the arithmetic module: 2205. */
VRX_API int mpVersion(void);

VRX_END_DECLS

#endif
