#include "byte_order.h"

namespace {
std::endian g_order = std::endian::native;
}

void daemon_order::set(std::endian order) {
    g_order = order;
}

bool daemon_order::is_foreign() {
    return g_order != std::endian::native;
}
