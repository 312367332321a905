// The Broadcom SDK API as the library uses it. The SDK's headers are C; they are included with C
// linkage so that the library builds unchanged against the vendor's headers.
#pragma once

#include <cstring>

extern "C" {
#include <assert.h> /* the SDK's, with _sal_assert */
#include <bcm/error.h>
#include <bcm/field.h>
#include <bcm/l3.h>
#include <bcm/policer.h>
#include <bcm/port.h>
#include <bcm/stg.h>
#include <bcm/switch.h>
#include <bcm/types.h>
#include <bcm/vlan.h>
#include <sal/core/libc.h>
#include <shared/error.h>
#include <soc/drv.h>
}
