/** @file vrx.h  Everything that libvrx.so exports. */
#ifndef VRX_H
#define VRX_H

#include "vrx/agree.h"
#include "vrx/bigdigits.h"
#include "vrx/context.h"
#include "vrx/curve.h"
#include "vrx/frame.h"
#include "vrx/gostr3411.h"
#include "vrx/hmac.h"
#include "vrx/kdf.h"
#include "vrx/kernel.h"
#include "vrx/modes.h"
#include "vrx/multiply.h"
#include "vrx/octets.h"
#include "vrx/params.h"
#include "vrx/point.h"
#include "vrx/sha1.h"
#include "vrx/sign.h"
#include "vrx/tz.h"

#endif
