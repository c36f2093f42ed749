// The integer types and result numbers that every layer shares.
#pragma once

#include <cstdint>

// Table columns and records say "long" and "unsigned long" and mean 32 bits, on every host.
typedef int32_t mib_long;
typedef uint32_t mib_ulong;

// Packed identity of a port or GPON object; layout in ov_ifindex.h.
typedef uint32_t ov_ifindex_t;

// "No such interface" as an index.
inline constexpr ov_ifindex_t OV_IFINDEX_INVALID = 0xFFFFFFFFu;

// Results of the platform's libraries (reservation, HAL and start-up functions).
enum KAVO_RESULT : uint32_t {
    KAVO_OK = 0,
    KAVO_ERR = 101001,
    KAVO_MEMORY = 101002,
    KAVO_PARAM = 101004,
    KAVO_EMPTY = 101005,
};

// Results of command handlers: the input was refused before anything was tried, or the attempt failed.
enum KAVO_CLI_RESULT : int {
    ERR_MOD_PLAT_CLI = 104000,
    KAVO_CLI_BAD_INPUT = 104001,
    KAVO_CLI_FAILED = 104006,
};

// Results of the ov_app_* functions.
enum OV_GPON_RET : int {
    OV_GPON_RET_OK = 0,
    OV_GPON_RET_FAIL = 1000,
    OV_GPON_RET_NOT_FOUND = 1001,
    OV_GPON_RET_EXISTED = 1002,
    OV_GPON_RET_BAD_PARAM = 1003,
    OV_GPON_RET_NO_MEM = 1004,
    OV_GPON_RET_NO_RESOURCE = 1005,
    OV_GPON_RET_BUSY = 1006,
    OV_GPON_RET_NOT_COMPLETE = 1007,
    OV_GPON_RET_NOT_SUPPORT = 1008,
    OV_GPON_RET_DRV_ERR = 1009,
    OV_ONU_AUTH_ILLEGAL = 1010,
};
