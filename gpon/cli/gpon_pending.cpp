#include "gpon_pending.h"

int g_gpon_qos_debug_flag = 0; // TODO: the QoS modules own it
