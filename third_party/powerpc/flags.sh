# What every object on the target is built with. To be sourced.

# shellcheck disable=SC2034 # for those who source this
target_host=powerpc-linux-gnu
# Times and file sizes have 64 bits: both are in the interfaces of libfrr and Net-SNMP, so that all of them, or none, must
# have it. A device is in service after 2038.
target_interface="-D_TIME_BITS=64 -D_FILE_OFFSET_BITS=64"
target_flags="-O2 -g $target_interface"
